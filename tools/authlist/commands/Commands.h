// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "Outcome.h"
#include "Session.h"

namespace CLI {
class App;
}

namespace oru::kadi::authlist::tool {

/// The commands of the tool, and the one that the command line chose.
class CommandLine {
public:
    using Run = std::function<ExitStatus(const Session&)>;

    CommandLine(CLI::App& app, const Session& session) : mApp(app), mSession(session) {}

    /// A command with its help; examples are lines without "authlist" before them.
    CLI::App& add(const std::string& name, const std::string& summary, const std::string& examples, Run run);

    bool hasChosen() const { return mChosen != nullptr; }
    ExitStatus runChosen() const { return mChosen(mSession); }

private:
    CLI::App& mApp;
    const Session& mSession;
    Run mChosen;
};

// One function a command group, each in a file of its name.
void addLookupCommands(CommandLine& line);  // authorize, show
void addListCommands(CommandLine& line);    // list, find, count
void addAddCommand(CommandLine& line);
void addUpdateCommand(CommandLine& line);
void addRemoveCommands(CommandLine& line);    // remove, clear
void addExchangeCommands(CommandLine& line);  // import, export, copy
void addStatsCommand(CommandLine& line);
void addDiffCommand(CommandLine& line);
void addCheckCommand(CommandLine& line);
void addSmallCommands(CommandLine& line);  // version, hash, tune

}  // namespace oru::kadi::authlist::tool
