// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <locale>
#include <string>

namespace oru::kadi::authlist::test {

/// While it lives, the program's global locale writes numbers with grouped digits, as "1.234.567".
class GroupingLocale {
public:
    GroupingLocale() : mPrevious(std::locale::global(std::locale(std::locale::classic(), new Punctuation))) {}
    GroupingLocale(const GroupingLocale&) = delete;
    GroupingLocale& operator=(const GroupingLocale&) = delete;
    ~GroupingLocale() { std::locale::global(mPrevious); }

private:
    struct Punctuation : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        char do_decimal_point() const override { return ','; }
        std::string do_grouping() const override { return "\3"; }
    };

    std::locale mPrevious;
};

}  // namespace oru::kadi::authlist::test
