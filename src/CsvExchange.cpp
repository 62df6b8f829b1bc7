// SPDX-License-Identifier: Apache-2.0
#include "authlist/CsvExchange.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>

#include "authlist/KeyHash.h"
#include "authlist/Timestamp.h"
#include "oru/common/Split.h"

namespace oru::kadi::authlist {
namespace {

constexpr std::size_t columnCount = 7;
constexpr char quote = '"';
constexpr const char* keySeparator = "|";
constexpr const char* anyEvse = "*";
constexpr const char* badFirstColumn = "Invalid value in the first column of the CSV file (should be integer number)";
constexpr const char* badFifthColumn = "Invalid value in the fifth column of the CSV file (should be integer number)";

// Writing

bool hasPlainKey(const RfidCard& card) {
    return std::any_of(card.tags.begin(), card.tags.end(), [](const RfidTag& tag) { return tag.key.has_value(); });
}

void appendDescription(std::string& csv, const std::string& description) {
    if (description.find_first_of(",\n\"") == std::string::npos) {
        csv += description;
        return;
    }
    csv += quote;
    for (const char c : description) csv.append(c == quote ? 2 : 1, c);
    csv += quote;
}

void appendKeys(std::string& csv, const std::vector<RfidTag>& tags) {
    // Counts every tag, keyed or not, so a separator may stand last: (A, B, no key) is "A|B|", as readers expect.
    std::uint16_t position = 0;
    for (const RfidTag& tag : tags) {
        ++position;
        if (!tag.key) continue;
        csv += *tag.key;
        if (position < tags.size()) csv += keySeparator;
    }
}

void appendCard(std::string& csv, const RfidCard& card) {
    csv += std::to_string(card.id.value_or(0)) + ',';
    appendDescription(csv, card.description);
    csv += ',';
    appendKeys(csv, card.tags);
    csv += ',';
    csv += statusToText(card.status);
    csv += ',' + (card.evseId ? std::to_string(*card.evseId) : anyEvse);
    csv += ',' + card.parentId.value_or("");
    csv += ',' + (card.expiryDate ? timestampToString(card.expiryDate).value() : "");
}

// Reading

// Not std::toupper, which asks the locale.
std::string toUpperCase(std::string_view text) {
    std::string upper(text);
    for (char& c : upper) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return upper;
}

std::vector<std::string_view> splitColumns(std::string_view line, char separator) {
    std::vector<std::string_view> columns;
    columns.reserve(columnCount);
    std::size_t found = 0;
    common::forEachPiece(line, {&separator, 1}, quote, [&columns, &found](std::string_view column) {
        if (++found <= columnCount) columns.push_back(column);
    });
    if (found != columnCount) {
        throw std::runtime_error("Invalid number of columns on imported csv line (expectation: " +
                                 std::to_string(columnCount) + ", reality: " + std::to_string(found) + ")");
    }
    return columns;
}

/// Reads the leading digits; what follows them is ignored, so "7x" is 7.
unsigned parseUnsigned(std::string_view text, const char* failure) {
    unsigned value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{}) throw std::runtime_error(failure);
    return value;
}

std::vector<RfidTag> parseTags(std::string_view keys) {
    std::vector<RfidTag> tags;
    common::forEachPiece(keys, keySeparator, std::nullopt, [&tags](std::string_view piece) {
        const std::string key(piece);
        tags.push_back({hashKey(key), key, std::nullopt});
    });
    return tags;
}

std::optional<unsigned> parseEvseId(std::string_view column) {
    if (column == anyEvse) return std::nullopt;
    return parseUnsigned(column, badFifthColumn);
}

std::optional<std::string> parseParentId(std::string_view column) {
    if (column.empty()) return std::nullopt;
    return std::string(column);
}

// Doubled quotes within a column stay doubled: an intended asymmetry to the export.
RfidCard parseCard(const std::vector<std::string_view>& columns) {
    RfidCard card;
    card.id = parseUnsigned(columns[0], badFirstColumn);
    card.description = columns[1];
    card.tags = parseTags(columns[2]);
    card.status = statusFromText(columns[3]);
    card.evseId = parseEvseId(columns[4]);
    card.parentId = parseParentId(columns[5]);
    card.expiryDate = stringToTimestamp(std::string(columns[6]));
    card.lastAccessTime = std::chrono::system_clock::now();
    card.lastModificationTime = std::chrono::system_clock::now();
    return card;
}

// Takes the lines of a text one by one.
class CsvReader {
public:
    void takeLine(std::string_view line) {
        if (mAtStart && line.size() == 5) {
            takeSeparatorLine(line);
        } else if (mAtStart && line.starts_with("id")) {
            mAtStart = false;
        } else if (!line.empty()) {
            auto columns = splitColumns(line, mSeparator);
            trimCsvColumns(columns);
            mCards.push_back(parseCard(columns));
            mAtStart = false;
        }
    }

    std::vector<RfidCard> takeCards() { return std::move(mCards); }

private:
    // Any other line of this length is dropped.
    void takeSeparatorLine(std::string_view line) {
        const std::string upperCase = toUpperCase(line);
        if (upperCase.starts_with("SEP=")) mSeparator = upperCase.back();
    }

    char mSeparator = ',';
    bool mAtStart = true;
    std::vector<RfidCard> mCards;
};

}  // namespace

std::string serializeRfidsAsCsv(const std::vector<RfidCard>& cards) {
    std::string csv;
    std::uint16_t written = 0;  // wraps at 65,536: the last line of such a list ends in a line feed
    for (const RfidCard& card : cards) {
        if (!hasPlainKey(card)) continue;
        if (csv.empty()) csv = "SEP=,\n";
        appendCard(csv, card);
        ++written;
        if (written < cards.size()) csv += '\n';
    }
    return csv;
}

std::vector<RfidCard> deserializeRfidsFromCsv(const std::string& text) {
    CsvReader reader;
    common::forEachPiece(text, "\n", quote, [&reader](std::string_view line) { reader.takeLine(line); });
    return reader.takeCards();
}

std::vector<std::string_view> trimCsvColumns(std::vector<std::string_view>& columns) {
    if (!columns.empty() && columns.back().ends_with('\r')) columns.back().remove_suffix(1);
    for (std::string_view& column : columns) {
        if (column.size() >= 2 && column.front() == quote && column.back() == quote) {
            column = column.substr(1, column.size() - 2);
        }
    }
    return columns;
}

}  // namespace oru::kadi::authlist
