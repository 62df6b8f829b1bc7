// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstring>
#include <exception>
#include <iostream>
#include <map>

#include "CommandLineWords.h"
#include "Outcome.h"
#include "Session.h"
#include "commands/Commands.h"

namespace oru::kadi::authlist::tool {
namespace {

int report(const Session& session, const std::string& line, ExitStatus status) {
    session.note(line);
    return static_cast<int>(status);
}

int finished(const Session& session, int status) {
    std::cout.flush();
    return std::cout ? status : report(session, "standard output cannot be written", ExitStatus::Storage);
}

// What SQLite's codes mean to somebody who stands before the controller.
std::string withAdvice(const std::string& message) {
    if (message.find("database is locked") != std::string::npos) {
        return message + "; another program uses the list, try again";
    }
    if (message.find("readonly database") != std::string::npos)
        return message + "; may you write the file and its folder? (with a write-ahead log reading needs that too)";
    if (message.find("malformed") != std::string::npos) return message + "; \"check\" tells what is damaged";
    if (message.find("disk is full") != std::string::npos) return message + "; nothing was changed, make room";
    if (message.find("was not found in N3oru") != std::string::npos) {
        return message.substr(0, message.find(" was not found")) +
               " is a status of a record, but does not exist; \"check\" tells of which record";
    }
    return message;
}

// On a full disk the library cannot even undo; SQLite does, when the list is opened the next time.
[[noreturn]] void endWithoutRoom() {
    constexpr const char* text =
        "authlist: the change could not be written (is the disk full?); the list is as it was before\n";
    const ssize_t ignored = ::write(STDERR_FILENO, text, std::strlen(text));
    _exit(ignored < 0 ? 1 : static_cast<int>(ExitStatus::Storage));
}

void addOptions(CLI::App& app, Options& options) {
    app.set_help_flag("-h,--help", "Show help, of a command after its name");
    app.set_version_flag("--version", "authlist " AUTHLIST_VERSION, "Show the version of the tool");
    app.add_option("-l,--list", options.list, "The list")->type_name("FILE");
    const std::map<std::string, Store> stores{{"sqlite", Store::Sqlite}, {"file", Store::File}};
    app.add_option_function<std::string>(
           "-s,--store", [&options, stores](const std::string& text) { options.store = stores.at(text); },
           "sqlite or file; an existing list is recognised")
        ->check(CLI::IsMember({"sqlite", "file"}).description(""))
        ->type_name("STORE");
    const std::map<std::string, OutputFormat> formats{
        {"table", OutputFormat::Table}, {"json", OutputFormat::Json}, {"csv", OutputFormat::Csv}};
    app.add_option_function<std::string>(
           "-o,--output", [&options, formats](const std::string& text) { options.output = formats.at(text); },
           "How records are printed: table, json or csv")
        ->check(CLI::IsMember({"table", "json", "csv"}).description(""))
        ->type_name("FORMAT");
    app.add_flag("--local", options.isLocalTime, "Local time instead of UTC");
    app.add_flag("--show-keys", options.showsKeys, "Do not mask plain keys");
}

void addCommands(CommandLine& line) {
    addLookupCommands(line);
    addListCommands(line);
    addStatsCommand(line);
    addDiffCommand(line);
    addCheckCommand(line);
    addAddCommand(line);
    addUpdateCommand(line);
    addRemoveCommands(line);
    addExchangeCommands(line);
    addSmallCommands(line);
}

int runChosen(const CommandLine& line, const Session& session) {
    try {
        return finished(session, static_cast<int>(line.runChosen()));
    } catch (const ToolError& error) {
        return report(session, withAdvice(reasonOf(error)), error.status());
    } catch (const std::exception& error) {
        const std::string& list = session.options.list;
        return report(session, (list.empty() ? "" : list + ": ") + withAdvice(reasonOf(error)), ExitStatus::Storage);
    }
}

int run(int argc, char** argv) {
    Session session(std::cout, std::cerr);
    CLI::App app("Looks into and changes the local authorization list of a charging controller.", "authlist");
    app.require_subcommand(0, 1);
    app.fallthrough();
    app.footer(
        "Exit status: 0 done, 1 the answer is no, 2 wrong usage, 3 unknown card, 4 storage, 5 refused data,\n"
        "130 interrupted. The man page authlist(1) tells more; so does authlist COMMAND --help.\n");
    addOptions(app, session.options);
    CommandLine line(app, session);
    addCommands(line);
    takeWordsAsTheyStand(app);
    try {
        app.parse(wordsForParser(argc, argv));
    } catch (const CLI::Success& request) {
        return finished(session, app.exit(request));
    } catch (const CLI::ExtrasError&) {
        return report(session, "\"" + app.remaining(true).front() + "\" is not expected here; see authlist --help",
                      ExitStatus::Usage);
    } catch (const CLI::ParseError& error) {
        return report(session, std::string(error.what()) + "; see authlist --help", ExitStatus::Usage);
    }
    if (!line.hasChosen()) return report(session, "which command? see authlist --help", ExitStatus::Usage);
    return runChosen(line, session);
}

}  // namespace
}  // namespace oru::kadi::authlist::tool

int main(int argc, char** argv) {
    std::set_terminate(oru::kadi::authlist::tool::endWithoutRoom);
    return oru::kadi::authlist::tool::run(argc, argv);
}
