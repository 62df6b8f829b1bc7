// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tools/authlist/OutputText.h"
#include "tools/authlist/ToolLists.h"

// list, find and count with filters, sorting and limits.

namespace oru::kadi::authlist::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

constexpr std::int64_t firstOfJanuary2027 = 1798761600;
constexpr std::int64_t day = 86400;

/// Twelve cards; id, expiry date and both times rise in four different orders, every third card never expires.
std::vector<RfidCard> twelveCards() {
    constexpr RfidCardStatus statuses[] = {RfidCardStatus::Accepted,     RfidCardStatus::Blocked,
                                           RfidCardStatus::Expired,      RfidCardStatus::Invalid,
                                           RfidCardStatus::ConcurrentTx, RfidCardStatus::Operator};
    std::vector<RfidCard> cards;
    for (unsigned i = 0; i < 12; ++i) {
        RfidCard card = cardWithKey("KEY-" + std::to_string(i), statuses[i * 5 % 6]);
        card.id = 100 + i * 7 % 12;
        if (i % 3 != 0) card.expiryDate = at(firstOfJanuary2027 + day * (i * 5 % 12));
        card.lastAccessTime = at(firstOfJanuary2027 - day * (i + 1));
        card.lastModificationTime = at(firstOfJanuary2027 - day * (20 + i * 11 % 12));
        cards.push_back(card);
    }
    return cards;
}

using Passes = std::function<bool(const RfidCard&)>;

std::vector<unsigned> idsOf(const std::vector<RfidCard>& cards, const Passes& passes) {
    std::vector<unsigned> ids;
    for (const RfidCard& card : cards) {
        if (passes(card)) ids.push_back(*card.id);
    }
    return ids;
}

const std::vector<std::string> operators = {"=", "!=", "<", "<=", ">", ">="};

template <class Value>
bool holds(const Value& left, const std::string& op, const Value& right) {
    if (op == "=") return left == right;
    if (op == "!=") return left != right;
    if (op == "<") return left < right;
    if (op == "<=") return left <= right;
    if (op == ">") return left > right;
    return left >= right;
}

class Querying : public OverBothStores {
protected:
    void SetUp() override { store(mCards); }

    std::vector<unsigned> listed(Arguments arguments) const {
        arguments.insert(arguments.begin(), {"-o", "csv"});
        const ToolResult result = tool(arguments);
        expectSuccess(result);
        return idsIn(result.out);
    }

    /// Checks list and count against what passes.
    void expectPasses(const std::vector<std::string>& filters, const Passes& passes) const {
        Arguments options;
        for (const std::string& filter : filters) options.insert(options.end(), {"--filter", filter});
        Arguments list{"list"};
        list.insert(list.end(), options.begin(), options.end());
        Arguments count{"count"};
        count.insert(count.end(), options.begin(), options.end());
        const std::vector<unsigned> expected = idsOf(mCards, passes);
        EXPECT_THAT(listed(list), UnorderedElementsAreArray(expected)) << testing::PrintToString(filters);
        EXPECT_EQ(tool(count).out, std::to_string(expected.size()) + "\n") << testing::PrintToString(filters);
    }

    std::vector<RfidCard> mCards = twelveCards();
};

INSTANTIATE_TEST_SUITE_P(Stores, Querying, bothStores, byName);

TEST_P(Querying, ListsAllCards) {
    expectPasses({}, [](const RfidCard&) { return true; });
}

TEST_P(Querying, ListsNothingOfAnEmptyList) {
    const std::string other = mFolder.file("other");
    writeList(mStore, other, {});
    const ToolResult result = runTool({"-l", other, "-o", "csv", "list"});
    expectSuccess(result);
    EXPECT_THAT(idsIn(result.out), IsEmpty());
}

TEST_P(Querying, ListsWithoutChangingTheList) {
    const std::string before = listBytes();
    listed({"list"});
    EXPECT_EQ(listBytes(), before);
}

TEST_P(Querying, FiltersIdsByEveryOperator) {
    for (const std::string& op : operators) {
        expectPasses({"id" + op + "104"}, [&op](const RfidCard& card) { return holds(*card.id, op, 104U); });
    }
}

