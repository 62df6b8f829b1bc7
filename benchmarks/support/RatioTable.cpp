// SPDX-License-Identifier: Apache-2.0
#include "support/RatioTable.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace oru::kadi::authlist::benchmarks {
namespace {

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// The name that a benchmark was registered under: question/medium/cards/side, the side only for a comparison.
std::vector<std::string> partsOf(const std::string& name) {
    std::vector<std::string> parts;
    std::istringstream stream(name);
    for (std::string part; std::getline(stream, part, '/');) parts.push_back(part);
    parts.resize(4);
    return parts;
}

}  // namespace

bool RatioTable::ReportContext(const Context& /*context*/) { return true; }

void RatioTable::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        const std::string& name = run.run_name.function_name;
        if (run.error_occurred) {
            std::fprintf(stderr, "%s failed: %s\n", name.c_str(), run.error_message.c_str());
            mHasFailures = true;
        }
        if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
        const auto parts = partsOf(name);
        Samples& samples = mSamples[{parts[0], parts[1], static_cast<unsigned>(std::stoul(parts[2]))}];
        const double seconds = run.real_accumulated_time / static_cast<double>(run.iterations);
        samples.sides[parts[3]].real.push_back(seconds);
        samples.sides[parts[3]].processor.push_back(run.cpu_accumulated_time / static_cast<double>(run.iterations));
        const auto throughput = run.counters.find("bytes_per_second");
        if (throughput != run.counters.end()) samples.bytes = throughput->second.value * seconds;
    }
}

void RatioTable::Finalize() {
    printComparisons();
    printThroughput();
}

void RatioTable::printComparisons() const {
    std::printf("%-20s %-7s %8s %12s %12s %8s %10s %8s\n", "", "", "cards", "library us", "by hand us", "ratio",
                "processor", "growth");
    std::map<std::pair<std::string, std::string>, double> smallest;
    for (const auto& [place, samples] : mSamples) {
        const auto library = samples.sides.find("library");
        const auto byHand = samples.sides.find("by_hand");
        if (library == samples.sides.end() || byHand == samples.sides.end()) continue;
        const auto& [question, medium, cards] = place;
        const double time = median(library->second.real);
        const double yardstick = median(byHand->second.real);
        const double processor = median(library->second.processor) / median(byHand->second.processor);
        const double base = smallest.try_emplace({question, medium}, time).first->second;
        std::printf("%-20s %-7s %8u %12.1f %12.1f %8.2f %10.2f %8.2f\n", question.c_str(), medium.c_str(), cards,
                    time * 1e6, yardstick * 1e6, time / yardstick, processor, time / base);
    }
}

void RatioTable::printThroughput() const {
    const auto isText = [](const auto& entry) { return entry.second.bytes > 0; };
    if (std::none_of(mSamples.begin(), mSamples.end(), isText)) return;
    std::printf("\n%-20s %-7s %8s %12s %12s %19s\n", "", "", "cards", "library us", "MB/s", "MB/s of processor");
    for (const auto& [place, samples] : mSamples) {
        if (samples.bytes == 0) continue;
        const auto& [question, medium, cards] = place;
        const Times& times = samples.sides.at("");
        const double time = median(times.real);
        std::printf("%-20s %-7s %8u %12.1f %12.1f %19.1f\n", question.c_str(), medium.c_str(), cards, time * 1e6,
                    samples.bytes / time / 1e6, samples.bytes / median(times.processor) / 1e6);
    }
}

}  // namespace oru::kadi::authlist::benchmarks
