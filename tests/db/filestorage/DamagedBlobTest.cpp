// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "authlist/db/filestorage/FileDbAccessor.h"
#include "authlist/db/filestorage/RecordsBlob.h"
#include "support/AllocationMeter.h"
#include "support/BlobBytes.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/FileState.h"
#include "support/FileStore.h"
#include "support/Files.h"
#include "support/ThrownBy.h"

// Blob files that were cut off or changed: reading them fails with an error or yields a list, and never costs more than
// the bytes that are really there.

namespace oru::kadi::authlist::db::filestorage {
namespace {

using test::absent;
using test::bareCardBytes;
using test::byte;
using test::bytesOf;
using test::count;
using test::fieldsOf;
using test::hexOf;
using test::number;
using test::present;
using test::status;
using test::text;
using test::thrownBy;
using test::time;

// Two cards with every field, one with nothing.
std::string sampleBytes() {
    RfidCard first = test::cardWithKey("04A2B3");
    first.id = 70;
    first.tags[0].extraData = "{}";
    first.tags.push_back(test::tagWithKey("04C4D5"));
    first.status = RfidCardStatus::ConcurrentTx;
    first.expiryDate = test::at(1893456000);
    first.parentId = "FLEET-1";
    first.evseId = 2;
    first.extraData = R"({"shift":"night"})";
    first.recordLifetime = 3600;
    RfidCard second = first;
    second.id = 71;
    second.tags = {RfidTag{"", std::nullopt, std::nullopt}, RfidTag{"h", "", ""}};
    RfidCard bare;
    bare.id = 72;
    RecordsBlob blob;
    blob.setVersion(7);
    blob.getRecords() = {first, bare, second};
    return bytesOf(blob);
}

struct Reading {
    std::string failure;     ///< "nothing" when the bytes could be read
    std::size_t peakMemory;  ///< in bytes
    RecordsBlob blob;
};

void read(const std::string& bytes, Reading& reading) {
    std::istringstream stream(bytes);
    const test::AllocationMeter meter;
    reading.failure = "nothing";
    try {
        EXPECT_TRUE(reading.blob.deserialize(stream));
    } catch (const std::exception& error) {
        reading.failure = error.what();
    }
    reading.peakMemory = meter.peak();
}

// A fixed amount, and a small multiple of what is there. Costliest are tags of empty texts: 6 bytes become an RfidTag,
// in a vector that holds up to three times its content while it grows.
constexpr std::size_t memoryFor(std::size_t bytes) { return 16384 + bytes * 3 * sizeof(RfidTag) / 6; }

TEST(DamagedBlob, IsRefusedWithThePositionWhereverItIsCutOff) {
    const std::string whole = sampleBytes();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        Reading reading;
        read(whole.substr(0, length), reading);
        EXPECT_EQ(reading.failure, "The data ends inside a value at byte " + std::to_string(length));
        EXPECT_LE(reading.peakMemory, memoryFor(length)) << length;
        EXPECT_EQ(reading.blob.getLastMaxId(), 0U);
    }
    Reading reading;
    read(whole, reading);
    EXPECT_EQ(reading.failure, "nothing");
}

TEST(DamagedBlob, HoldsTheRecordsBeforeTheCutAndNoPartOfTheNext) {
    const std::string whole = sampleBytes();
    Reading undamaged;
    read(whole, undamaged);
    ASSERT_EQ(undamaged.blob.getRecords().size(), 3U);
    std::size_t most = 0;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        Reading reading;
        read(whole.substr(0, length), reading);
        const auto& records = reading.blob.getRecords();
        ASSERT_LT(records.size(), 3U);
        ASSERT_GE(records.size(), most);
        most = records.size();
        for (std::size_t i = 0; i < records.size(); ++i) {
            EXPECT_EQ(fieldsOf(records[i]), fieldsOf(undamaged.blob.getRecords()[i]));
        }
    }
    EXPECT_EQ(most, 2U);
}

// What could be read is a list like any other: it is written as bytes that are read as the same list.
void expectToSurvive(RecordsBlob& blob) {
    RecordsBlob again;
    EXPECT_TRUE(test::readInto(again, bytesOf(blob)));
    ASSERT_EQ(again.getRecords().size(), blob.getRecords().size());
    for (std::size_t i = 0; i < blob.getRecords().size(); ++i) {
        EXPECT_EQ(fieldsOf(again.getRecords()[i]), fieldsOf(blob.getRecords()[i]));
    }
    EXPECT_EQ(again.getVersion(), blob.getVersion());
    EXPECT_EQ(again.getLastMaxId(), blob.getLastMaxId());
}

bool isKnownFailure(const std::string& failure) {
    return failure.starts_with("The data ends inside a value at byte ") ||
           failure.starts_with("Neither 0 nor 1 in a flag before byte ") || failure == "bad optional access";
}

TEST(DamagedBlob, IsRefusedOrReadAsAListWhicheverBitIsFlipped) {
    const std::string whole = sampleBytes();
    std::size_t refused = 0;
    for (std::size_t bit = 0; bit < 8 * whole.size(); ++bit) {
        SCOPED_TRACE("bit " + std::to_string(bit % 8) + " of byte " + std::to_string(bit / 8));
        std::string bytes = whole;
        bytes[bit / 8] = static_cast<char>(static_cast<unsigned char>(bytes[bit / 8]) ^ (1U << bit % 8));
        Reading reading;
        read(bytes, reading);
        EXPECT_LE(reading.peakMemory, memoryFor(bytes.size()));
        if (reading.failure == "nothing") {
            expectToSurvive(reading.blob);
        } else {
            EXPECT_TRUE(isKnownFailure(reading.failure)) << reading.failure;
            ++refused;
        }
    }
    // Flags, lengths and counts are structure; most other bits are content of which any is good.
    EXPECT_GT(refused, whole.size() / 8);
    EXPECT_LT(refused, 8 * whole.size() / 2);
}

