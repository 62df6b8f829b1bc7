// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "oru/common/lwjson/Deserializer.h"

namespace oru::kadi::authlist::test {

inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

using CsvRow = std::vector<std::string>;

/// The rows of a CSV text to the letter: a quote inside quotes is doubled, and one in an unquoted cell is an error.
inline std::vector<CsvRow> csvRows(const std::string& text) {
    std::vector<CsvRow> rows;
    CsvRow row{""};
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted && c == '"' && i + 1 < text.size() && text[i + 1] == '"') {
            row.back() += text[++i];
        } else if (quoted && c == '"') {
            quoted = false;
        } else if (quoted) {
            row.back() += c;
        } else if (c == '"') {
            if (!row.back().empty()) throw std::runtime_error("Quote within a CSV cell: " + text);
            quoted = true;
        } else if (c == ',') {
            row.emplace_back();
        } else if (c == '\n') {
            rows.push_back(row);
            row = {""};
        } else {
            row.back() += c;
        }
    }
    if (quoted || row != CsvRow{""}) throw std::runtime_error("Unfinished CSV: " + text);
    return rows;
}

/// A CSV text with a line of column names.
class CsvTable {
public:
    explicit CsvTable(const std::string& text) : mRows(csvRows(text)) {
        if (mRows.empty()) throw std::runtime_error("CSV without column names");
        mNames = mRows.front();
        mRows.erase(mRows.begin());
        for (const CsvRow& row : mRows) {
            if (row.size() != mNames.size()) throw std::runtime_error("CSV rows of different lengths: " + text);
        }
    }

    const CsvRow& names() const { return mNames; }
    std::size_t size() const { return mRows.size(); }

    std::vector<std::string> column(const std::string& name) const {
        std::vector<std::string> cells;
        for (const CsvRow& row : mRows) cells.push_back(row.at(indexOf(name)));
        return cells;
    }
    std::string cell(std::size_t row, const std::string& name) const { return mRows.at(row).at(indexOf(name)); }

private:
    std::size_t indexOf(const std::string& name) const {
        for (std::size_t i = 0; i < mNames.size(); ++i) {
            if (mNames[i] == name) return i;
        }
        throw std::runtime_error("No CSV column " + name);
    }

    std::vector<CsvRow> mRows;
    CsvRow mNames;
};

/// The ids in a CSV output, in its order.
inline std::vector<unsigned> idsIn(const std::string& csv) {
    std::vector<unsigned> ids;
    for (const std::string& cell : CsvTable(csv).column("id")) ids.push_back(static_cast<unsigned>(std::stoul(cell)));
    return ids;
}

/// A JSON text that is read strictly, and stays while its values are looked at.
class JsonText {
public:
    using Value = common::lwjson::Deserializer;

    explicit JsonText(std::string text) : mText(std::move(text)) { mRoot.importJson(mText); }
    JsonText(const JsonText&) = delete;
    JsonText& operator=(const JsonText&) = delete;

    const Value& root() const { return mRoot; }

    /// The elements of the document, which must be an array.
    std::vector<Value> elements() const { return elementsOf(mRoot); }

    static std::vector<Value> elementsOf(const Value& array) {
        std::vector<Value> all;
        array.forEachElement([&all](const Value& element) { all.push_back(element); });
        return all;
    }

    /// A member as its text without escapes; "null" for null.
    static std::string text(const Value& object, const char* key) {
        const std::string_view raw = object.getMember(key).scalarText();
        std::string value;
        Value::extractValue(raw.data(), static_cast<unsigned>(raw.size()), value, "");
        return value;
    }

private:
    std::string mText;
    Value mRoot{common::lwjson::Options::Strict};
};

}  // namespace oru::kadi::authlist::test