TEST_P(Querying, FiltersStatusesByEveryOperatorThatTheyKnow) {
    for (const std::string op : {"=", "!="}) {
        for (const auto status : {RfidCardStatus::Accepted, RfidCardStatus::Expired, RfidCardStatus::Blocked,
                                  RfidCardStatus::Invalid, RfidCardStatus::ConcurrentTx, RfidCardStatus::Operator}) {
            expectPasses({"status" + op + std::string(statusToText(status))},
                         [&](const RfidCard& card) { return holds(card.status, op, status); });
        }
    }
}

TEST_P(Querying, FiltersExpiryDatesByEveryOperatorAndLeavesOutCardsWithoutOne) {
    const TimePoint time = at(firstOfJanuary2027 + 5 * day);
    for (const std::string& op : operators) {
        expectPasses({"expiry" + op + "2027-01-06"},
                     [&](const RfidCard& card) { return card.expiryDate && holds(*card.expiryDate, op, time); });
    }
}

TEST_P(Querying, FiltersAccessTimesByEveryOperator) {
    const TimePoint time = at(firstOfJanuary2027 - 5 * day);
    for (const std::string& op : operators) {
        expectPasses({"accessed" + op + "2026-12-27T01:00+01:00"},
                     [&](const RfidCard& card) { return holds(card.lastAccessTime, op, time); });
    }
}

TEST_P(Querying, FiltersModificationTimesByEveryOperator) {
    const TimePoint time = at(firstOfJanuary2027 - 24 * day);
    for (const std::string& op : operators) {
        expectPasses({"modified" + op + "2026-12-08T00:00:00Z"},
                     [&](const RfidCard& card) { return holds(card.lastModificationTime, op, time); });
    }
}

TEST_P(Querying, ChoosesCardsWithoutAndWithAnExpiryDate) {
    expectPasses({"expiry=never"}, [](const RfidCard& card) { return !card.expiryDate; });
    expectPasses({"expiry!=never"}, [](const RfidCard& card) { return card.expiryDate.has_value(); });
}

TEST_P(Querying, PassesCardsThatPassAllOfSeveralFilters) {
    expectPasses({"expiry>=2027-01-03", "expiry<2027-01-10"}, [](const RfidCard& card) {
        return card.expiryDate && *card.expiryDate >= at(firstOfJanuary2027 + 2 * day) &&
               *card.expiryDate < at(firstOfJanuary2027 + 9 * day);
    });
    expectPasses({"id>102", "status!=Blocked", "expiry!=never", "accessed<2026-12-30"}, [](const RfidCard& card) {
        return *card.id > 102 && card.status != RfidCardStatus::Blocked && card.expiryDate &&
               card.lastAccessTime < at(firstOfJanuary2027 - 2 * day);
    });
    expectPasses({"expiry=never", "expiry!=never"}, [](const RfidCard&) { return false; });
}

TEST_P(Querying, ComparesLargeIdsAsNumbers) {
    const std::string other = mFolder.file("other");
    writeList(mStore, other, {numbered(9, cardWithKey("NINE")), numbered(2147483646, cardWithKey("LARGE"))});
    const auto ids = [&other](const std::string& filter) {
        return idsIn(runTool({"-l", other, "-o", "csv", "list", "--sort", "id", "--filter", filter}).out);
    };
    EXPECT_THAT(ids("id>10"), ElementsAre(2147483646));
    EXPECT_THAT(ids("id<=2147483646"), ElementsAre(9, 2147483646));
    EXPECT_THAT(ids("id!=9"), ElementsAre(2147483646));
}

TEST_P(Querying, UnderstandsTimesFromNow) {
    RfidCard past = numbered(1, cardWithKey("PAST"));
    past.expiryDate = now() - std::chrono::hours(1);
    RfidCard soon = numbered(2, cardWithKey("SOON"));
    soon.expiryDate = now() + std::chrono::hours(36);
    RfidCard later = numbered(3, cardWithKey("LATER"));
    later.expiryDate = now() + std::chrono::hours(24 * 10);
    const std::string other = mFolder.file("other");
    writeList(mStore, other, {past, soon, later});
    const auto ids = [&other](const std::string& filter) {
        return idsIn(runTool({"-l", other, "-o", "csv", "list", "--sort", "id", "--filter", filter}).out);
    };
    EXPECT_THAT(ids("expiry<now"), ElementsAre(1));
    EXPECT_THAT(ids("expiry>-1h"), ElementsAre(2, 3));
    EXPECT_THAT(ids("expiry<=+2d"), ElementsAre(1, 2));
    EXPECT_THAT(ids("expiry>+35h"), ElementsAre(2, 3));
    EXPECT_THAT(ids("expiry>+1w"), ElementsAre(3));
    EXPECT_THAT(ids("expiry>-2w"), ElementsAre(1, 2, 3));
}

