// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

#include "support/List.h"
#include "support/StatementLog.h"

namespace oru::kadi::authlist::benchmarks {

/// What an operation leaves behind, and so what has to be put right, untimed, before it can be measured again.
enum class Wear {
    None,
    AccessTimes,  ///< each card of the walk has a new access time: restored after a whole walk
    NewCards,     ///< the list has grown by a card: restored before it has grown by more than a tenth
    WholeList,    ///< every card was written anew: measured on a list that no other operation uses
};

/// Which sizes of list are measured.
struct Sizes {
    unsigned largest;
    unsigned largestRewrittenOnDisk;  ///< Wear::WholeList on disk: syncs four times for every card
};

/// One measured question: the same operation through the library and by hand.
///
/// library and byHand take a List& and return the operation's answer. check takes a List& and either answer and throws
/// when it is wrong. Before the first timing on a list each side runs once: its answer is checked, and both sides must
/// have run the same SQL statements in the same order. A benchmark that fails there is an error and times nothing.
/// A Comparison registers itself; it is a constant of its file, one per question.
class Comparison {
public:
    template <class Library, class ByHand, class Check>
    Comparison(const std::string& name, Wear wear, Library library, ByHand byHand, Check check) {
        add({name, wear, side(library, check), side(byHand, check)});
    }

    /// Hands every comparison to Google Benchmark, as name/medium/cards/library and .../by_hand.
    static void registerAll(Lists& lists, const Sizes& sizes);

private:
    struct Side {
        /// Runs once, checks the answer and returns the statements that ran on connection.
        std::function<std::vector<std::string>(List&, sqlite3* connection)> prove;
        std::function<void(benchmark::State&, List&, unsigned restoreEvery)> time;
    };
    struct Definition {
        std::string name;
        Wear wear;
        Side library;
        Side byHand;
    };

    template <class Operation, class Check>
    static Side side(Operation operation, Check check) {
        return {[=](List& list, sqlite3* connection) {
                    StatementLog log(connection);
                    const auto answer = operation(list);
                    auto statements = log.take();
                    check(list, answer);
                    return statements;
                },
                [=](benchmark::State& state, List& list, unsigned restoreEvery) {
                    unsigned untilRestore = restoreEvery;
                    for ([[maybe_unused]] auto iteration : state) {
                        benchmark::DoNotOptimize(operation(list));
                        if (restoreEvery == 0 || --untilRestore > 0) continue;
                        state.PauseTiming();
                        list.restore();
                        untilRestore = restoreEvery;
                        state.ResumeTiming();
                    }
                }};
    }

    static std::vector<Definition>& all();
    static void add(Definition definition);
    static void registerOn(const std::string& medium, unsigned largest, const Definition& definition, Lists& lists);
    static void prove(const Definition& definition, List& list);
    static void run(benchmark::State& state, const Definition& definition, const Side& side, List& list);
};

/// Throws std::runtime_error when what a check requires does not hold.
void require(bool holds, const char* what);

/// Hands body to Google Benchmark under name. What it throws makes the benchmark fail.
void registerBenchmark(const std::string& name, std::function<void(benchmark::State&)> body);

/// The sizes to measure: 1,000, 10,000 and 100,000 as far as largest.
std::vector<unsigned> sizesUpTo(unsigned largest);

}  // namespace oru::kadi::authlist::benchmarks
