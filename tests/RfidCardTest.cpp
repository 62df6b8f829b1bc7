// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <iomanip>
#include <ios>
#include <locale>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "authlist/RfidCard.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/GroupingLocale.h"
#include "support/ThrownBy.h"

namespace oru::kadi::authlist {
namespace {

using test::at;
using test::fieldsOf;
using test::thrownBy;

// The records

static_assert(std::is_same_v<decltype(RfidTag::hash), std::string>);
static_assert(std::is_same_v<decltype(RfidTag::key), std::optional<std::string>>);
static_assert(std::is_same_v<decltype(RfidTag::extraData), std::optional<std::string>>);

static_assert(std::is_same_v<decltype(RfidCard::id), std::optional<unsigned>>);
static_assert(std::is_same_v<decltype(RfidCard::description), std::string>);
static_assert(std::is_same_v<decltype(RfidCard::tags), std::vector<RfidTag>>);
static_assert(std::is_same_v<decltype(RfidCard::status), RfidCardStatus>);
static_assert(std::is_same_v<decltype(RfidCard::expiryDate), std::optional<TimePoint>>);
static_assert(std::is_same_v<decltype(RfidCard::parentId), std::optional<std::string>>);
static_assert(std::is_same_v<decltype(RfidCard::evseId), std::optional<unsigned>>);
static_assert(std::is_same_v<decltype(RfidCard::extraData), std::optional<std::string>>);
static_assert(std::is_same_v<decltype(RfidCard::lastAccessTime), TimePoint>);
static_assert(std::is_same_v<decltype(RfidCard::lastModificationTime), TimePoint>);
static_assert(std::is_same_v<decltype(RfidCard::recordLifetime), std::optional<unsigned>>);
static_assert(sizeof(unsigned) == 4);

template <class Record>
constexpr bool isPlainValue = std::is_aggregate_v<Record>&& std::is_default_constructible_v<Record>&&
    std::is_copy_constructible_v<Record>&& std::is_copy_assignable_v<Record>&&
        std::is_nothrow_move_constructible_v<Record>&& std::is_move_assignable_v<Record>;
static_assert(isPlainValue<RfidTag> && isPlainValue<RfidCard>);

TEST(RfidTagRecord, HasItsFieldsInTheDocumentedOrder) {
    RfidTag tag;
    const auto& [hash, key, extraData] = tag;
    EXPECT_EQ(&hash, &tag.hash);
    EXPECT_EQ(&key, &tag.key);
    EXPECT_EQ(&extraData, &tag.extraData);
}

TEST(RfidTagRecord, KeepsAHashAndAKeyThatDoNotAgree) {
    const RfidTag tag{"00ff", "04A2B3", std::nullopt};
    EXPECT_EQ(tag.hash, "00ff");
    EXPECT_EQ(tag.key, "04A2B3");
}

TEST(RfidCardRecord, HasItsFieldsInTheDocumentedOrder) {
    RfidCard card;
    const auto& [id, description, tags, status, expiryDate, parentId, evseId, extraData, lastAccessTime,
                 lastModificationTime, recordLifetime] = card;
    EXPECT_EQ(&id, &card.id);
    EXPECT_EQ(&description, &card.description);
    EXPECT_EQ(&tags, &card.tags);
    EXPECT_EQ(&status, &card.status);
    EXPECT_EQ(&expiryDate, &card.expiryDate);
    EXPECT_EQ(&parentId, &card.parentId);
    EXPECT_EQ(&evseId, &card.evseId);
    EXPECT_EQ(&extraData, &card.extraData);
    EXPECT_EQ(&lastAccessTime, &card.lastAccessTime);
    EXPECT_EQ(&lastModificationTime, &card.lastModificationTime);
    EXPECT_EQ(&recordLifetime, &card.recordLifetime);
}

TEST(RfidCardRecord, IsAcceptedWithoutLimitsAtFirst) {
    const RfidCard card;
    EXPECT_EQ(card.id, std::nullopt);
    EXPECT_EQ(card.description, "");
    EXPECT_TRUE(card.tags.empty());
    EXPECT_EQ(card.status, RfidCardStatus::Accepted);
    EXPECT_EQ(card.expiryDate, std::nullopt);
    EXPECT_EQ(card.parentId, std::nullopt);
    EXPECT_EQ(card.evseId, std::nullopt);
    EXPECT_EQ(card.extraData, std::nullopt);
    EXPECT_EQ(card.lastAccessTime, at(0));
    EXPECT_EQ(card.lastModificationTime, at(0));
    EXPECT_EQ(card.recordLifetime, std::nullopt);
}

TEST(RfidCardRecord, IsCopiedDeep) {
    RfidCard card;
    card.tags = {RfidTag{"00ff", "04A2B3", "{}"}};
    card.parentId = "Staff";
    RfidCard copy = card;
    copy.tags[0].key->append("x");
    copy.parentId->append("x");
    EXPECT_EQ(card.tags[0].key, "04A2B3");
    EXPECT_EQ(card.parentId, "Staff");
}

// The text form

// "t1" and "t2" of the lines below.
const std::string accessText = "2026-01-01T00:00:01Z";
const std::string modificationText = "2026-01-01T00:00:02Z";

RfidCard mainDoor() {
    RfidCard card;
    card.id = 3;
    card.description = "Main door";
    card.tags = {RfidTag{"h", "k", std::nullopt}};
    card.evseId = 2;
    card.lastAccessTime = at(1767225601);
    card.lastModificationTime = at(1767225602);
    return card;
}

const std::string mainDoorLine =
    "{Id=3;Status=Accepted;Description=Main door;Expiry=<n/a>;Tags=[Hash=h;Key=k;Extra data=<n/a>;];Parent ID=<n/a>;"
    "EVSE ID=2;Extra data=<n/a>;Last access time=" +
    accessText + ";Last modification time=" + modificationText + "}";

std::string textOf(const RfidCard& card) {
    std::ostringstream out;
    out << card;
    return out.str();
}

TEST(CardText, IsOneLineInAFixedForm) { EXPECT_EQ(textOf(mainDoor()), mainDoorLine); }

TEST(CardText, ShowsEveryFieldButTheLifetime) {
    RfidCard card = mainDoor();
    card.status = RfidCardStatus::ConcurrentTx;
    card.expiryDate = at(1893456000);
    card.tags = {RfidTag{"h1", "k1", "{\"colour\":\"red\"}"}, RfidTag{"h2", std::nullopt, std::nullopt}};
    card.parentId = "Staff";
    card.extraData = "{\"shift\":\"night\"}";
    card.recordLifetime = 86400;
    EXPECT_EQ(textOf(card),
              "{Id=3;Status=ConcurrentTx;Description=Main door;Expiry=2030-01-01T00:00:00Z;"
              "Tags=[Hash=h1;Key=k1;Extra data={\"colour\":\"red\"};Hash=h2;Key=<n/a>;Extra data=<n/a>;];"
              "Parent ID=Staff;EVSE ID=2;Extra data={\"shift\":\"night\"};Last access time=" +
                  accessText + ";Last modification time=" + modificationText + "}");
}

TEST(CardText, OfANewCardHasNoValues) {
    EXPECT_EQ(textOf(RfidCard{}),
              "{Id=0;Status=Accepted;Description=;Expiry=<n/a>;Tags=[];Parent ID=<n/a>;EVSE ID=<n/a>;"
              "Extra data=<n/a>;Last access time=1970-01-01T00:00:00Z;Last modification time=1970-01-01T00:00:00Z}");
}

TEST(CardText, ShowsAnEmptyTextAsEmptyNotAsAbsent) {
    RfidCard card;
    card.tags = {RfidTag{"", "", ""}};
    card.parentId = card.extraData = "";
    EXPECT_EQ(textOf(card),
              "{Id=0;Status=Accepted;Description=;Expiry=<n/a>;Tags=[Hash=;Key=;Extra data=;];Parent ID=;"
              "EVSE ID=<n/a>;Extra data=;Last access time=1970-01-01T00:00:00Z;"
              "Last modification time=1970-01-01T00:00:00Z}");
}

TEST(CardText, QuotesAndEscapesNothing) {
    RfidCard card = mainDoor();
    card.description = "a;b}c\"d\\e=[f]";
    std::string line = mainDoorLine;
    line.replace(line.find("Main door"), 9, card.description);
    EXPECT_EQ(textOf(card), line);
}

TEST(CardText, NamesEachStatus) {
    for (int value = 0; value < 6; ++value) {
        RfidCard card;
        card.status = static_cast<RfidCardStatus>(value);
        EXPECT_EQ(textOf(card).substr(0, 30),
                  ("{Id=0;Status=" + std::string(statusToText(card.status)) + ";Description=;Expiry=").substr(0, 30));
    }
}

TEST(CardText, CutsTimesToTheSecondModulo32Bits) {
    RfidCard card = mainDoor();
    card.lastAccessTime += std::chrono::nanoseconds(999999999);
    card.lastModificationTime += std::chrono::seconds(4294967296);
    EXPECT_EQ(textOf(card), mainDoorLine);
}

TEST(CardText, EndsWithoutALineEndAndTheStreamGoesOn) {
    std::ostringstream out;
    EXPECT_EQ(&(out << mainDoor()), &out);
    out << "|" << mainDoor() << "|";
    EXPECT_EQ(out.str(), mainDoorLine + "|" + mainDoorLine + "|");
}

TEST(CardText, StopsAtAStatusOutsideTheEnumeration) {
    RfidCard card = mainDoor();
    for (const int value : {6, -1}) {
        card.status = static_cast<RfidCardStatus>(value);
        std::ostringstream out;
        EXPECT_EQ(thrownBy([&] { out << card; }), "std::invalid_argument: " + std::to_string(value) +
                                                      " was not found in N3oru4kadi8authlist14RfidCardStatusE");
        EXPECT_EQ(out.str(), "{Id=3;Status=");
    }
}

// Numbers and times are the same whatever stream they are written to.

RfidCard bigNumbers() {
    RfidCard card = mainDoor();
    card.id = 4294967295;
    card.evseId = 1234567;
    return card;
}

const std::string bigNumbersLine =
    "{Id=4294967295;Status=Accepted;Description=Main door;Expiry=<n/a>;Tags=[Hash=h;Key=k;Extra data=<n/a>;];"
    "Parent ID=<n/a>;EVSE ID=1234567;Extra data=<n/a>;Last access time=" +
    accessText + ";Last modification time=" + modificationText + "}";

TEST(CardText, HasNoThousandsSeparatorsUnderAGlobalLocaleThatGroups) {
    const test::GroupingLocale grouping;
    EXPECT_EQ(textOf(bigNumbers()), bigNumbersLine);
}

TEST(CardText, HasNoThousandsSeparatorsOnAStreamWhoseLocaleGroups) {
    std::ostringstream out;
    {
        const test::GroupingLocale grouping;
        out.imbue(std::locale());
    }
    out << bigNumbers();
    EXPECT_EQ(out.str(), bigNumbersLine);
}

TEST(CardText, IsDecimalWhateverTheStreamsBase) {
    for (const auto base : {std::ios::hex, std::ios::oct, std::ios::dec}) {
        std::ostringstream out;
        out.setf(base, std::ios::basefield);
        out << std::showbase << std::showpos << std::uppercase << bigNumbers();
        EXPECT_EQ(out.str(), bigNumbersLine);
    }
}

TEST(CardText, LeavesTheStreamsFlagsAlone) {
    std::ostringstream out;
    out << std::hex << bigNumbers() << 255;
    EXPECT_EQ(out.str(), bigNumbersLine + "ff");
}

TEST(CardText, IsNotPaddedInside) {
    for (const auto adjustment : {std::ios::left, std::ios::right, std::ios::internal}) {
        std::ostringstream out;
        out.setf(adjustment, std::ios::adjustfield);
        out << std::setfill('7') << std::setw(12) << mainDoor();
        EXPECT_EQ(out.str(), mainDoorLine);
    }
}

}  // namespace
}  // namespace oru::kadi::authlist
