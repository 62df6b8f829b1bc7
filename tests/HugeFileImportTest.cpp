// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "authlist/AuthListManager.h"
#include "support/Emulator.h"
#include "support/NamedCase.h"
#include "support/PeakMemory.h"
#include "support/TemporaryFolder.h"
#include "support/ThrownBy.h"

namespace oru::kadi::authlist {
namespace {

constexpr std::uint64_t megabyte = 1'000'000;

// Sanitizers and emulators take their time over each byte.
const std::uint64_t huge = (test::memoryCanBeMeasured && !test::isEmulated() ? 200 : 20) * megabyte;

/// A file of equal bytes; NUL bytes take no room on the disk.
void writeHugeFile(const std::string& file, char byte, std::uint64_t size) {
    std::ofstream out(file, std::ios::binary);
    const std::string piece(megabyte, byte);
    for (std::uint64_t done = 0; byte != '\0' && done < size; done += megabyte) out << piece;
    out.close();
    ASSERT_TRUE(out) << "the disk is full";
    std::filesystem::resize_file(file, size);
}

struct HugeFile : test::NamedCase {
    char byte;
    std::uint64_t size;
    ExchangeDataType type;
    std::string outcome;
};

class ImportOfAHugeFile : public testing::TestWithParam<HugeFile> {};

TEST_P(ImportOfAHugeFile, NeedsASmallMultipleOfItsSize) {
    const test::TemporaryFolder folder;
    const std::string file = folder.file("huge");
    ASSERT_NO_FATAL_FAILURE(writeHugeFile(file, GetParam().byte, GetParam().size));

    const test::MeasuredRun run = test::runMeasured([&] {
        AuthListConfiguration configuration;
        configuration.databaseFileName = folder.file("list.db");
        AuthListManager manager(configuration);
        manager.importStr("7,Main door,04A2B3,Accepted,*,,", ExchangeDataType::CSV);
        const std::string failure = test::thrownBy([&] { manager.importFile(file, GetParam().type, false, ""); });
        return failure + "; cards left: " + std::to_string(manager.countRecords());
    });
    EXPECT_EQ(run.result, GetParam().outcome);
    if (!test::memoryCanBeMeasured) GTEST_SKIP() << "Refused well, but a sanitizer's own memory hides the import's.";
    RecordProperty("PeakGrowthPerCent", static_cast<int>(100 * run.peakGrowth / GetParam().size));
    EXPECT_LE(run.peakGrowth, 3 * GetParam().size);
    EXPECT_GE(run.peakGrowth, GetParam().size) << "the file is read whole";
}

const std::string oneColumn =
    "std::runtime_error: Invalid number of columns on imported csv line (expectation: 7, reality: 1); cards left: 1";
const std::string notJson = "std::runtime_error: Failed to process input JSON file/string.; cards left: 1";

INSTANTIATE_TEST_SUITE_P(
    Table, ImportOfAHugeFile,
    testing::Values(HugeFile{{"LettersAsCsv"}, 'a', huge, ExchangeDataType::CSV, oneColumn},
                    HugeFile{{"QuotesAsCsv"}, '"', huge, ExchangeDataType::CSV, oneColumn},
                    HugeFile{{"LineFeedsAsCsv"}, '\n', huge, ExchangeDataType::CSV, "nothing; cards left: 0"},
                    HugeFile{{"LettersAsJson"}, 'a', huge, ExchangeDataType::JSON, notJson},
                    HugeFile{{"BracketsAsJson"}, '[', huge, ExchangeDataType::JSON, notJson},
                    HugeFile{{"NulBytesAsJson"}, '\0', huge, ExchangeDataType::JSON, notJson},
                    HugeFile{{"LineFeedsAsJson"}, '\n', huge, ExchangeDataType::JSON, notJson}),
    test::byName);

}  // namespace
}  // namespace oru::kadi::authlist
