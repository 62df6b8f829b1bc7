// SPDX-License-Identifier: Apache-2.0
#include "support/Comparison.h"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <utility>

namespace oru::kadi::authlist::benchmarks {
namespace {

unsigned restoreEvery(Wear wear, unsigned size) {
    if (wear == Wear::AccessTimes) return size;
    if (wear == Wear::NewCards) return size / 10;
    return 0;
}

}  // namespace

std::vector<Comparison::Definition>& Comparison::all() {
    static std::vector<Definition> definitions;
    return definitions;
}

void Comparison::add(Definition definition) { all().push_back(std::move(definition)); }

void Comparison::registerAll(Lists& lists, const Sizes& sizes) {
    for (const Definition& definition : all()) {
        registerOn("memory", sizes.largest, definition, lists);
        const bool isSlow = definition.wear == Wear::WholeList;
        registerOn("disk", isSlow ? std::min(sizes.largest, sizes.largestRewrittenOnDisk) : sizes.largest, definition,
                   lists);
    }
}

void Comparison::registerOn(const std::string& medium, unsigned largest, const Definition& definition, Lists& lists) {
    const std::string purpose = definition.wear == Wear::WholeList ? "rewritten" : "shared";
    for (const unsigned size : sizesUpTo(largest)) {
        const std::string place = definition.name + "/" + medium + "/" + std::to_string(size);
        const auto add = [&](const char* name, const Side& side) {
            registerBenchmark(place + name, [&, medium, size, purpose](benchmark::State& state) {
                run(state, definition, side, lists.get(medium, size, purpose));
            });
        };
        add("/library", definition.library);
        add("/by_hand", definition.byHand);
    }
}

void Comparison::prove(const Definition& definition, List& list) {
    const bool isRestorable = definition.wear != Wear::WholeList;
    if (isRestorable) list.restore();
    const auto library = definition.library.prove(list, list.libraryConnection());
    if (isRestorable) list.restore();
    const auto byHand = definition.byHand.prove(list, list.byHand().connection());
    require(!library.empty(), "no statement was seen");
    require(library == byHand, "the library and the code by hand ran different statements");
}

void Comparison::run(benchmark::State& state, const Definition& definition, const Side& side, List& list) {
    static std::set<std::pair<const Definition*, const List*>> proven;
    if (!proven.contains({&definition, &list})) prove(definition, list);
    proven.emplace(&definition, &list);
    const unsigned every = restoreEvery(definition.wear, list.size());
    if (every > 0) list.restore();
    side.time(state, list, every);
}

void require(bool holds, const char* what) {
    if (!holds) throw std::runtime_error(what);
}

void registerBenchmark(const std::string& name, std::function<void(benchmark::State&)> body) {
    const auto guarded = [body = std::move(body)](benchmark::State& state) {
        try {
            body(state);
        } catch (const std::exception& error) {
            state.SkipWithError(error.what());
        }
    };
    benchmark::RegisterBenchmark(name.c_str(), guarded)->UseRealTime()->Unit(benchmark::kMicrosecond);
}

std::vector<unsigned> sizesUpTo(unsigned largest) {
    std::vector<unsigned> sizes;
    for (const unsigned size : {1'000U, 10'000U, 100'000U}) {
        if (size <= largest) sizes.push_back(size);
    }
    return sizes;
}

}  // namespace oru::kadi::authlist::benchmarks
