// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "authlist/KeyHash.h"
#include "authlist/db/filestorage/FileDbAccessor.h"
#include "authlist/db/filestorage/RecordsBlob.h"
#include "support/BlobBytes.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/FileState.h"
#include "support/FileStore.h"
#include "support/Files.h"
#include "support/NamedCase.h"

// Blob files that earlier builds wrote: every later build reads them as the same lists, and writes those lists as the
// same bytes. Add files, but never change one.

namespace oru::kadi::authlist::db::filestorage {
namespace {

using std::chrono::nanoseconds;
using test::at;
using test::contentOf;
using test::fieldsOf;
using test::hexOf;
using test::NamedCase;
using test::tagWithKey;

const std::filesystem::path folder = std::filesystem::path(ORU_TEST_DATA) / "records-blob";

std::string golden(const std::string& file) { return contentOf((folder / file).string()); }

struct GoldenFile : NamedCase {
    const char* file;
    std::optional<unsigned> version;
    std::vector<RfidCard> records;
    unsigned lastMaxId;
    const char* rewrittenAs;  ///< the golden file with the bytes that are written for this list
};

TimePoint nanosecond(std::int64_t count) { return TimePoint{nanoseconds(count)}; }

const TimePoint start = at(1767225600);

RfidCard bare(unsigned id) {
    RfidCard card;
    card.id = id;
    return card;
}

RfidCard bare(unsigned id, const std::string& description) {
    RfidCard card = bare(id);
    card.description = description;
    return card;
}

RfidCard smallCard() {
    RfidCard card = bare(3, "Tür");
    card.tags = {tagWithKey("04A2B3")};
    card.status = RfidCardStatus::ConcurrentTx;
    card.expiryDate = at(1893456000);
    card.evseId = 2;
    card.lastAccessTime = start + nanoseconds(1);
    card.lastModificationTime = start;
    return card;
}

std::vector<RfidCard> fullCards() {
    RfidCard first = bare(70, "Main door");
    first.tags = {RfidTag{hashKey("04A2B3"), "04A2B3", R"({"b": 2})"},
                  RfidTag{hashKey("hidden"), std::nullopt, std::nullopt}};
    first.status = RfidCardStatus::ConcurrentTx;
    first.expiryDate = at(1798761599);
    first.parentId = "FLEET-1";
    first.evseId = 2;
    first.extraData = R"({"a":[1 ,{}]})";
    first.lastAccessTime = start + nanoseconds(123456789);
    first.lastModificationTime = start + std::chrono::seconds(1);
    first.recordLifetime = 3600;
    RfidCard second = bare(71, "Caretaker");
    second.tags = {tagWithKey("04C4D5")};
    second.status = RfidCardStatus::Operator;
    second.expiryDate = at(4102444800) + nanoseconds(1);
    second.parentId = "Staff";
    second.evseId = 1;
    second.extraData = R"({"shift":"night"})";
    second.lastAccessTime = start + std::chrono::seconds(2);
    second.lastModificationTime = start + std::chrono::seconds(3);
    second.recordLifetime = 86400;
    return {first, second};
}

RfidCard cardWithUmlauts() {
    RfidCard card = bare(1, "Tür für Jörg, Straße ÄÖÜ");
    card.tags = {RfidTag{hashKey("Schlüssel"), "Schlüssel", R"({"Größe":"XÖL"})"}};
    card.parentId = "Büro";
    card.extraData = R"({"Ort":"Köln, 東京 🔌"})";
    card.lastAccessTime = card.lastModificationTime = start;
    return card;
}

std::vector<RfidCard> cardsWithSeveralTags() {
    RfidCard fleet = bare(1, "Fleet");
    for (int i = 5; i > 0; --i) fleet.tags.push_back(tagWithKey("key " + std::to_string(i)));
    fleet.tags.push_back(RfidTag{hashKey("key 6"), std::nullopt, "{}"});
    fleet.lastAccessTime = fleet.lastModificationTime = start;
    RfidCard one = bare(4, "One");
    one.tags = {tagWithKey("key 7")};
    return {fleet, bare(2, "None"), one};
}

std::vector<RfidCard> cardsWithOddStatus() {
    std::vector<RfidCard> cards;
    for (const int status : {-1, 6, 77, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        RfidCard card = bare(static_cast<unsigned>(cards.size() + 1));
        card.status = static_cast<RfidCardStatus>(status);
        cards.push_back(card);
    }
    return cards;
}

RfidCard cardWithTimes(unsigned id, TimePoint expiry, TimePoint access, TimePoint modification) {
    RfidCard card = bare(id);
    card.expiryDate = expiry;
    card.lastAccessTime = access;
    card.lastModificationTime = modification;
    return card;
}

RfidCard cardWithOddBytes() {
    const std::string odd("a\0b\xFF\xC3\r\n\"|;\x7F\0", 12);
    RfidCard card = bare(1, odd);
    card.tags = {RfidTag{odd, odd, odd}, RfidTag{std::string(1, '\0'), "", std::string(2, '\0')}};
    card.parentId = card.extraData = odd;
    return card;
}

RfidCard cardWithNumbers(unsigned number) {
    RfidCard card = bare(number);
    card.evseId = card.recordLifetime = number;
    return card;
}

std::vector<RfidCard> cardsOfTheSameId() {
    RfidCard first = bare(2, "first");
    first.tags = {tagWithKey("A")};
    RfidCard second = bare(2, "second");
    second.tags = {tagWithKey("A"), tagWithKey("A")};
    return {first, second};
}

std::vector<RfidCard> cardsWithEmptyTexts() {
    RfidCard empty = bare(1);
    empty.tags = {RfidTag{"", "", ""}};
    empty.parentId = empty.extraData = "";
    RfidCard absent = bare(2);
    absent.tags = {RfidTag{}};
    return {empty, absent};
}

const std::vector<GoldenFile> goldenFiles{
    {{"Empty"}, "empty.blob", {}, {}, 0, "empty.blob"},
    {{"VersionOnly"}, "version-only.blob", 7, {}, 0, "version-only.blob"},
    {{"MinimalCard"}, "minimal-card.blob", {}, {bare(1)}, 1, "minimal-card.blob"},
    {{"SmallList"}, "small-list.blob", 7, {smallCard()}, 3, "small-list.blob"},
    {{"EveryField"}, "every-field.blob", 4294967294U, fullCards(), 70, "every-field.blob"},
    {{"Umlauts"}, "umlauts.blob", {}, {cardWithUmlauts()}, 1, "umlauts.blob"},
    {{"SeveralTags"}, "several-tags.blob", 1, cardsWithSeveralTags(), 1, "several-tags.blob"},
    {{"OddStatus"}, "odd-status.blob", {}, cardsWithOddStatus(), 1, "odd-status.blob"},
    {{"OddTimes"},
     "odd-times.blob",
     {},
     {cardWithTimes(1, nanosecond(-1), TimePoint::min(), TimePoint::max()),
      cardWithTimes(2, TimePoint::max(), at(-1), nanosecond(999999999)),
      cardWithTimes(3, at(0), at(4294967296), nanosecond(1))},
     1,
     "odd-times.blob"},
    {{"OddBytes"}, "odd-bytes.blob", {}, {cardWithOddBytes()}, 1, "odd-bytes.blob"},
    {{"OddNumbers"},
     "odd-numbers.blob",
     4294967295U,
     {cardWithNumbers(4294967295U), cardWithNumbers(0), cardWithNumbers(2147483648U)},
     0,
     "odd-numbers.blob"},
    {{"OddSameIds"}, "odd-same-ids.blob", {}, cardsOfTheSameId(), 2, "odd-same-ids.blob"},
    {{"OddEmptyTexts"}, "odd-empty-texts.blob", 0, cardsWithEmptyTexts(), 1, "odd-empty-texts.blob"},
    {{"OddIdOrder"}, "odd-id-order.blob", {}, {bare(5), bare(9), bare(3)}, 3, "odd-id-order.blob"},
    {{"OddFormatVersion"}, "odd-format-version.blob", {}, {bare(1)}, 1, "minimal-card.blob"},
    {{"OddBytesBehind"}, "odd-bytes-behind.blob", {}, {bare(1)}, 1, "minimal-card.blob"},
};

class GoldenBlob : public testing::TestWithParam<GoldenFile> {};

INSTANTIATE_TEST_SUITE_P(File, GoldenBlob, testing::ValuesIn(goldenFiles), test::byName);

TEST_P(GoldenBlob, IsReadAsTheListThatItHolds) {
    RecordsBlob blob;
    ASSERT_TRUE(std::filesystem::exists(folder / GetParam().file));
    EXPECT_TRUE(test::readInto(blob, golden(GetParam().file)));
    EXPECT_EQ(blob.getVersion(), GetParam().version);
    EXPECT_EQ(blob.getLastMaxId(), GetParam().lastMaxId);
    const std::vector<RfidCard> records(blob.getRecords().begin(), blob.getRecords().end());
    EXPECT_EQ(fieldsOf(records), fieldsOf(GetParam().records));
}

TEST_P(GoldenBlob, IsWrittenForThatList) {
    RecordsBlob blob;
    if (GetParam().version) blob.setVersion(*GetParam().version);
    blob.getRecords() = {GetParam().records.begin(), GetParam().records.end()};
    EXPECT_EQ(hexOf(test::bytesOf(blob)), hexOf(golden(GetParam().rewrittenAs)));
}

TEST_P(GoldenBlob, IsWrittenAgainByTheBackendThatLoadedIt) {
    test::FileStore store;
    store.accessor.reset();
    test::writeFile(store.file, golden(GetParam().file));
    const test::FileState before = test::stateOf(store.file);
    store.reload();
    EXPECT_EQ(fieldsOf(store->readAllRecords()), fieldsOf(GetParam().records));
    EXPECT_EQ(store->readVersion(), GetParam().version);
    store.accessor.reset();
    EXPECT_EQ(hexOf(contentOf(store.file)), hexOf(golden(GetParam().rewrittenAs)));
    if (GetParam().file == std::string(GetParam().rewrittenAs)) {
        EXPECT_EQ(test::stateOf(store.file), before);  // not even touched
    }
}

TEST(GoldenBlobs, AreAllTested) {
    std::vector<std::string> files;
    for (const GoldenFile& row : goldenFiles) files.push_back(row.file);
    EXPECT_THAT(test::namesIn(folder), testing::UnorderedElementsAreArray(files));
}

// The document shows a golden file byte by byte, as lines like "000d  03 00 00 00  meaning".
TEST(GoldenBlobs, AreAsTheDocumentShowsOne) {
    std::istringstream document(contentOf((std::filesystem::path(ORU_DOCS) / "records-blob.md").string()));
    const std::regex dumpLine("^([0-9a-f]{4})  ((?:[0-9a-f]{2} )+) .*");
    std::string bytes;
    for (std::string line; std::getline(document, line);) {
        std::smatch match;
        if (!std::regex_match(line, match, dumpLine)) continue;
        EXPECT_EQ(std::stoul(match[1], nullptr, 16), bytes.size()) << line;
        std::istringstream values(match[2]);
        for (unsigned value; values >> std::hex >> value;) bytes += test::byte(value);
    }
    EXPECT_EQ(hexOf(bytes), hexOf(golden("small-list.blob")));
}

}  // namespace
}  // namespace oru::kadi::authlist::db::filestorage
