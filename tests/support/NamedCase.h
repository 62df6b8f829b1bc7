// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace oru::kadi::authlist::test {

/// The base of a row in a table of cases: its name ends the name of the test and stands for the row in messages.
struct NamedCase {
    const char* name;

    friend std::ostream& operator<<(std::ostream& out, const NamedCase& row) { return out << row.name; }
};

/// Hand it to INSTANTIATE_TEST_SUITE_P as the fourth argument.
inline const auto byName = [](const auto& info) { return std::string(info.param.name); };

}  // namespace oru::kadi::authlist::test
