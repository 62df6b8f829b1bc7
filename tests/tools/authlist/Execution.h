// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <linux/capability.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tools/authlist/ToolRun.h"

namespace oru::kadi::authlist::test {

/// The tool itself, behind the emulator that it needs when this is a cross build.
inline std::vector<std::string> toolCommand() {
    std::vector<std::string> parts;
    std::istringstream command(AUTHLIST_TOOL);
    for (std::string part; std::getline(command, part, ';');) {
        if (!part.empty()) parts.push_back(part);
    }
    return parts;
}

inline std::map<std::string, std::string> variablesOf(const ToolSetting& setting) {
    // The library leaves a connection open where opening fails, which is known.
    std::map<std::string, std::string> all{{"TZ", "UTC"}, {"LC_ALL", "C"}, {"ASAN_OPTIONS", "detect_leaks=0"}};
    all.insert({"TERM", "xterm"});
    for (const auto& [name, value] : setting.variables) all[name] = value;
    return all;
}

/// What a child hands to exec, made before the fork, for a child may not allocate.
class Execution {
public:
    Execution(const Arguments& arguments, const ToolSetting& setting)
        : mParts(toolCommand()), mVariables(variablesOf(setting)), mFolder(setting.folder) {
        mParts.insert(mParts.end(), arguments.begin(), arguments.end());
        for (std::string& part : mParts) mArguments.push_back(part.data());
        mArguments.push_back(nullptr);
    }

    /// Never returns. The tool may do no more than the permission bits allow, even as root.
    [[noreturn]] void operator()() const {
        prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE);
        prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH);
        unsetenv("COLUMNS");
        unsetenv("LINES");
        unsetenv("NO_COLOR");
        for (const auto& [name, value] : mVariables) setenv(name.c_str(), value.c_str(), 1);
        signal(SIGPIPE, SIG_DFL);
        if (mFolder.empty() || chdir(mFolder.c_str()) == 0) execvp(mArguments.front(), mArguments.data());
        _exit(127);
    }

private:
    std::vector<std::string> mParts;
    std::map<std::string, std::string> mVariables;
    std::string mFolder;
    std::vector<char*> mArguments;
};

}  // namespace oru::kadi::authlist::test
