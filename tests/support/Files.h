// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace oru::kadi::authlist::test {

/// All bytes of a file; empty when there is none.
inline std::string contentOf(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// Makes content all that the file holds.
inline void writeFile(const std::string& file, const std::string& content) {
    std::ofstream out(file, std::ios::binary);
    out << content;
    out.close();
    if (!out) throw std::runtime_error("Cannot write " + file);
}

}  // namespace oru::kadi::authlist::test
