// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"

#include <CLI/CLI.hpp>
#include <utility>

#include "oru/common/Split.h"

namespace oru::kadi::authlist::tool {

CLI::App& CommandLine::add(const std::string& name, const std::string& summary, const std::string& examples, Run run) {
    CLI::App* const command = mApp.add_subcommand(name, summary);
    std::string footer = "Examples:\n";
    common::forEachPiece(examples, "\n", std::nullopt,
                         [&footer](std::string_view line) { footer += "  authlist " + std::string(line) + '\n'; });
    command->footer(footer);
    command->callback([this, run = std::move(run)] { mChosen = run; });
    return *command;
}

}  // namespace oru::kadi::authlist::tool
