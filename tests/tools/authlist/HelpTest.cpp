// SPDX-License-Identifier: Apache-2.0
// What the tool says about itself, and that the man page and the completion of bash know as much.
#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>

#include "tools/authlist/ToolRun.h"

namespace oru::kadi::authlist::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsSubsetOf;
using testing::IsSupersetOf;
using testing::Not;

const std::vector<std::string> commands{"authorize", "show",   "list", "find",    "count",  "stats",
                                        "diff",      "check",  "add",  "update",  "remove", "clear",
                                        "import",    "export", "copy", "version", "hash",   "tune"};

std::string contentOf(const char* path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string helpOf(const std::string& command) { return runTool({command, "--help"}).out; }

std::set<std::string> optionsIn(const std::string& text) {
    static const std::regex option("--[a-z][a-z-]*");
    return {std::sregex_token_iterator(text.begin(), text.end(), option), std::sregex_token_iterator()};
}

// Those that a help text explains, not those in its examples.
std::set<std::string> optionsOf(const std::string& command) {
    const std::string help = command.empty() ? runTool({"--help"}).out : helpOf(command);
    return optionsIn(help.substr(0, help.find("Examples:")));
}

// The page as plain text: "\-" is a hyphen, "-word" behind Fl an option.
std::set<std::string> optionsOfManPage() {
    const std::string page = std::regex_replace(contentOf(AUTHLIST_MAN_PAGE), std::regex("Fl (\\w , )?-"), "Fl --");
    return optionsIn(page);
}

std::set<std::string> completionsOf(const std::vector<std::string>& words) {
    std::string script = std::string("source '") + AUTHLIST_COMPLETION + "'; COMP_WORDS=(";
    for (const std::string& word : words) script += " '" + word + "'";
    script += "); COMP_CWORD=" + std::to_string(words.size() - 1) + "; _authlist; printf '%s\\n' \"${COMPREPLY[@]}\"";
    const std::string quoted = std::regex_replace(script, std::regex("'"), "'\\''");
    FILE* const bash = popen(("bash --norc -c '" + quoted + "'").c_str(), "r");
    std::string output;
    for (int c = fgetc(bash); c != EOF; c = fgetc(bash)) output += static_cast<char>(c);
    EXPECT_EQ(pclose(bash), 0) << script;
    std::istringstream lines(output);
    return {std::istream_iterator<std::string>(lines), {}};
}

}  // namespace

TEST(Help, NamesEveryCommand) {
    const ToolResult help = runTool({"--help"});
    EXPECT_EQ(help.exitStatus, 0);
    for (const std::string& command : commands) EXPECT_THAT(help.out, HasSubstr("\n  " + command + " "));
}

TEST(Help, OfEveryCommandHasExamples) {
    for (const std::string& command : commands) {
        const ToolResult help = runTool({command, "--help"});
        EXPECT_EQ(help.exitStatus, 0) << command;
        EXPECT_THAT(help.out, HasSubstr("Examples:\n  authlist ")) << command;
        EXPECT_EQ(help.err, "") << command;
    }
}

TEST(Help, FitsIntoAHundredAndTwentyColumns) {
    for (const std::string& command : commands) {
        std::istringstream lines(helpOf(command));
        for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 120U) << command << ": " << line;
    }
}

TEST(Help, SaysTheVersionOfTheTool) { EXPECT_EQ(runTool({"--version"}).out, "authlist 1.0.0\n"); }

TEST(ManPage, KnowsEveryCommandAndOption) {
    const std::string page = contentOf(AUTHLIST_MAN_PAGE);
    const auto known = optionsOfManPage();
    for (const std::string& command : commands) {
        EXPECT_THAT(page, HasSubstr(".It Cm " + command)) << command;
        EXPECT_THAT(optionsOf(command), IsSubsetOf(known)) << command;
    }
    EXPECT_THAT(optionsOf(""), IsSubsetOf(known));
}

TEST(ManPage, NamesNoOptionThatDoesNotExist) {
    auto existing = optionsOf("");
    for (const std::string& command : commands) existing.merge(optionsOf(command));
    EXPECT_THAT(optionsOfManPage(), IsSubsetOf(existing));
}

TEST(Completion, OffersEveryCommand) {
    EXPECT_THAT(completionsOf({"authlist", ""}), testing::UnorderedElementsAreArray(commands));
}

TEST(Completion, OffersTheOptionsOfEachCommand) {
    auto common = optionsOf("");
    common.erase("--version");
    for (const std::string& command : commands) {
        auto expected = optionsOf(command);
        expected.insert(common.begin(), common.end());
        EXPECT_THAT(completionsOf({"authlist", command, "--"}), testing::UnorderedElementsAreArray(expected))
            << command;
    }
}

TEST(Completion, OffersTheWordsOfAnOption) {
    EXPECT_THAT(completionsOf({"authlist", "list", "--output", ""}),
                testing::UnorderedElementsAre("table", "json", "csv"));
    EXPECT_THAT(completionsOf({"authlist", "add", "--status", "Bl"}), testing::ElementsAre("Blocked"));
}

}  // namespace oru::kadi::authlist::test
