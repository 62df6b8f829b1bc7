// SPDX-License-Identifier: Apache-2.0
#include "output/Table.h"

#include <algorithm>
#include <ostream>
#include <utility>

#include "output/DisplayText.h"

namespace oru::kadi::authlist::tool {
namespace {

constexpr std::size_t gap = 2;  // blanks between columns
constexpr std::size_t narrowest = 8;

const char* codeFor(Colour colour) {
    switch (colour) {
        case Colour::Green:
            return "\x1B[32m";
        case Colour::Yellow:
            return "\x1B[33m";
        case Colour::Red:
            return "\x1B[31m";
        case Colour::None:
            break;
    }
    return "";
}

// As fitted, but never filled up.
std::string cut(std::string text, std::size_t width) {
    if (displayWidth(text) <= width) return text;
    text = fitted(text, width);
    text.erase(text.find_last_not_of(' ') + 1);  // a wide character that did not fit leaves one behind the ellipsis
    return text;
}

std::size_t excessOver(std::size_t lineWidth, const std::vector<std::size_t>& widths) {
    std::size_t sum = widths.empty() ? 0 : gap * (widths.size() - 1);
    for (const std::size_t width : widths) sum += width;
    return sum > lineWidth ? sum - lineWidth : 0;
}

// The widest of those that can still give way; null when there is none.
std::size_t* widestToShrink(std::vector<std::size_t>& widths, const std::vector<Column>& columns) {
    for (const bool isLastTurn : {false, true}) {
        std::size_t* widest = nullptr;
        for (std::size_t index = 0; index < widths.size(); ++index) {
            if (!columns[index].mayShrink || columns[index].shrinksLast != isLastTurn) continue;
            if (widths[index] > narrowest && (widest == nullptr || widths[index] > *widest)) widest = &widths[index];
        }
        if (widest != nullptr) return widest;
    }
    return nullptr;
}

}  // namespace

std::string coloured(const std::string& text, Colour colour) {
    return colour == Colour::None ? text : codeFor(colour) + text + "\x1B[0m";
}

Table::Table(std::ostream& out, std::vector<Column> columns, Terminal terminal)
    : mOut(out), mColumns(std::move(columns)), mTerminal(terminal) {}

void Table::print(const std::vector<Row>& page) {
    if (mWidths.empty()) {
        settleWidths(page);
        Row titles;
        for (const Column& column : mColumns) titles.push_back({column.title});
        printRow(titles);
    }
    for (const Row& row : page) printRow(row);
}

void Table::settleWidths(const std::vector<Row>& page) {
    for (std::size_t index = 0; index < mColumns.size(); ++index) {
        std::size_t width = displayWidth(printable(mColumns[index].title));
        for (const Row& row : page) width = std::max(width, displayWidth(printable(row.at(index).text)));
        mWidths.push_back(width);
    }
    if (!mTerminal.width) return;
    for (std::size_t excess = excessOver(*mTerminal.width, mWidths); excess > 0; --excess) {
        std::size_t* const widest = widestToShrink(mWidths, mColumns);
        if (widest == nullptr) break;
        --*widest;
    }
}

void Table::printRow(const Row& row) {
    std::string line;
    std::size_t blanks = 0;  // written only when a text follows, so that no line ends in them
    for (std::size_t index = 0; index < mColumns.size(); ++index) {
        const Cell& cell = row.at(index);
        std::string text = printable(cell.text);
        if (mTerminal.width && mColumns[index].mayShrink) text = cut(std::move(text), mWidths[index]);
        const std::size_t taken = displayWidth(text);
        const std::size_t missing = mWidths[index] > taken ? mWidths[index] - taken : 0;
        if (mColumns[index].alignedRight) blanks += missing;
        if (!text.empty()) {
            line.append(blanks, ' ');
            line += mTerminal.hasColour ? coloured(text, cell.colour) : text;
            blanks = 0;
        }
        if (!mColumns[index].alignedRight) blanks += missing;
        blanks += gap;
    }
    mOut << line << '\n';
}

}  // namespace oru::kadi::authlist::tool
