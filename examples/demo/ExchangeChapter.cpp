// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "CardComparison.h"
#include "Chapters.h"
#include "Presentation.h"

namespace demo {

using namespace oru::kadi::authlist;

namespace {

using Cards = std::vector<RfidCard>;

constexpr std::size_t lineWidth = 84;

/// The list as a file of one format, and what an import of that file into a fresh list brings back.
struct RoundTrip {
    std::filesystem::path file;
    Cards cards;
};

RoundTrip roundTrip(const AuthListManager& site, const std::filesystem::path& file, ExchangeDataType type) {
    site.exportFile(file.string(), type, false, "");
    AuthListManager copy(listIn(file.string() + ".db", site.countRecords()));
    copy.importFile(file.string(), type, false, "");
    return {file, allCards(copy)};
}

/// Long lines are broken.
void showBeginning(const std::filesystem::path& file, int lines) {
    say(file.filename().string() + ", " + std::to_string(std::filesystem::file_size(file)) + " bytes, begins:");
    std::ifstream in(file);
    std::string rest;
    for (; lines > 0 && (!rest.empty() || std::getline(in, rest)); --lines) {
        const std::string_view line = firstCharacters(rest, lineWidth);
        say("| " + std::string(line));
        rest.erase(0, line.size());
    }
}

template <class Comparison>
bool sameCards(const Cards& left, const Cards& right, Comparison same) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), same);
}

template <class Predicate>
std::size_t count(const Cards& cards, Predicate predicate) {
    return static_cast<std::size_t>(std::count_if(cards.begin(), cards.end(), predicate));
}

void showJson(const Cards& exported, const RoundTrip& json) {
    showBeginning(json.file, 3);
    expect(sameCards(exported, json.cards, sameInJson), "the cards of the JSON export back, equal in every field");
    say("Imported again: " + counted(json.cards.size(), "card") + ", all equal to the stored ones in every field.");
}

void showCsv(const Cards& exported, const RoundTrip& csv) {
    showBeginning(csv.file, 3);
    Cards keyed;
    std::copy_if(exported.begin(), exported.end(), std::back_inserter(keyed), hasPlainKey);
    expect(sameCards(keyed, csv.cards, sameInCsv), "the cards of the CSV export back, equal in what CSV carries");
    say("Imported again: " + counted(csv.cards.size(), "card") +
        ", equal in what CSV carries: id, description, keys, status,");
    say("EVSE, parent and expiry date. What it does not carry:");
    gap();
    Table losses({{"Cards", Align::Right}, {"What became of them", Align::Left, 80}});
    const auto add = [&losses](std::size_t cards, const std::string& what) {
        losses.add({std::to_string(cards), what});
    };
    add(exported.size() - keyed.size(), "left out: they have no plain key");
    add(count(keyed, hasExtraData), "without their extra data");
    add(count(keyed, [](const RfidCard& card) { return card.recordLifetime.has_value(); }), "without their lifetime");
    add(count(keyed, [](const RfidCard& card) { return withDoubledQuotes(card.description) != card.description; }),
        "quotes in their description came back doubled");
    add(keyed.size(), "access and modification times are those of the import");
    losses.print();
}

}  // namespace

void exportAndImportAgain(const AuthListManager& site, const std::filesystem::path& work) {
    heading("7  Export: JSON carries everything, CSV is for spreadsheets");
    const Cards exported = allCards(site);
    showJson(exported, roundTrip(site, work / "export.json", ExchangeDataType::JSON));
    gap();
    showCsv(exported, roundTrip(site, work / "export.csv", ExchangeDataType::CSV));
}

}  // namespace demo
