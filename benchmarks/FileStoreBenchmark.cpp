// SPDX-License-Identifier: Apache-2.0
// What does the file store cost: a lookup by hash beside a plain loop over the same cards, and loading and saving the
// longest list that a file holds? A program of its own: file-store-benchmarks [Google Benchmark options]
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "authlist/db/filestorage/FileDbAccessor.h"
#include "support/SampleCards.h"

namespace oru::kadi::authlist::benchmarks {
namespace {

using db::filestorage::FileDbAccessor;
using namespace std::chrono_literals;

constexpr unsigned fewCards = 10'000;
constexpr unsigned mostCards = 65'535;

void require(bool holds, const char* failure) {
    if (holds) return;
    std::cerr << failure << '\n';
    std::exit(1);
}

// The hash of the card in the middle: the average way through the list.
std::string middleHash(unsigned cards) { return sampleCard(cards / 2).tags.at(0).hash; }

class ListFile {
public:
    explicit ListFile(unsigned cards) {
        std::filesystem::remove(mPath);
        FileDbAccessor accessor(mPath, 1h);
        for (const RfidCard& card : sampleCards(cards)) accessor.createRecord(card);
    }
    ListFile(const ListFile&) = delete;
    ListFile& operator=(const ListFile&) = delete;
    ~ListFile() { std::filesystem::remove(mPath); }

    const std::string& path() const { return mPath; }
    double size() const { return static_cast<double>(std::filesystem::file_size(mPath)); }

private:
    std::string mPath = std::filesystem::temp_directory_path() / "file-store-benchmark";
};

std::optional<RfidCard> plainLoop(const std::deque<RfidCard>& cards, const std::string& hash) {
    for (const RfidCard& card : cards) {
        for (const RfidTag& tag : card.tags) {
            if (tag.hash == hash) return card;
        }
    }
    return std::nullopt;
}

void lookupByHash(benchmark::State& state) {
    const ListFile file(fewCards);
    const FileDbAccessor accessor(file.path(), 1h);
    const std::string hash = middleHash(fewCards);
    const auto found = accessor.readRecord(hash, KeyRepresentation::Hash);
    require(found && found->id == fewCards / 2, "the lookup found another card");
    for ([[maybe_unused]] auto iteration : state) {
        benchmark::DoNotOptimize(accessor.readRecord(hash, KeyRepresentation::Hash));
    }
}

void lookupByPlainLoop(benchmark::State& state) {
    const auto list = sampleCards(fewCards);
    const std::deque<RfidCard> cards(list.begin(), list.end());
    const std::string hash = middleHash(fewCards);
    const auto found = plainLoop(cards, hash);
    require(found && found->id == fewCards / 2, "the loop found another card");
    for ([[maybe_unused]] auto iteration : state) benchmark::DoNotOptimize(plainLoop(cards, hash));
}

void load(benchmark::State& state) {
    const ListFile file(mostCards);
    for ([[maybe_unused]] auto iteration : state) {
        auto accessor = std::make_unique<FileDbAccessor>(file.path(), 1h);
        state.PauseTiming();
        require(accessor->countRecords() == mostCards, "the file was not loaded whole");
        accessor.reset();
        state.ResumeTiming();
    }
    state.counters["MB"] = file.size() / 1e6;
}

// From a change to the end of the write-back, which the destructor waits for.
void save(benchmark::State& state) {
    const ListFile file(mostCards);
    unsigned version = 0;
    for ([[maybe_unused]] auto iteration : state) {
        state.PauseTiming();
        auto accessor = std::make_unique<FileDbAccessor>(file.path(), 1h);
        accessor->updateVersion(++version);
        state.ResumeTiming();
        accessor.reset();
    }
    require(FileDbAccessor(file.path(), 1h).readVersion() == version, "the last change was not saved");
}

BENCHMARK(lookupByHash)->Name("LookupByHash/file store");
BENCHMARK(lookupByPlainLoop)->Name("LookupByHash/plain loop");
BENCHMARK(load)->Name("Load65535Cards")->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);
BENCHMARK(save)->Name("Save65535Cards")->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace oru::kadi::authlist::benchmarks

BENCHMARK_MAIN();
