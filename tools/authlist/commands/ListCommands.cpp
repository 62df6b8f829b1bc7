// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <ostream>

#include "Ascii.h"
#include "CardPrinter.h"
#include "CardQuery.h"
#include "CardSelection.h"
#include "Numbers.h"
#include "authlist/KeyHash.h"
#include "commands/Commands.h"

namespace oru::kadi::authlist::tool {
namespace {

struct ListOptions {
    std::vector<std::string> filters;
    std::string sort = "id";
    bool isDescending = false;
    std::optional<std::string> limit;
    std::optional<std::string> offset;

    void addOptions(CLI::App& command) {
        addFilterOption(command);
        command.add_option("--sort", sort, "id (unless told otherwise), status, expiry, accessed or modified")
            ->type_name("COLUMN");
        command.add_flag("--desc", isDescending, "From the largest to the smallest");
        command.add_option("--limit", limit, "At most this many cards")->type_name("N");
        command.add_option("--offset", offset, "Leave out this many cards first")->type_name("N");
    }

    void addFilterOption(CLI::App& command) {
        command
            .add_option("--filter", filters,
                        "Cards that pass: status=Blocked, 'expiry<2027-01-01', description~visitor; may be repeated")
            ->type_name("FILTER")
            ->allow_extra_args(false);
    }

    CardQuery query(const Session& session) const {
        CardQuery query;
        query.filters = readFilters(filters, session);
        query.sortKey = readColumn(sort, "--sort");
        query.isDescending = isDescending;
        if (limit) query.limit = readNumber(*limit, "--limit");
        if (offset) query.offset = readNumber(*offset, "--offset");
        return query;
    }
};

bool matches(const RfidCard& card, const std::string& text, const std::string& hash) {
    if (containsIgnoringCase(card.description, text) || (card.parentId && containsIgnoringCase(*card.parentId, text)))
        return true;
    return std::any_of(card.tags.begin(), card.tags.end(), [&](const RfidTag& tag) {
        return tag.hash == hash || lowerCase(tag.hash).starts_with(lowerCase(text)) ||
               (tag.key && containsIgnoringCase(*tag.key, text));
    });
}

void printCards(OpenedList& list, const CardQuery& query, const Session& session) {
    const CardPrinter printer(session);
    RecordsOutput output(session, CardPrinter::columns(), CardPrinter::csvNames());
    forEachPage(list.manager(), query, [&](const std::vector<RfidCard>& cards) {
        std::vector<RecordsOutput::Record> page;
        page.reserve(cards.size());
        for (const RfidCard& card : cards) page.push_back(printer.record(card));
        output.print(page);
    });
    output.finish("No cards.");
}

ExitStatus list(const Session& session, const ListOptions& options) {
    const CardQuery query = options.query(session);
    OpenedList list(session.list(), session);
    printCards(list, query, session);
    return ExitStatus::Done;
}

ExitStatus find(const Session& session, const ListOptions& options, const std::string& text) {
    if (text.empty()) throw ToolError(ExitStatus::Usage, "TEXT: an empty text is in every card; use list");
    CardQuery query = options.query(session);
    query.matches = [&text, hash = hashKey(text)](const RfidCard& card) { return matches(card, text, hash); };
    OpenedList list(session.list(), session);
    printCards(list, query, session);
    return ExitStatus::Done;
}

ExitStatus count(const Session& session, const ListOptions& options) {
    const CardQuery query{.filters = readFilters(options.filters, session)};
    OpenedList list(session.list(), session);
    std::size_t cards = 0;
    if (query.filters.isEmpty()) {
        cards = list.manager().countRecords();
    } else {
        forEachPage(list.manager(), query, [&cards](const std::vector<RfidCard>& page) { cards += page.size(); });
    }
    session.out() << cards << '\n';
    return ExitStatus::Done;
}

}  // namespace

void addListCommands(CommandLine& line) {
    const auto listOptions = std::make_shared<ListOptions>();
    listOptions->addOptions(line.add("list", "The cards of the list",
                                     "-l site.db list\n"
                                     "-l site.db list --filter status=Blocked\n"
                                     "-l site.db list --filter 'expiry<+30d' --sort expiry --limit 20",
                                     [listOptions](const Session& session) { return list(session, *listOptions); }));

    const auto findOptions = std::make_shared<ListOptions>();
    const auto text = std::make_shared<std::string>();
    CLI::App& command =
        line.add("find", "The cards with a text in description, parent id, key or at the beginning of a hash",
                 "-l site.db find visitor\n"
                 "-l site.db find 04A2 --filter status=Accepted",
                 [findOptions, text](const Session& session) { return find(session, *findOptions, *text); });
    command.add_option("TEXT", *text, "Upper and lower case of a to z are taken as equal")->required();
    findOptions->addOptions(command);

    const auto countOptions = std::make_shared<ListOptions>();
    countOptions->addFilterOption(
        line.add("count", "How many cards there are", "-l site.db count\n-l site.db count --filter status=Blocked",
                 [countOptions](const Session& session) { return count(session, *countOptions); }));
}

}  // namespace oru::kadi::authlist::tool
