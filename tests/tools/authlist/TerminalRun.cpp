// SPDX-License-Identifier: Apache-2.0
#include "tools/authlist/TerminalRun.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <map>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace oru::kadi::authlist::test {
namespace {

constexpr int aMinute = 60'000;

/// The tool, behind the emulator of a cross build, and its arguments.
std::vector<std::string> partsOf(const Arguments& arguments) {
    std::vector<std::string> parts;
    std::istringstream command(AUTHLIST_TOOL);
    for (std::string part; std::getline(command, part, ';');) {
        if (!part.empty()) parts.push_back(part);
    }
    parts.insert(parts.end(), arguments.begin(), arguments.end());
    return parts;
}

std::string withoutCarriageReturns(const std::string& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r' || i + 1 == text.size() || text[i + 1] != '\n') plain += text[i];
    }
    return plain;
}

}  // namespace

TerminalRun::TerminalRun(const Arguments& arguments, const ToolSetting& setting) {
    std::vector<std::string> parts = partsOf(arguments);
    std::vector<char*> words;
    for (std::string& part : parts) words.push_back(part.data());
    words.push_back(nullptr);
    std::map<std::string, std::string> variables{
        {"TZ", "UTC"}, {"LC_ALL", "C"}, {"TERM", "xterm"}, {"NO_COLOR", "1"}, {"COLUMNS", "80"}};
    for (const auto& [name, value] : setting.variables) variables[name] = value;

    winsize size{};
    size.ws_row = 24;
    size.ws_col = 80;
    mProcess = forkpty(&mTerminal, nullptr, nullptr, &size);
    if (mProcess < 0) throw std::runtime_error("forkpty failed");
    if (mProcess == 0) {
        for (const auto& [name, value] : variables) setenv(name.c_str(), value.c_str(), 1);
        if (setting.folder.empty() || chdir(setting.folder.c_str()) == 0) execvp(words.front(), words.data());
        _exit(127);
    }
    type(setting.input);
}

TerminalRun::~TerminalRun() {
    if (mProcess < 0) return;
    kill(mProcess, SIGKILL);
    waitpid(mProcess, nullptr, 0);
    close(mTerminal);
}

bool TerminalRun::waitFor(const std::string& text) {
    while (mOut.find(text) == std::string::npos) {
        if (!readSome()) return false;
    }
    return true;
}

void TerminalRun::type(const std::string& text) const {
    if (write(mTerminal, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("Cannot type");
    }
}

ToolResult TerminalRun::finish() {
    while (readSome()) continue;
    pollfd source{mTerminal, POLLIN, 0};
    if (poll(&source, 1, 0) == 0) {
        ADD_FAILURE() << "The tool was silent for a minute and did not end";
        kill(mProcess, SIGKILL);
    }
    close(mTerminal);
    int status = 0;
    while (waitpid(mProcess, &status, 0) < 0 && errno == EINTR) continue;
    mProcess = -1;
    ToolResult result;
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = withoutCarriageReturns(mOut);
    return result;
}

bool TerminalRun::readSome() {
    pollfd source{mTerminal, POLLIN, 0};
    if (poll(&source, 1, aMinute) <= 0) return false;
    char piece[4096];
    const ssize_t count = read(mTerminal, piece, sizeof piece);
    // A terminal that its last process left gives an error.
    if (count <= 0) return count < 0 && errno == EINTR;
    mOut.append(piece, static_cast<std::size_t>(count));
    return true;
}

}  // namespace oru::kadi::authlist::test
