// SPDX-License-Identifier: Apache-2.0
// Runs the benchmarks. Beside Google Benchmark's own options:
//   --memory=FOLDER        where lists in memory are kept, a tmpfs (/dev/shm)
//   --disk=FOLDER          where lists on disk are kept (the system's folder for temporary files)
//   --largest=CARDS        the longest list (100000)
//   --disk-imports=CARDS   the longest list that is imported on disk (1000)
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>

#include "ExchangeTextBenchmark.h"
#include "support/Comparison.h"
#include "support/RatioTable.h"

namespace oru::kadi::authlist::benchmarks {
namespace {

using Options = std::map<std::string, std::string>;

Options readOptions(int argc, char** argv) {
    Options options{{"--memory", "/dev/shm"},
                    {"--disk", std::filesystem::temp_directory_path()},
                    {"--largest", "100000"},
                    {"--disk-imports", "1000"}};
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const std::size_t equals = argument.find('=');
        const auto option = options.find(argument.substr(0, equals));
        if (option == options.end() || equals == std::string::npos) {
            throw std::invalid_argument("Unknown option: " + argument);
        }
        option->second = argument.substr(equals + 1);
    }
    return options;
}

unsigned number(const std::string& text) { return static_cast<unsigned>(std::stoul(text)); }

std::string processor() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("model name")) return line.substr(line.find(": ") + 2);
    }
    return "unknown";
}

#ifdef __clang__
constexpr const char* compiler = __VERSION__;
#else
constexpr const char* compiler = "g++ " __VERSION__;
#endif

// What the figures depend on goes into the results and above the table.
void describe(const std::string& what, const std::string& value) {
    benchmark::AddCustomContext(what, value);
    std::cout << what << ": " << value << '\n';
}

int run(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const Options options = readOptions(argc, argv);
    describe("processor", processor());
    describe("compiler", compiler);
    describe("SQLite", sqlite3_libversion());
    describe("memory", options.at("--memory"));
    describe("disk", options.at("--disk"));
    std::cout << std::endl;

    Lists lists;
    lists.addMedium("memory", options.at("--memory"));
    lists.addMedium("disk", options.at("--disk"));
    Comparison::registerAll(lists, {number(options.at("--largest")), number(options.at("--disk-imports"))});
    registerExchangeText(number(options.at("--largest")));

    RatioTable table;
    benchmark::RunSpecifiedBenchmarks(&table);
    return table.hasFailures() || table.isEmpty() ? 1 : 0;
}

}  // namespace
}  // namespace oru::kadi::authlist::benchmarks

int main(int argc, char** argv) {
    try {
        return oru::kadi::authlist::benchmarks::run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
