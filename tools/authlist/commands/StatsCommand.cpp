// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <chrono>
#include <filesystem>
#include <map>
#include <ostream>

#include "CardPrinter.h"
#include "CardQuery.h"
#include "FieldText.h"
#include "Numbers.h"
#include "commands/Commands.h"
#include "output/Json.h"

namespace oru::kadi::authlist::tool {
namespace {

struct Counts {
    std::uint64_t cards = 0;
    std::uint64_t tags = 0;
};

struct Statistics {
    std::map<RfidCardStatus, Counts> byStatus;
    Counts all;
    std::uint64_t hashOnlyTags = 0;
    std::uint64_t pastExpiry = 0;
    std::uint64_t expiringSoon = 0;
    std::uint64_t withLifetime = 0;
    std::optional<TimePoint> lastChange;
};

void take(Statistics& statistics, const RfidCard& card, std::int64_t now) {
    constexpr std::int64_t soon = 2'592'000;  // 30 days
    for (Counts* counts : {&statistics.byStatus[card.status], &statistics.all}) {
        ++counts->cards;
        counts->tags += card.tags.size();
    }
    for (const RfidTag& tag : card.tags) statistics.hashOnlyTags += hasKey(tag) ? 0U : 1U;
    if (card.expiryDate) {
        const std::int64_t left = secondsOf(*card.expiryDate) - now;
        statistics.pastExpiry += left <= 0 ? 1U : 0U;
        statistics.expiringSoon += left > 0 && left <= soon ? 1U : 0U;
    }
    if (card.recordLifetime) ++statistics.withLifetime;
    if (!statistics.lastChange || card.lastModificationTime > *statistics.lastChange) {
        statistics.lastChange = card.lastModificationTime;
    }
}

// Changes of a database may stand in a log beside it.
std::uint64_t sizeOnDisk(const std::string& path) {
    std::error_code missing;
    std::uint64_t size = std::filesystem::file_size(path);
    const std::uint64_t log = std::filesystem::file_size(path + "-wal", missing);
    return missing ? size : size + log;
}

/// One figure: its name for people, its name for programs, its text, and whether that is a number.
struct Figure {
    std::string name;
    std::string key;
    std::optional<std::string> text;
    bool isNumber = true;
};

std::vector<Figure> figuresOf(const Statistics& statistics) {
    std::vector<Figure> figures;
    const auto add = [&figures](const std::string& name, const std::string& key, std::uint64_t number) {
        figures.push_back({name, key, std::to_string(number)});
    };
    add("Cards", "cards", statistics.all.cards);
    add("Tags", "tags", statistics.all.tags);
    for (const auto& [status, counts] : statistics.byStatus) {
        const std::string name = statusName(status);
        add("Cards " + name, "cards" + name, counts.cards);
        add("Tags " + name, "tags" + name, counts.tags);
    }
    add("Tags without plain key", "tagsWithoutKey", statistics.hashOnlyTags);
    add("Cards past their expiry date", "cardsPastExpiry", statistics.pastExpiry);
    add("Cards that expire within 30 days", "cardsExpiringSoon", statistics.expiringSoon);
    add("Cards with a lifetime", "cardsWithLifetime", statistics.withLifetime);
    return figures;
}

std::vector<Figure> figuresOf(OpenedList& list, const Statistics& statistics, const Session& session) {
    auto figures = figuresOf(statistics);
    const auto version = list.manager().getVersion();
    figures.push_back(
        {"List version", "listVersion", version ? std::optional(std::to_string(*version)) : std::nullopt});
    figures.push_back({"File size in bytes", "fileSize", std::to_string(sizeOnDisk(list.path()))});
    figures.push_back(
        {"Last change of a card", "lastModificationTime",
         statistics.lastChange ? std::optional(session.times().show(*statistics.lastChange)) : std::nullopt, false});
    return figures;
}

void print(const std::vector<Figure>& figures, const Session& session) {
    std::ostream& out = session.out();
    if (session.options.output == OutputFormat::Json) {
        JsonObject object;
        for (const Figure& figure : figures) {
            if (figure.isNumber) {
                object.json(figure.key.c_str(), figure.text.value_or("null"));
            } else {
                object.text(figure.key.c_str(), figure.text);
            }
        }
        out << object.str() << '\n';
    } else if (session.options.output == OutputFormat::Csv) {
        out << "name,value\n";
        for (const Figure& figure : figures) out << csvLine({figure.key, figure.text.value_or("")}) << '\n';
    } else {
        Table table(out, {{.title = "FIGURE"}, {.title = "VALUE", .alignedRight = true}}, session.outTerminal());
        std::vector<Row> rows;
        rows.reserve(figures.size());
        for (const Figure& figure : figures) rows.push_back({{figure.name}, {figure.text.value_or("none")}});
        table.print(rows);
    }
}

ExitStatus stats(const Session& session) {
    OpenedList list(session.list(), session);
    const std::int64_t now = secondsOf(std::chrono::system_clock::now());
    Statistics statistics;
    for (const auto status : {RfidCardStatus::Accepted, RfidCardStatus::Expired, RfidCardStatus::Blocked,
                              RfidCardStatus::Invalid, RfidCardStatus::ConcurrentTx, RfidCardStatus::Operator}) {
        statistics.byStatus[status] = {};
    }
    forEachCard(list.manager(), {}, [&](const RfidCard& card) { take(statistics, card, now); });
    print(figuresOf(list, statistics, session), session);
    return ExitStatus::Done;
}

}  // namespace

void addStatsCommand(CommandLine& line) {
    line.add("stats", "How many cards and tags there are of each kind",
             "-l site.db stats\n-l site.db stats --output json", stats);
}

}  // namespace oru::kadi::authlist::tool