// Sorting

using Column = std::function<std::int64_t(const RfidCard&)>;

struct SortCase : NamedCase {
    Column column;
};

std::int64_t secondsOf(TimePoint time) { return time.time_since_epoch().count() / 1000000000; }

/// Columns in which no two of the cards that have a value are equal.
const SortCase sortCases[] = {
    {{"id"}, [](const RfidCard& card) { return std::int64_t{*card.id}; }},
    {{"expiry"}, [](const RfidCard& card) { return secondsOf(card.expiryDate.value_or(TimePoint{})); }},
    {{"accessed"}, [](const RfidCard& card) { return secondsOf(card.lastAccessTime); }},
    {{"modified"}, [](const RfidCard& card) { return secondsOf(card.lastModificationTime); }},
};

std::vector<unsigned> sorted(std::vector<RfidCard> cards, const Column& column, bool descending) {
    std::sort(cards.begin(), cards.end(), [&](const RfidCard& a, const RfidCard& b) {
        return descending ? column(a) > column(b) : column(a) < column(b);
    });
    return idsOf(cards, [](const RfidCard&) { return true; });
}

TEST_P(Querying, SortsByEveryColumnBothWays) {
    std::erase_if(mCards, [](const RfidCard& card) { return !card.expiryDate; });
    for (const SortCase& row : sortCases) {
        for (const bool descending : {false, true}) {
            Arguments arguments{"list", "--filter", "expiry!=never", "--sort", row.name};
            if (descending) arguments.emplace_back("--desc");
            EXPECT_EQ(listed(arguments), sorted(mCards, row.column, descending)) << row.name << descending;
        }
    }
}

TEST_P(Querying, PutsCardsOfOneStatusTogether) {
    const ToolResult result = tool({"-o", "csv", "list", "--sort", "status"});
    std::vector<std::string> statuses = CsvTable(result.out).column("status");
    EXPECT_EQ(statuses.size(), 12U);
    statuses.erase(std::unique(statuses.begin(), statuses.end()), statuses.end());
    EXPECT_EQ(statuses.size(), 6U);
}

TEST_P(Querying, SortsCardsWithoutExpiryDateTogether) {
    for (const bool descending : {false, true}) {
        Arguments arguments{"list", "--sort", "expiry"};
        if (descending) arguments.emplace_back("--desc");
        std::vector<unsigned> ids = listed(arguments);
        EXPECT_EQ(ids.size(), 12U);
        const auto hasNone = [this](unsigned id) {
            return std::any_of(mCards.begin(), mCards.end(),
                               [id](const RfidCard& card) { return card.id == id && !card.expiryDate; });
        };
        const bool atFront = hasNone(ids.front());
        const auto changes = std::adjacent_find(ids.begin(), ids.end(),
                                                [&](unsigned a, unsigned b) { return hasNone(a) != hasNone(b); });
        EXPECT_EQ(changes - ids.begin(), atFront ? 3 : 7);
        std::erase_if(ids, hasNone);
        std::vector<RfidCard> dated = mCards;
        std::erase_if(dated, [](const RfidCard& card) { return !card.expiryDate; });
        EXPECT_EQ(ids, sorted(dated, sortCases[1].column, descending));
    }
}

