// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <limits>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "authlist/db/filestorage/RecordsBlob.h"
#include "oru/common/BinaryDeserializer.h"
#include "oru/common/BinarySerializer.h"
#include "support/BlobBytes.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/GroupingLocale.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"

namespace oru::kadi::authlist::db::filestorage {
namespace {

using namespace std::string_literals;

using common::BinaryDeserializer;
using common::BinarySerializer;
using test::absent;
using test::at;
using test::bareCardBytes;
using test::byte;
using test::bytesOf;
using test::count;
using test::fieldsOf;
using test::hexOf;
using test::NamedCase;
using test::number;
using test::present;
using test::readInto;
using test::status;
using test::text;
using test::thrownBy;
using test::time;

static_assert(std::is_base_of_v<common::stream::IStreamable, RecordsBlob>);
static_assert(std::is_same_v<decltype(std::declval<RecordsBlob&>().getRecords()), std::deque<RfidCard>&>);
static_assert(std::is_same_v<decltype(std::declval<const RecordsBlob&>().getVersion()), std::optional<unsigned>>);
static_assert(std::is_same_v<decltype(std::declval<const RecordsBlob&>().getLastMaxId()), unsigned>);
static_assert(std::is_same_v<decltype(sSavedFormatVersion), unsigned char>);

RfidCard bareCard(std::optional<unsigned> id = 1) {
    RfidCard card;
    card.id = id;
    return card;
}

std::string bytesOf(const RfidCard& card) {
    std::ostringstream stream;
    BinarySerializer out(stream);
    out << card;
    return stream.str();
}

std::string bytesOf(const RfidTag& tag) {
    std::ostringstream stream;
    BinarySerializer out(stream);
    out << tag;
    return stream.str();
}

// The value that bytes hold, and no byte more.
template <class Value>
Value valueFrom(const std::string& bytes) {
    std::istringstream stream(bytes);
    BinaryDeserializer in(stream);
    Value value;
    in >> value;
    EXPECT_EQ(static_cast<std::size_t>(stream.tellg()), bytes.size());
    return value;
}

std::string listOf(const std::vector<std::string>& cards) {
    std::string bytes = byte(1) + absent + count(cards.size());
    for (const std::string& card : cards) bytes += card;
    return bytes;
}

std::vector<RfidCard> recordsOf(RecordsBlob& blob) { return {blob.getRecords().begin(), blob.getRecords().end()}; }

// In memory

TEST(RecordsBlob, StartsEmpty) {
    RecordsBlob blob;
    EXPECT_TRUE(blob.getRecords().empty());
    EXPECT_EQ(blob.getVersion(), std::nullopt);
    EXPECT_EQ(blob.getLastMaxId(), 0U);
}

TEST(RecordsBlob, HandsOutItsRecordsToBeChanged) {
    RecordsBlob blob;
    blob.getRecords().push_back(bareCard());
    blob.getRecords().front().description = "changed";
    EXPECT_EQ(blob.getRecords().at(0).description, "changed");
}

TEST(RecordsBlob, HoldsTheVersionAndTheLastIdThatItIsGiven) {
    RecordsBlob blob;
    blob.setVersion(0);
    EXPECT_EQ(blob.getVersion(), 0U);
    blob.setVersion(4294967295U);
    blob.setLastMaxId(4294967294U);
    EXPECT_EQ(blob.getVersion(), 4294967295U);
    EXPECT_EQ(blob.getLastMaxId(), 4294967294U);
}

TEST(RecordsBlob, IsWrittenAndReadThroughItsBaseClass) {
    std::unique_ptr<common::stream::IStreamable> streamable = std::make_unique<RecordsBlob>();
    std::istringstream in(listOf({bareCardBytes()}));
    EXPECT_TRUE(streamable->deserialize(in));
    std::ostringstream out;
    streamable->serialize(out);
    EXPECT_EQ(hexOf(out.str()), hexOf(in.str()));
}

// Writing

TEST(RecordsBlob, WritesFourBytesWhenItIsEmpty) { EXPECT_EQ(hexOf(bytesOf(RecordsBlob{})), "01 00 00 00"); }

TEST(RecordsBlob, WritesTheVersionBehindAFlag) {
    RecordsBlob blob;
    blob.setVersion(7);
    EXPECT_EQ(hexOf(bytesOf(blob)), "01 01 07 00 00 00 00 00");
}

TEST(RecordsBlob, WritesAllFourBytesOfTheVersion) {
    RecordsBlob blob;
    blob.setVersion(0x89ABCDEF);
    EXPECT_EQ(hexOf(bytesOf(blob)), "01 01 EF CD AB 89 00 00");
}

TEST(RecordsBlob, WritesABareCardAsThirtySixBytes) {
    RecordsBlob blob;
    blob.getRecords().push_back(bareCard());
    EXPECT_EQ(hexOf(bytesOf(blob)),
              "01 00 01 00 "              // format, no version, one record
              "01 01 00 00 00 "           // id
              "00 00 00 00 "              // description
              "00 00 "                    // tags
              "00 00 00 00 "              // status
              "00 00 00 00 "              // no expiry date, parent id, EVSE id, extra data
              "00 00 00 00 00 00 00 00 "  // last access
              "00 00 00 00 00 00 00 00 "  // last modification
              "00");                      // no lifetime
}

TEST(RecordsBlob, WritesItsRecordsFromFrontToBack) {
    RecordsBlob blob;
    for (const unsigned id : {5U, 9U, 3U}) blob.getRecords().push_back(bareCard(id));
    EXPECT_EQ(hexOf(bytesOf(blob)), hexOf(listOf({bareCardBytes(5), bareCardBytes(9), bareCardBytes(3)})));
}

TEST(RecordsBlob, DoesNotWriteTheLastId) {
    RecordsBlob blob;
    blob.getRecords().push_back(bareCard());
    const std::string before = bytesOf(blob);
    blob.setLastMaxId(4711);
    EXPECT_EQ(hexOf(bytesOf(blob)), hexOf(before));
}

TEST(RecordsBlob, WritesTheSameBytesInAnyLocale) {
    RecordsBlob blob;
    blob.setVersion(1234567);
    blob.getRecords().push_back(bareCard(7654321));
    const std::string expected = bytesOf(blob);
    const test::GroupingLocale grouping;
    EXPECT_EQ(hexOf(bytesOf(blob)), hexOf(expected));
}

// Takes a number of bytes and then no more.
class FullBuffer : public std::streambuf {
public:
    explicit FullBuffer(std::size_t room) : mRoom(room) {}

protected:
    int_type overflow(int_type character) override {
        if (mRoom == 0) return traits_type::eof();
        --mRoom;
        return traits_type::not_eof(character);
    }

private:
    std::size_t mRoom;
};

TEST(RecordsBlob, ThrowsWhereverTheStreamTakesNoMore) {
    RecordsBlob blob;
    blob.setVersion(7);
    blob.getRecords().push_back(test::cardWithKey("04A2B3"));
    const std::size_t size = bytesOf(blob).size();
    for (std::size_t room = 0; room < size; ++room) {
        FullBuffer buffer(room);
        std::ostream stream(&buffer);
        EXPECT_EQ(thrownBy([&] { blob.serialize(stream); }), "std::runtime_error: The stream takes no more data")
            << room;
    }
    FullBuffer buffer(size);
    std::ostream stream(&buffer);
    EXPECT_EQ(thrownBy([&] { blob.serialize(stream); }), "nothing");
}

// One card

struct CardCase : NamedCase {
    RfidCard card;
    std::string bytes;
};

CardCase caseOf(const char* name, void (*change)(RfidCard&), const std::string& bytes) {
    CardCase row{{name}, bareCard(), bytes};
    change(row.card);
    return row;
}

// Each field of a card on its own, in the bytes of a card that has nothing else.
const std::vector<CardCase> cards{
    caseOf(
        "NoId", [](RfidCard& card) { card.id.reset(); },
        absent + text("") + count(0) + status(0) + absent + absent + absent + absent + time(0) + time(0) + absent),
    caseOf(
        "LargestId", [](RfidCard& card) { card.id = 4294967295U; }, bareCardBytes(4294967295U)),
    caseOf(
        "Description", [](RfidCard& card) { card.description = "Tür"; },
        present + number(1) + text("T\xC3\xBCr") + count(0) + status(0) + absent + absent + absent + absent + time(0) +
            time(0) + absent),
    caseOf(
        "Tags",
        [](RfidCard& card) {
            card.tags = {RfidTag{"h1", std::nullopt, std::nullopt}, RfidTag{"h0", "key", std::nullopt},
                         RfidTag{"", "", R"({"a":1})"}};
        },
        present + number(1) + text("") + count(3) + text("h1") + absent + absent + text("h0") + present + text("key") +
            absent + text("") + present + text("") + present + text(R"({"a":1})") + status(0) + absent + absent +
            absent + absent + time(0) + time(0) + absent),
    caseOf(
        "Status", [](RfidCard& card) { card.status = RfidCardStatus::Operator; },
        present + number(1) + text("") + count(0) + status(5) + absent + absent + absent + absent + time(0) + time(0) +
            absent),
    caseOf(
        "StatusOutsideTheEnumeration", [](RfidCard& card) { card.status = static_cast<RfidCardStatus>(-2); },
        present + number(1) + text("") + count(0) + byte(0xFE) + byte(0xFF) + byte(0xFF) + byte(0xFF) + absent +
            absent + absent + absent + time(0) + time(0) + absent),
    caseOf(
        "ExpiryDate", [](RfidCard& card) { card.expiryDate = TimePoint{std::chrono::nanoseconds(0x0102030405060708)}; },
        present + number(1) + text("") + count(0) + status(0) + present + "\x08\x07\x06\x05\x04\x03\x02\x01" + absent +
            absent + absent + time(0) + time(0) + absent),
    caseOf(
        "ParentId", [](RfidCard& card) { card.parentId = "P"; },
        present + number(1) + text("") + count(0) + status(0) + absent + present + text("P") + absent + absent +
            time(0) + time(0) + absent),
    caseOf(
        "EmptyParentId", [](RfidCard& card) { card.parentId = ""; },
        present + number(1) + text("") + count(0) + status(0) + absent + present + text("") + absent + absent +
            time(0) + time(0) + absent),
    caseOf(
        "EvseId", [](RfidCard& card) { card.evseId = 258; },
        present + number(1) + text("") + count(0) + status(0) + absent + absent + present + number(258) + absent +
            time(0) + time(0) + absent),
    caseOf(
        "ExtraData", [](RfidCard& card) { card.extraData = "{}"; },
        present + number(1) + text("") + count(0) + status(0) + absent + absent + absent + present + text("{}") +
            time(0) + time(0) + absent),
    caseOf(
        "LastAccessTime", [](RfidCard& card) { card.lastAccessTime = TimePoint{std::chrono::nanoseconds(1)}; },
        present + number(1) + text("") + count(0) + status(0) + absent + absent + absent + absent + time(1) + time(0) +
            absent),
    caseOf(
        "LastModificationTime",
        [](RfidCard& card) { card.lastModificationTime = TimePoint{std::chrono::nanoseconds(2)}; },
        present + number(1) + text("") + count(0) + status(0) + absent + absent + absent + absent + time(0) + time(2) +
            absent),
    caseOf(
        "RecordLifetime", [](RfidCard& card) { card.recordLifetime = 3600; },
        present + number(1) + text("") + count(0) + status(0) + absent + absent + absent + absent + time(0) + time(0) +
            present + number(3600)),
    caseOf(
        "TimesBeforeTheEpochAndAtTheEnds",
        [](RfidCard& card) {
            card.expiryDate = TimePoint{std::chrono::nanoseconds(-1)};
            card.lastAccessTime = TimePoint::min();
            card.lastModificationTime = TimePoint::max();
        },
        present + number(1) + text("") + count(0) + status(0) + present + time(-1) + absent + absent + absent +
            "\0\0\0\0\0\0\0\x80"s + "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F" + absent),
    caseOf(
        "EveryField",
        [](RfidCard& card) {
            card.id = 70;
            card.description = "Main door";
            card.tags = {RfidTag{"abc", "04A2B3", "{}"}};
            card.status = RfidCardStatus::ConcurrentTx;
            card.expiryDate = at(2);
            card.parentId = "FLEET-1";
            card.evseId = 2;
            card.extraData = "x";
            card.lastAccessTime = at(3);
            card.lastModificationTime = at(4);
            card.recordLifetime = 5;
        },
        present + number(70) + text("Main door") + count(1) + text("abc") + present + text("04A2B3") + present +
            text("{}") + status(4) + present + time(2000000000) + present + text("FLEET-1") + present + number(2) +
            present + text("x") + time(3000000000) + time(4000000000) + present + number(5)),
};

class CardBytes : public testing::TestWithParam<CardCase> {};

INSTANTIATE_TEST_SUITE_P(Of, CardBytes, testing::ValuesIn(cards), test::byName);

TEST_P(CardBytes, AreWrittenForTheCard) { EXPECT_EQ(hexOf(bytesOf(GetParam().card)), hexOf(GetParam().bytes)); }

TEST_P(CardBytes, AreReadAsTheCard) {
    EXPECT_EQ(fieldsOf(valueFrom<RfidCard>(GetParam().bytes)), fieldsOf(GetParam().card));
}

TEST_P(CardBytes, StandInAListAmongOthers) {
    RecordsBlob blob;
    blob.getRecords() = {bareCard(8), GetParam().card, bareCard(9)};
    EXPECT_EQ(hexOf(bytesOf(blob)), hexOf(listOf({bareCardBytes(8), GetParam().bytes, bareCardBytes(9)})));
}

TEST(RfidTagBytes, AreTheHashAndBehindFlagsTheKeyAndTheExtraData) {
    EXPECT_EQ(hexOf(bytesOf(RfidTag{"AB", std::nullopt, std::nullopt})), "02 00 00 00 41 42 00 00");
    EXPECT_EQ(hexOf(bytesOf(RfidTag{"", "K", std::nullopt})), "00 00 00 00 01 01 00 00 00 4B 00");
    EXPECT_EQ(hexOf(bytesOf(RfidTag{"", std::nullopt, "X"})), "00 00 00 00 00 01 01 00 00 00 58");
}

TEST(RfidTagBytes, AreReadAsTheTag) {
    for (const RfidTag& tag : {RfidTag{"AB", std::nullopt, std::nullopt}, RfidTag{"", "K", std::nullopt},
                               RfidTag{"", std::nullopt, "X"}, RfidTag{"h", "", ""}}) {
        EXPECT_EQ(fieldsOf(valueFrom<RfidTag>(bytesOf(tag))), fieldsOf(tag));
    }
}

TEST(RecordBytes, AreWrittenAndReadInOneChainOfOperators) {
    std::ostringstream written;
    BinarySerializer out(written);
    (out << bareCard(1) << RfidTag{"h", std::nullopt, std::nullopt} << bareCard(2)) << true;
    std::istringstream stream(written.str());
    BinaryDeserializer in(stream);
    RfidCard first;
    RfidTag tag;
    RfidCard second;
    bool flag = false;
    (in >> first >> tag >> second) >> flag;
    EXPECT_EQ(fieldsOf(first), fieldsOf(bareCard(1)));
    EXPECT_EQ(tag.hash, "h");
    EXPECT_EQ(fieldsOf(second), fieldsOf(bareCard(2)));
    EXPECT_TRUE(flag);
}

TEST(RecordBytes, KeepEveryStatusWithoutACheck) {
    for (const int value :
         {0, 1, 2, 3, 4, 5, 6, 256, 65536, std::numeric_limits<int>::max(), -1, std::numeric_limits<int>::min()}) {
        RfidCard card = bareCard();
        card.status = static_cast<RfidCardStatus>(value);
        EXPECT_EQ(static_cast<int>(valueFrom<RfidCard>(bytesOf(card)).status), value);
    }
}

TEST(RecordBytes, KeepTextsOfAnyLengthAndAnyBytes) {
    std::string everyByte;
    for (unsigned value = 0; value < 256; ++value) everyByte += static_cast<char>(static_cast<unsigned char>(value));
    for (const std::size_t length : {0U, 1U, 255U, 256U, 4095U, 4096U, 4097U, 8192U, 70000U}) {
        std::string value;
        while (value.size() < length) value += everyByte;
        value.resize(length);
        RfidCard card = bareCard();
        card.description = value;
        card.parentId = card.extraData = value;
        card.tags = {RfidTag{value, value, value}, RfidTag{value, std::nullopt, value}};
        EXPECT_EQ(fieldsOf(valueFrom<RfidCard>(bytesOf(card))), fieldsOf(card)) << length;
    }
}

TEST(RecordBytes, KeepTheLargestNumberOfTagsThatTheCountHolds) {
    RfidCard card = bareCard();
    for (unsigned i = 0; i < 65535; ++i) card.tags.push_back(RfidTag{std::to_string(i), std::nullopt, std::nullopt});
    EXPECT_EQ(fieldsOf(valueFrom<RfidCard>(bytesOf(card))), fieldsOf(card));
}

TEST(RecordBytes, HoldTheTagCountModulo65536AndEveryTag) {
    RfidCard card = bareCard();
    const std::string tagBytes = text("") + absent + absent;
    std::string expected = present + number(1) + text("") + count(1);
    for (unsigned i = 0; i < 65537; ++i) {
        card.tags.emplace_back();
        expected += tagBytes;
    }
    expected += status(0) + absent + absent + absent + absent + time(0) + time(0) + absent;
    EXPECT_TRUE(bytesOf(card) == expected);
}

TEST(RecordBytes, ReplaceAllOfACardThatTheyAreReadOver) {
    const RfidCard old = cards.back().card;
    std::istringstream stream(bareCardBytes(2));
    BinaryDeserializer in(stream);
    RfidCard card = old;
    in >> card;
    EXPECT_EQ(fieldsOf(card), fieldsOf(bareCard(2)));
}

// Reading

TEST(RecordsBlob, ReadsWhatItWrote) {
    RecordsBlob written;
    written.setVersion(4294967295U);
    for (const CardCase& row : cards) {
        if (row.card.id) written.getRecords().push_back(row.card);
    }
    RecordsBlob read;
    EXPECT_TRUE(readInto(read, bytesOf(written)));
    EXPECT_EQ(read.getVersion(), 4294967295U);
    EXPECT_EQ(fieldsOf(recordsOf(read)), fieldsOf(recordsOf(written)));
    EXPECT_EQ(hexOf(bytesOf(read)), hexOf(bytesOf(written)));
}

TEST(RecordsBlob, ReturnsTrueForAnEmptyList) {
    RecordsBlob blob;
    EXPECT_TRUE(readInto(blob, byte(1) + absent + count(0)));
    EXPECT_EQ(blob.getVersion(), std::nullopt);
    EXPECT_TRUE(blob.getRecords().empty());
}

TEST(RecordsBlob, TakesOverTheVersionAndItsAbsence) {
    RecordsBlob blob;
    readInto(blob, byte(1) + present + number(7) + count(0));
    EXPECT_EQ(blob.getVersion(), 7U);
    readInto(blob, byte(1) + absent + count(0));
    EXPECT_EQ(blob.getVersion(), std::nullopt);
}

TEST(RecordsBlob, AppendsWhatItReadsBehindTheRecordsThatItHolds) {
    RecordsBlob blob;
    blob.getRecords().push_back(bareCard(4));
    readInto(blob, listOf({bareCardBytes(9), bareCardBytes(2)}));
    readInto(blob, listOf({bareCardBytes(9)}));
    EXPECT_EQ(fieldsOf(recordsOf(blob)), fieldsOf(std::vector{bareCard(4), bareCard(9), bareCard(2), bareCard(9)}));
}

TEST(RecordsBlob, IgnoresWhatStandsBehindACountOfZero) {
    RecordsBlob blob;
    EXPECT_TRUE(readInto(blob, byte(1) + absent + count(0) + bareCardBytes() + "rest"));
    EXPECT_TRUE(blob.getRecords().empty());
}

TEST(RecordsBlob, LeavesTheStreamBehindTheLastRecord) {
    const std::string list = listOf({bareCardBytes()});
    std::istringstream stream(list + "rest");
    RecordsBlob blob;
    EXPECT_TRUE(blob.deserialize(stream));
    EXPECT_EQ(blob.getRecords().size(), 1U);
    EXPECT_EQ(static_cast<std::size_t>(stream.tellg()), list.size());
}

// The last id: the smallest id on file, not the largest

TEST(RecordsBlob, TakesTheSmallestIdForTheLastOne) {
    RecordsBlob blob;
    readInto(blob, listOf({bareCardBytes(5), bareCardBytes(9), bareCardBytes(3)}));
    EXPECT_EQ(blob.getLastMaxId(), 3U);
}

TEST(RecordsBlob, TakesTheSmallestIdEvenBelowTheLastOneThatItHeld) {
    RecordsBlob blob;
    blob.setLastMaxId(1000);
    readInto(blob, listOf({bareCardBytes(4294967295U), bareCardBytes(0), bareCardBytes(0)}));
    EXPECT_EQ(blob.getLastMaxId(), 0U);
}

TEST(RecordsBlob, CountsTheRecordsThatItHeldBeforeForTheSmallestId) {
    RecordsBlob blob;
    blob.getRecords().push_back(bareCard(2));
    readInto(blob, listOf({bareCardBytes(5)}));
    EXPECT_EQ(blob.getLastMaxId(), 2U);
}

TEST(RecordsBlob, DerivesTheLastIdFromHeldRecordsWhenTheFileHasNone) {
    RecordsBlob blob;
    blob.getRecords() = {bareCard(6), bareCard(5)};
    readInto(blob, listOf({}));
    EXPECT_EQ(blob.getLastMaxId(), 5U);
}

TEST(RecordsBlob, KeepsTheLastIdWhenItHoldsNoRecord) {
    RecordsBlob blob;
    blob.setLastMaxId(42);
    readInto(blob, listOf({}));
    EXPECT_EQ(blob.getLastMaxId(), 42U);
}

TEST(RecordsBlob, RefusesARecordWithoutIdOnceAllAreRead) {
    const std::string withoutId = bareCardBytes().substr(5);
    RecordsBlob blob;
    blob.setLastMaxId(42);
    const std::string bytes =
        byte(1) + present + number(7) + count(3) + bareCardBytes(1) + absent + withoutId + bareCardBytes(2);
    EXPECT_EQ(thrownBy([&] { readInto(blob, bytes); }), "std::bad_optional_access: bad optional access");
    EXPECT_EQ(fieldsOf(recordsOf(blob)), fieldsOf(std::vector{bareCard(1), bareCard(std::nullopt), bareCard(2)}));
    EXPECT_EQ(blob.getVersion(), 7U);
    EXPECT_EQ(blob.getLastMaxId(), 42U);
}

// The record count: modulo 65,536

std::string writtenWith(std::size_t records) {
    RecordsBlob blob;
    for (std::size_t i = 0; i < records; ++i) blob.getRecords().push_back(bareCard(static_cast<unsigned>(i + 1)));
    return bytesOf(blob);
}

TEST(RecordCount, Holds65535Records) {
    RecordsBlob blob;
    EXPECT_TRUE(readInto(blob, writtenWith(65535)));
    EXPECT_EQ(blob.getRecords().size(), 65535U);
    EXPECT_EQ(blob.getRecords().back().id, 65535U);
}

TEST(RecordCount, IsZeroFor65536RecordsThatAreAllWritten) {
    const std::string bytes = writtenWith(65536);
    EXPECT_EQ(hexOf(bytes.substr(0, 4)), "01 00 00 00");
    EXPECT_EQ(bytes.size(), 4 + 65536 * bareCardBytes().size());
    RecordsBlob blob;
    EXPECT_TRUE(readInto(blob, bytes));
    EXPECT_TRUE(blob.getRecords().empty());
}

TEST(RecordCount, IsOneFor65537RecordsThatAreAllWritten) {
    const std::string bytes = writtenWith(65537);
    EXPECT_EQ(hexOf(bytes.substr(0, 4)), "01 00 01 00");
    EXPECT_EQ(bytes.size(), 4 + 65537 * bareCardBytes().size());
    EXPECT_EQ(hexOf(bytes.substr(bytes.size() - bareCardBytes().size())), hexOf(bareCardBytes(65537)));
    RecordsBlob blob;
    EXPECT_TRUE(readInto(blob, bytes));
    EXPECT_EQ(fieldsOf(recordsOf(blob)), fieldsOf(std::vector{bareCard(1)}));
}

// The format version byte: kept and not checked

TEST(FormatVersion, IsNotChecked) {
    const std::string rest = listOf({bareCardBytes(3)}).substr(1);
    for (unsigned version = 0; version < 256; ++version) {
        RecordsBlob blob;
        EXPECT_TRUE(readInto(blob, byte(version) + rest));
        EXPECT_EQ(fieldsOf(recordsOf(blob)), fieldsOf(std::vector{bareCard(3)}));
        EXPECT_EQ(sSavedFormatVersion, version);
    }
}

TEST(FormatVersion, IsWrittenAsOneWhateverWasRead) {
    RecordsBlob blob;
    readInto(blob, byte(2) + absent + count(0));
    EXPECT_EQ(hexOf(bytesOf(blob)), "01 00 00 00");
    EXPECT_EQ(sSavedFormatVersion, 2);
}

TEST(FormatVersion, IsKeptEvenWhenTheRestCannotBeRead) {
    RecordsBlob blob;
    EXPECT_THROW(readInto(blob, byte(9)), std::runtime_error);
    EXPECT_EQ(sSavedFormatVersion, 9);
}

TEST(FormatVersion, IsKeptPerThread) {
    RecordsBlob mine;
    readInto(mine, byte(5) + absent + count(0));
    int before = -1;
    int after = -1;
    std::thread([&] {
        before = sSavedFormatVersion;
        RecordsBlob other;
        readInto(other, byte(6) + absent + count(0));
        after = sSavedFormatVersion;
    }).join();
    EXPECT_EQ(before, 0);
    EXPECT_EQ(after, 6);
    EXPECT_EQ(sSavedFormatVersion, 5);
}

// Damage (DamagedBlobTest.cpp has the rest)

TEST(RecordsBlob, RefusesAFlagThatIsNeitherZeroNorOne) {
    RecordsBlob blob;
    for (const unsigned flag : {2U, 128U, 255U}) {
        EXPECT_EQ(thrownBy([&] { readInto(blob, byte(1) + byte(flag) + count(0)); }),
                  "std::runtime_error: Neither 0 nor 1 in a flag before byte 2");
    }
}

TEST(RecordsBlob, KeepsWhatItReadBeforeTheDamage) {
    RecordsBlob blob;
    const std::string bytes = byte(1) + present + number(7) + count(3) + bareCardBytes(8) + bareCardBytes(9) + present;
    EXPECT_EQ(thrownBy([&] { readInto(blob, bytes); }),
              "std::runtime_error: The data ends inside a value at byte " + std::to_string(bytes.size()));
    EXPECT_EQ(fieldsOf(recordsOf(blob)), fieldsOf(std::vector{bareCard(8), bareCard(9)}));
    EXPECT_EQ(blob.getVersion(), 7U);
    EXPECT_EQ(blob.getLastMaxId(), 0U);
}

TEST(RecordsBlob, RefusesAStreamWithoutBytes) {
    RecordsBlob blob;
    EXPECT_EQ(thrownBy([&] { readInto(blob, ""); }), "std::runtime_error: The data ends inside a value at byte 0");
}

}  // namespace
}  // namespace oru::kadi::authlist::db::filestorage
