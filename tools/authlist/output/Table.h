// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

#include "output/Terminal.h"

namespace oru::kadi::authlist::tool {

enum class Colour { None, Green, Yellow, Red };

/// text between the terminal's codes for colour; text itself for None.
std::string coloured(const std::string& text, Colour colour);

struct Column {
    std::string title;
    bool alignedRight = false;
    bool mayShrink = false;    ///< may be cut where the terminal is too narrow
    bool shrinksLast = false;  ///< and only once the others cannot give way any more
};

struct Cell {
    std::string text;  ///< any bytes; made printable here
    Colour colour = Colour::None;
};

using Row = std::vector<Cell>;

/// Prints rows under a line of titles, page by page, without holding more than a page.
///
/// The first page settles the widths: each column as wide as its widest cell; where that is wider than the terminal,
/// the columns that may shrink give way, the widest first, down to 8 columns each. Later cells are cut to these widths
/// where the column may shrink, and stick out where it may not.
/// Where the output has no width (a file, a pipe), nothing is cut. The last column is not filled up with blanks.
class Table {
public:
    Table(std::ostream& out, std::vector<Column> columns, Terminal terminal);

    /// Each row has a cell per column. The first call, and only that, prints the titles too.
    void print(const std::vector<Row>& page);

private:
    void settleWidths(const std::vector<Row>& page);
    void printRow(const Row& row);

    std::ostream& mOut;
    std::vector<Column> mColumns;
    Terminal mTerminal;
    std::vector<std::size_t> mWidths;  // empty before the first page
};

}  // namespace oru::kadi::authlist::tool