TEST_P(Querying, CutsOutLimitAndOffsetAfterFilteringAndSorting) {
    std::erase_if(mCards, [](const RfidCard& card) { return card.id == 105U; });
    const unsigned many = 4294967295;
    for (const unsigned limit : {0U, 1U, 5U, 11U, many}) {
        for (const unsigned offset : {0U, 1U, 4U, 10U, 11U, 12U, many}) {
            const bool descending = (limit + offset) % 2 == 1;
            const SortCase& row = sortCases[limit % 2 == 0 ? 2 : 3];
            Arguments arguments{"list", "--filter", "id!=105", "--sort", row.name};
            if (descending) arguments.emplace_back("--desc");
            arguments.insert(arguments.end(), {"--limit", std::to_string(limit), "--offset", std::to_string(offset)});
            std::vector<unsigned> expected = sorted(mCards, row.column, descending);
            for (unsigned i = 0; i < offset && !expected.empty(); ++i) expected.erase(expected.begin());
            expected.resize(std::min<std::size_t>(limit, expected.size()));
            EXPECT_EQ(listed(arguments), expected) << row.name << " limit " << limit << " offset " << offset;
        }
    }
}

TEST_P(Querying, LeavesCardsOutWithoutALimitToo) {
    EXPECT_THAT(listed({"list", "--sort", "id", "--offset", "9"}), ElementsAre(109, 110, 111));
    EXPECT_THAT(listed({"list", "--sort", "id", "--limit", "2"}), ElementsAre(100, 101));
}

// find

class Finding : public OverBothStores {
protected:
    void SetUp() override { store(sampleCards()); }

    std::vector<unsigned> found(const Arguments& arguments) const {
        Arguments all{"-o", "csv", "find"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const ToolResult result = tool(all);
        expectSuccess(result);
        return idsIn(result.out);
    }
};

INSTANTIATE_TEST_SUITE_P(Stores, Finding, bothStores, byName);

TEST_P(Finding, LooksIntoDescriptionsWhateverTheCase) {
    EXPECT_THAT(found({"mAIN D"}), ElementsAre(1));
    EXPECT_THAT(found({"Tür S"}), ElementsAre(3));
    EXPECT_THAT(found({"TüR s"}), ElementsAre(3));
    EXPECT_THAT(found({"TÜR"}), IsEmpty());
}

TEST_P(Finding, LooksIntoParentIdsAndKeys) {
    EXPECT_THAT(found({"leet"}), ElementsAre(2));
    EXPECT_THAT(found({"d:3219"}), ElementsAre(2));
    EXPECT_THAT(found({"c4d5"}), UnorderedElementsAre(1, 2));
}

TEST_P(Finding, LooksAtTheBeginningOfHashes) {
    const std::string hash = hashKey("SECRET-OF-FOUR");
    std::string upper = hash.substr(0, 12);
    for (char& c : upper) {
        if (c >= 'a') c = static_cast<char>(c - 'a' + 'A');
    }
    EXPECT_THAT(found({hash.substr(0, 12)}), ElementsAre(4));
    EXPECT_THAT(found({upper}), ElementsAre(4));
    EXPECT_THAT(found({hash}), ElementsAre(4));
    EXPECT_THAT(found({hash.substr(1, 12)}), IsEmpty());
}

TEST_P(Finding, FindsTheCardOfAKeyOfWhichOnlyTheHashIsStored) {
    EXPECT_THAT(found({"SECRET-OF-FOUR"}), ElementsAre(4));
    EXPECT_THAT(found({"SECRET-OF-FOU"}), IsEmpty());
}

TEST_P(Finding, TakesTheTextAsItStands) {
    for (const char* text : {"%", "_an 7", "*", ".", "7, \"", "' OR 1=1 --", "\\"}) {
        const std::vector<unsigned> ids = found({text});
        if (std::string(text) == "7, \"") {
            EXPECT_THAT(ids, ElementsAre(2));
        } else {
            EXPECT_THAT(ids, IsEmpty()) << text;
        }
    }
}

TEST_P(Finding, FiltersSortsAndLimits) {
    EXPECT_THAT(found({"a", "--sort", "id", "--filter", "status=Accepted"}), ElementsAre(1, 4));
    EXPECT_THAT(found({"o", "--sort", "id", "--desc", "--limit", "2", "--filter", "id<=5"}), ElementsAre(5, 4));
    EXPECT_THAT(found({"04", "--sort", "id", "--offset", "2", "--limit", "1"}), ElementsAre(3));
}

TEST_P(Finding, ChangesNothing) {
    const std::string before = listBytes();
    found({"0401020305"});
    EXPECT_EQ(listBytes(), before);
}

}  // namespace
}  // namespace oru::kadi::authlist::test
