// SPDX-License-Identifier: Apache-2.0
// Any text: the CSV import either throws a standard exception or gives cards that survive an export and a second
// import.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Require.h"
#include "authlist/CsvExchange.h"
#include "oru/common/Split.h"

namespace oru::kadi::authlist::fuzz {
namespace {

// Keys and parent ids are written as they are, so one that holds a separator, a quote or a line feed reads differently.
bool isWrittenPlainly(std::string_view text) { return text.find_first_of(",\"\n") == std::string_view::npos; }

// A card without keys is not exported at all.
bool survivesExport(const RfidCard& card) {
    return !card.tags.empty() && isWrittenPlainly(card.parentId.value_or("")) &&
           std::all_of(card.tags.begin(), card.tags.end(),
                       [](const RfidTag& tag) { return isWrittenPlainly(tag.key.value()); });
}

// Quotes are doubled by the export and stay doubled in the import.
std::string withDoubledQuotes(const std::string& text) {
    std::string doubled;
    for (const char c : text) doubled.append(c == '"' ? 2 : 1, c);
    return doubled;
}

bool sameTags(const std::vector<RfidTag>& left, const std::vector<RfidTag>& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](const RfidTag& a, const RfidTag& b) {
        return a.key == b.key && a.hash == b.hash && a.extraData == b.extraData;
    });
}

void requireSame(const RfidCard& card, const RfidCard& reread) {
    require(reread.id == card.id, "CSV: the id comes back");
    require(reread.description == withDoubledQuotes(card.description), "CSV: the description comes back");
    require(sameTags(card.tags, reread.tags), "CSV: the keys come back");
    require(reread.status == card.status, "CSV: the status comes back");
    require(reread.evseId == card.evseId, "CSV: the EVSE id comes back");
    require(reread.parentId == card.parentId, "CSV: the parent id comes back");
    require(reread.expiryDate == card.expiryDate, "CSV: the expiry date comes back");
}

std::optional<std::vector<RfidCard>> imported(const std::string& text) {
    try {
        return deserializeRfidsFromCsv(text);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

void checkImport(const std::string& text) {
    auto cards = imported(text);
    if (!cards) return;
    serializeRfidsAsCsv(*cards);
    std::erase_if(*cards, [](const RfidCard& card) { return !survivesExport(card); });
    const std::vector<RfidCard> reread = deserializeRfidsFromCsv(serializeRfidsAsCsv(*cards));
    require(reread.size() == cards->size(), "CSV: every card comes back");
    for (std::size_t i = 0; i < reread.size(); ++i) requireSame((*cards)[i], reread[i]);
}

void checkSplit(std::string_view text, std::optional<char> quote) {
    std::string joined;
    std::size_t pieces = 0;
    common::forEachPiece(text, ",", quote, [&joined, &pieces](std::string_view piece) {
        if (pieces++ > 0) joined += ',';
        joined += piece;
    });
    require(joined == text, "Split: the pieces and the delimiters make the text");
}

}  // namespace
}  // namespace oru::kadi::authlist::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace oru::kadi::authlist::fuzz;
    const std::string text(data, data + size);
    checkImport(text);
    checkSplit(text, '"');
    checkSplit(text, std::nullopt);
    return 0;
}
