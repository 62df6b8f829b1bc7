// SPDX-License-Identifier: Apache-2.0
#include "ExchangeFile.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

#include "Ascii.h"
#include "CardTags.h"
#include "Numbers.h"
#include "Outcome.h"
#include "TimeText.h"
#include "authlist/CsvExchange.h"
#include "authlist/JsonExchange.h"
#include "oru/common/Split.h"
#include "oru/common/lwjson/Deserializer.h"
#include "storage/ListStorage.h"

namespace oru::kadi::authlist::tool {
namespace {

using common::lwjson::Deserializer;

[[noreturn]] void refuse(const std::string& place, const std::string& reason) {
    throw ToolError(ExitStatus::Refused, place + ": " + reason);
}

bool endsLike(const std::string& file, std::string_view extension) { return lowerCase(file).ends_with(extension); }

// Where columns are mixed up, the word that is no status may be a key; and the library names a type.
std::string reasonFor(const std::exception& error) {
    std::string reason = reasonOf(error);
    if (reason.find("was not found in N3oru") == std::string::npos) return reason;
    return "the status is none of Accepted, Expired, Blocked, Invalid, ConcurrentTx and Operator";
}

void requireTime(const std::string& text, const char* what, const std::string& place) {
    if (!text.empty() && !exactTimestamp(text))
        refuse(place, std::string("the ") + what + " \"" + text + "\" is no time that a list can carry");
}

// CSV

struct Line {
    std::size_t number;  // as editors count, of its first character
    std::string_view text;
};

std::vector<Line> linesOf(const std::string& text) {
    std::vector<Line> lines;
    std::size_t number = 1;
    common::forEachPiece(text, "\n", '"', [&](std::string_view line) {
        lines.push_back({number, line});
        number += 1 + static_cast<std::size_t>(std::count(line.begin(), line.end(), '\n'));
    });
    return lines;
}

bool isSeparatorLine(std::string_view line) {
    return line.size() == 5 && endsLike(std::string(line.substr(0, 4)), "sep=");
}

bool isReadable(const std::string& csv) {
    try {
        deserializeRfidsFromCsv(csv);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

// The library says what is wrong but not where, so the lines are given to it one by one.
std::size_t firstBadLine(const std::string& text) {
    std::string separatorLine;
    bool isAtStart = true;
    for (const Line& line : linesOf(text)) {
        if (isAtStart && line.text.size() == 5) {
            if (isSeparatorLine(line.text)) separatorLine = std::string(line.text) + '\n';
            continue;
        }
        // Only before the first card these may be something else than a card.
        const bool isMisplaced = !isAtStart && (line.text.size() == 5 || line.text.starts_with("id"));
        if (isMisplaced || !isReadable(separatorLine + std::string(line.text))) return line.number;
        if (!line.text.empty()) isAtStart = false;
    }
    return 1;
}

void requireNumber(std::string_view text, const char* field, std::uint32_t smallest, const std::string& place) {
    try {
        readNumber(std::string(text), field, smallest);
    } catch (const ToolError& error) {
        refuse(place, error.what());
    }
}

void checkCsvCard(std::string_view line, char separator, const std::string& place) {
    auto columns = common::split<std::string_view>(line, {&separator, 1}, '"');
    trimCsvColumns(columns);
    if (columns.size() != 7) return;
    requireNumber(columns[0], "id", 0, place);
    if (columns[4] != "*") requireNumber(columns[4], "EVSE", 1, place);
    requireTime(std::string(columns[6]), "expiry date", place);
}

// Of a text that the library has read. A letter separates as its capital does.
void checkCsvCards(const std::string& text, const std::string& name) {
    char separator = ',';
    bool isAtStart = true;
    for (const Line& line : linesOf(text)) {
        if (isAtStart && line.text.size() == 5) {
            if (isSeparatorLine(line.text)) separator = upperCase(line.text.back());
            continue;
        }
        const bool isHeader = isAtStart && line.text.starts_with("id");
        if (line.text.empty()) continue;
        isAtStart = false;
        if (!isHeader) checkCsvCard(line.text, separator, name + ": line " + std::to_string(line.number));
    }
}

// The library writes a quote doubled and reads it so.
std::string withoutDoubledQuotes(const std::string& text) {
    std::string single;
    for (std::size_t i = 0; i < text.size(); ++i) {
        single += text[i];
        if (text[i] == '"' && i + 1 < text.size() && text[i + 1] == '"') ++i;
    }
    return single;
}

ExchangedList readCsv(const std::string& text, const std::string& name) {
    ExchangedList list;
    try {
        list.cards = deserializeRfidsFromCsv(text);
    } catch (const std::exception& error) {
        refuse(name + ": line " + std::to_string(firstBadLine(text)), reasonFor(error));
    }
    checkCsvCards(text, name);
    for (RfidCard& card : list.cards) card.description = withoutDoubledQuotes(card.description);
    return list;
}

// JSON

std::string textOf(const Deserializer& member) {
    const std::string_view raw = member.scalarText();
    std::string text;
    Deserializer::extractValue(raw.data(), static_cast<unsigned>(raw.size()), text, "");
    return text;
}

void requireNumberOrNone(const Deserializer& card, const char* key, std::uint32_t smallest, const std::string& place) {
    const auto member = card.findMember(key);
    if (!member || member->isNull()) return;
    const std::string text = member->isScalar() ? textOf(*member) : std::string(member->rawText());
    if (!text.empty()) requireNumber(text, key, smallest, place);
}

void requireTimeOrNone(const Deserializer& card, const char* key, const char* what, const std::string& place) {
    const auto member = card.findMember(key);
    if (member && member->isScalar() && !member->isNull()) requireTime(textOf(*member), what, place);
}

void checkJsonCard(const Deserializer& card, const std::string& place) {
    const std::string alone = R"({"localAuthorizationList":[)" + std::string(card.rawText()) + "]}";
    try {
        deserializeRfidsFromJson(alone);
    } catch (const std::exception& error) {
        refuse(place, reasonFor(error));
    }
    requireNumberOrNone(card, "id", 0, place);
    requireNumberOrNone(card, "evseId", 1, place);
    requireNumberOrNone(card, "recordLifetime", 0, place);
    requireTimeOrNone(card, "expiryDate", "expiry date", place);
    requireTimeOrNone(card, "lastAccessTime", "last access time", place);
    requireTimeOrNone(card, "lastModificationTime", "last modification time", place);
}

std::optional<unsigned> versionOf(const Deserializer& json, const std::string& name) {
    const auto member = json.findMember("listVersion");
    if (!member || !member->isScalar() || member->isNull() || textOf(*member).empty()) return std::nullopt;
    requireNumberOrNone(json, "listVersion", 0, name);
    return readNumber(textOf(*member), "listVersion");
}

// Storage compares hashes byte by byte, so that no key would find one with capitals.
void toLowerCase(std::vector<RfidCard>& cards) {
    for (RfidCard& card : cards) {
        for (RfidTag& tag : card.tags) tag.hash = lowerCase(tag.hash);
    }
}

ExchangedList readJson(const std::string& text, const std::string& name) {
    Deserializer json(common::lwjson::Options::Strict);
    try {
        json.importJson(text);
    } catch (const std::exception& error) {
        refuse(name, error.what());
    }
    const auto cards = json.findMember("localAuthorizationList");
    if (!cards || cards->kind() != common::lwjson::Kind::Array) {
        refuse(name, "is JSON, but no list: it has no array \"localAuthorizationList\"");
    }
    std::size_t number = 0;
    cards->forEachElement(
        [&](const Deserializer& card) { checkJsonCard(card, name + ": record " + std::to_string(++number)); });
    ExchangedList list{deserializeRfidsFromJson(text), versionOf(json, name)};
    toLowerCase(list.cards);
    return list;
}

}  // namespace

std::optional<ExchangeDataType> formatFromName(const std::string& file) {
    if (endsLike(file, ".csv")) return ExchangeDataType::CSV;
    if (endsLike(file, ".json")) return ExchangeDataType::JSON;
    return std::nullopt;
}

ExchangeDataType formatOf(const std::string& file, const std::optional<std::string>& format) {
    if (format == "csv") return ExchangeDataType::CSV;
    if (format == "json") return ExchangeDataType::JSON;
    if (const auto type = formatFromName(file)) return *type;
    throw ToolError(ExitStatus::Usage, file + ": CSV or JSON? give --format csv or --format json");
}

ExchangedList readExchangedList(const std::string& text, ExchangeDataType type, const std::string& name) {
    if (text.empty()) refuse(name, "is empty");
    return type == ExchangeDataType::CSV ? readCsv(text, name) : readJson(text, name);
}

void requireStorable(const std::vector<RfidCard>& cards, unsigned capacity, const std::string& name,
                     const KeyMask& keys) {
    if (cards.size() > capacity) {
        refuse(name, withThousands(cards.size()) + " cards; this kind of list takes " + withThousands(capacity));
    }
    std::unordered_map<unsigned, std::size_t> ids;
    std::unordered_map<std::string, std::size_t> hashes;
    for (std::size_t i = 0; i < cards.size(); ++i) {
        const std::string place = name + ": record " + std::to_string(i + 1);
        const RfidCard& card = cards[i];
        if (card.tags.empty()) refuse(place, "has neither a key nor a hash");
        if (card.tags.size() > ListStorage::largestTagCount) refuse(place, "has more than 65,535 tags");
        if (card.id > ListStorage::largestId) {
            refuse(place,
                   "the id " + std::to_string(*card.id) + " is beyond " + std::to_string(ListStorage::largestId));
        }
        if (card.id) {
            const auto [first, isNew] = ids.emplace(*card.id, i + 1);
            if (!isNew) {
                refuse(place,
                       "has the id " + std::to_string(*card.id) + ", as record " + std::to_string(first->second));
            }
        }
        for (const RfidTag& tag : card.tags) {
            if (tag.key && tag.key->empty()) refuse(place, "has an empty key");
            const auto [first, isNew] = hashes.emplace(tag.hash, i + 1);
            if (!isNew) refuse(place, "has the " + nameOf(tag, keys) + ", as record " + std::to_string(first->second));
        }
    }
}

}  // namespace oru::kadi::authlist::tool