TEST(DamagedBlob, IsRefusedOrReadAsAListWhateverValueAByteHas) {
    const std::string whole = sampleBytes();
    for (std::size_t position = 0; position < whole.size(); ++position) {
        for (const unsigned value : {0U, 1U, 2U, 127U, 128U, 255U}) {
            SCOPED_TRACE("byte " + std::to_string(position) + " is " + std::to_string(value));
            std::string bytes = whole;
            bytes.replace(position, 1, byte(value));
            Reading reading;
            read(bytes, reading);
            EXPECT_LE(reading.peakMemory, memoryFor(bytes.size()));
            if (reading.failure == "nothing") {
                expectToSurvive(reading.blob);
            } else {
                EXPECT_TRUE(isKnownFailure(reading.failure)) << reading.failure;
            }
        }
    }
}

TEST(DamagedBlob, IsRefusedOrReadAsAListWithAByteMoreOrLess) {
    const std::string whole = sampleBytes();
    for (std::size_t position = 0; position < whole.size(); ++position) {
        for (const std::string& insertion : {std::string(), byte(0) + whole[position], byte(255) + whole[position]}) {
            SCOPED_TRACE("at byte " + std::to_string(position) + ": " + hexOf(insertion));
            std::string bytes = whole;
            bytes.replace(position, 1, insertion);
            Reading reading;
            read(bytes, reading);
            EXPECT_LE(reading.peakMemory, memoryFor(bytes.size()));
            if (reading.failure == "nothing") {
                expectToSurvive(reading.blob);
            } else {
                EXPECT_TRUE(isKnownFailure(reading.failure)) << reading.failure;
            }
        }
    }
}

// A length or count that the data only claims, and nothing or little behind it
struct Claim {
    const char* name;
    std::string bytes;
};

const std::string listOfOne = byte(1) + absent + count(1);
const std::string untilStatus = listOfOne + present + number(1) + text("") + count(0) + status(0);

const std::vector<Claim> claims{
    {"AllRecords", byte(1) + absent + count(65535)},
    {"AllRecordsAndOne", byte(1) + absent + count(65535) + bareCardBytes()},
    {"Description", listOfOne + present + number(1) + number(0xFFFFFFFF)},
    {"DescriptionWithAPart", listOfOne + present + number(1) + number(0x7FFFFFFF) + std::string(5000, 'x')},
    {"AllTags", listOfOne + present + number(1) + text("") + count(65535)},
    {"AllTagsAndOne", listOfOne + present + number(1) + text("") + count(65535) + text("") + absent + absent},
    {"Hash", listOfOne + present + number(1) + text("") + count(1) + number(0xFFFFFFFF)},
    {"Key", listOfOne + present + number(1) + text("") + count(1) + text("") + present + number(0x80000000)},
    {"TagExtraData",
     listOfOne + present + number(1) + text("") + count(1) + text("") + absent + present + number(0xFFFFFFF0)},
    {"ParentId", untilStatus + absent + present + number(0xFFFFFFFF)},
    {"ExtraData", untilStatus + absent + absent + absent + present + number(0xFFFFFFFF)},
};

class ClaimedLength : public testing::TestWithParam<Claim> {};

INSTANTIATE_TEST_SUITE_P(Of, ClaimedLength, testing::ValuesIn(claims),
                         [](const auto& claim) { return std::string(claim.param.name); });

TEST_P(ClaimedLength, CostsNoMemory) {
    Reading reading;
    read(GetParam().bytes, reading);
    EXPECT_EQ(reading.failure, "The data ends inside a value at byte " + std::to_string(GetParam().bytes.size()));
    EXPECT_LE(reading.peakMemory, memoryFor(GetParam().bytes.size()));
}

// The costliest file that there is for its size keeps to the bound as well, so that the bound is one.
TEST(DamagedBlob, CostsNoMoreThanTagsOfEmptyTextsThatAreReallyThere) {
    std::string bytes = listOfOne + present + number(1) + text("") + count(65535);
    for (int i = 0; i < 65535; ++i) bytes += text("") + absent + absent;
    Reading reading;
    read(bytes, reading);
    EXPECT_EQ(reading.failure, "The data ends inside a value at byte " + std::to_string(bytes.size()));
    EXPECT_GE(reading.peakMemory, 65535 * sizeof(RfidTag));
    EXPECT_LE(reading.peakMemory, memoryFor(bytes.size()));
}

// Through the backend, on a real file
TEST(DamagedBlob, IsRefusedByTheBackendAndLeftAsItIsWhereverItIsCutOff) {
    const std::string whole = sampleBytes();
    test::FileStore store;
    store.accessor.reset();
    for (std::size_t length = 1; length < whole.size(); ++length) {
        test::writeFile(store.file, whole.substr(0, length));
        const test::FileState before = test::stateOf(store.file);
        EXPECT_EQ(thrownBy([&] { const FileDbAccessor accessor(store.file, std::chrono::milliseconds(0)); }),
                  "std::runtime_error: Cannot load " + store.file + ": The data ends inside a value at byte " +
                      std::to_string(length));
        EXPECT_EQ(test::stateOf(store.file), before);
    }
    EXPECT_THAT(test::namesIn(store.folder.path()), testing::ElementsAre("list"));
}

}  // namespace
}  // namespace oru::kadi::authlist::db::filestorage
