// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace demo {

/// Opens a chapter: an empty line and its title.
void heading(std::string_view title);

/// One indented line.
void say(std::string_view text);

/// An empty line.
void gap();

/// A number and its noun: "1 card", "2 cards".
std::string counted(std::size_t number, const std::string& noun);

/// The characters of a UTF-8 text; an umlaut counts one.
std::size_t width(std::string_view text);

/// The first characters of a UTF-8 text, at most count.
std::string_view firstCharacters(std::string_view text, std::size_t count);

/// The text on one line of at most limit characters; a longer one ends in "...".
std::string fitted(std::string_view text, std::size_t limit);

/// Text, padded with blanks to the given number of characters.
std::string padded(std::string_view text, std::size_t columns);

enum class Align { Left, Right };

struct Column {
    std::string title;
    Align align = Align::Left;
    std::size_t limit = 48;  ///< longer cells are cut
};

/// Rows of cells under their titles, printed with every column as wide as its widest cell.
class Table {
public:
    explicit Table(std::vector<Column> columns);

    /// Takes one cell for each column.
    void add(const std::vector<std::string>& cells);

    void print() const;

private:
    void printRow(const std::vector<std::string>& cells) const;

    std::vector<Column> mColumns;
    std::vector<std::size_t> mWidths;
    std::vector<std::vector<std::string>> mRows;
};

}  // namespace demo
