// SPDX-License-Identifier: Apache-2.0
// How fast does exchange text become cards, hashing included, and cards become text, with nothing stored?
#include "ExchangeTextBenchmark.h"

#include <benchmark/benchmark.h>

#include "authlist/CsvExchange.h"
#include "authlist/JsonExchange.h"
#include "support/Comparison.h"
#include "support/SampleCards.h"

namespace oru::kadi::authlist::benchmarks {
namespace {

std::string asJson(const std::vector<RfidCard>& cards) { return serializeRfidsAsJson(cards, std::nullopt); }

// Each pair is the inverse of the other, so one proof serves both.
template <auto write, auto read>
std::string provenText(const std::vector<RfidCard>& cards) {
    std::string text = write(cards);
    const auto reread = read(text);
    require(reread.size() == cards.size() && write(reread) == text, "reading back gave other cards");
    for (std::size_t i = 0; i < cards.size(); ++i) {
        require(reread[i].tags.at(0).hash == cards[i].tags.at(0).hash, "reading gave another hash");
    }
    return text;
}

template <auto write, auto read>
void registerFormat(const std::string& format, unsigned size) {
    const auto add = [&](const std::string& name, auto operation) {
        registerBenchmark(name + format + "/text/" + std::to_string(size), [=](benchmark::State& state) {
            const auto cards = sampleCards(size);
            const std::string text = provenText<write, read>(cards);
            for ([[maybe_unused]] auto iteration : state) benchmark::DoNotOptimize(operation(cards, text));
            const auto bytes = static_cast<std::int64_t>(text.size());
            state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * bytes);
        });
    };
    add("Read", [](const std::vector<RfidCard>&, const std::string& text) { return read(text); });
    add("Write", [](const std::vector<RfidCard>& cards, const std::string&) { return write(cards); });
}

}  // namespace

void registerExchangeText(unsigned largest) {
    for (const unsigned size : sizesUpTo(largest)) {
        registerFormat<serializeRfidsAsCsv, deserializeRfidsFromCsv>("Csv", size);
        registerFormat<asJson, deserializeRfidsFromJson>("Json", size);
    }
}

}  // namespace oru::kadi::authlist::benchmarks
