// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace oru::kadi::authlist::tool {

/// The words of a command line in the order in which CLI11 wants them, the last one first, and so that it takes them as
/// they stand: on its own it takes the word behind "--option=" for the option's value, and "[a,b]" for two words.
std::vector<std::string> wordsForParser(int argc, const char* const* argv);

/// Makes every option of the app and its commands take back what wordsForParser did to its value.
void takeWordsAsTheyStand(CLI::App& app);

}  // namespace oru::kadi::authlist::tool
