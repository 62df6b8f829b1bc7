// SPDX-License-Identifier: Apache-2.0
#include "CommandLineWords.h"

#include <CLI/CLI.hpp>
#include <string_view>

namespace oru::kadi::authlist::tool {
namespace {

// Stands before a word that would be taken apart.
constexpr char mark = '\1';

std::string marked(std::string_view word) {
    const bool isList = word.starts_with('[') && word.ends_with(']');
    return isList || word.starts_with(mark) ? mark + std::string(word) : std::string(word);
}

std::string unmark(std::string& word) {
    if (word.starts_with(mark)) word.erase(0, 1);
    return {};  // no complaint
}

}  // namespace

std::vector<std::string> wordsForParser(int argc, const char* const* argv) {
    std::vector<std::string> words;
    bool areOptions = true;
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        areOptions = areOptions && word != "--";
        if (areOptions && word.starts_with("--") && word.find('=') == word.size() - 1) {
            words.emplace_back(word.substr(0, word.size() - 1));
            words.emplace_back();
        } else {
            words.push_back(marked(word));
        }
    }
    return {words.rbegin(), words.rend()};
}

void takeWordsAsTheyStand(CLI::App& app) {
    for (CLI::Option* const option : app.get_options()) {
        if (option->get_items_expected_max() > 0) option->transform(CLI::Validator(unmark, ""));
    }
    for (CLI::App* const command : app.get_subcommands({})) takeWordsAsTheyStand(*command);
}

}  // namespace oru::kadi::authlist::tool
