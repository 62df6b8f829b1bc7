// SPDX-License-Identifier: Apache-2.0
#include "Presentation.h"

#include <algorithm>
#include <iostream>
#include <utility>

namespace demo {
namespace {

constexpr std::string_view indent = "   ";
constexpr std::string_view columnGap = "  ";
constexpr std::string_view ellipsis = "...";

bool startsCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }

std::string onOneLine(std::string_view text) {
    std::string line;
    for (const char c : text) {
        if (c == '\n') {
            line += " / ";
        } else {
            line += c;
        }
    }
    return line;
}

}  // namespace

void heading(std::string_view title) { std::cout << '\n' << title << "\n\n"; }

void say(std::string_view text) { std::cout << indent << text << '\n'; }

void gap() { std::cout << '\n'; }

std::string counted(std::size_t number, const std::string& noun) {
    return std::to_string(number) + ' ' + noun + (number == 1 ? "" : "s");
}

std::size_t width(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), startsCharacter));
}

std::string_view firstCharacters(std::string_view text, std::size_t count) {
    std::size_t end = 0;
    while (end < text.size() && (count > 0 || !startsCharacter(text[end]))) {
        if (startsCharacter(text[end])) --count;
        ++end;
    }
    return text.substr(0, end);
}

std::string fitted(std::string_view text, std::size_t limit) {
    std::string line = onOneLine(text);
    if (width(line) <= limit) return line;
    return std::string(firstCharacters(line, limit - ellipsis.size())) + std::string(ellipsis);
}

std::string padded(std::string_view text, std::size_t columns) {
    return std::string(text) + std::string(columns - std::min(columns, width(text)), ' ');
}

Table::Table(std::vector<Column> columns) : mColumns(std::move(columns)) {
    for (const Column& column : mColumns) mWidths.push_back(width(column.title));
}

void Table::add(const std::vector<std::string>& cells) {
    std::vector<std::string> row;
    for (std::size_t i = 0; i < mColumns.size(); ++i) {
        row.push_back(fitted(cells.at(i), mColumns[i].limit));
        mWidths[i] = std::max(mWidths[i], width(row.back()));
    }
    mRows.push_back(std::move(row));
}

void Table::print() const {
    std::vector<std::string> titles;
    std::vector<std::string> rules;
    for (std::size_t i = 0; i < mColumns.size(); ++i) {
        titles.push_back(mColumns[i].title);
        rules.emplace_back(mWidths[i], '-');
    }
    printRow(titles);
    printRow(rules);
    for (const auto& row : mRows) printRow(row);
}

void Table::printRow(const std::vector<std::string>& cells) const {
    std::string line(indent);
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::string blanks(mWidths[i] - width(cells[i]), ' ');
        if (i > 0) line += columnGap;
        line += mColumns[i].align == Align::Right ? blanks + cells[i] : cells[i] + blanks;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    std::cout << line << '\n';
}

}  // namespace demo
