// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace oru::kadi::authlist::benchmarks {

/// Collects the repetitions of a run and, at its end, prints the medians of the library beside those of the code by
/// hand, and the throughput of the exchange formats. Processor time leaves out waiting, for the disk or for other
/// programs.
class RatioTable : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

    bool hasFailures() const { return mHasFailures; }
    bool isEmpty() const { return mSamples.empty(); }

private:
    using Place = std::tuple<std::string, std::string, unsigned>;  // question, medium, cards

    struct Times {  // of each repetition, per operation, in seconds
        std::vector<double> real;
        std::vector<double> processor;
    };

    struct Samples {
        std::map<std::string, Times> sides;
        double bytes = 0;  // per operation
    };

    void printComparisons() const;
    void printThroughput() const;

    std::map<Place, Samples> mSamples;
    bool mHasFailures = false;
};

}  // namespace oru::kadi::authlist::benchmarks
