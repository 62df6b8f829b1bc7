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
#include <stdexcept>

#include "tools/authlist/Execution.h"

namespace oru::kadi::authlist::test {
namespace {

constexpr int aMinute = 60'000;

std::string withoutCarriageReturns(const std::string& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r' || i + 1 == text.size() || text[i + 1] != '\n') plain += text[i];
    }
    return plain;
}

}  // namespace

TerminalRun::TerminalRun(const Arguments& arguments, const ToolSetting& setting) {
    const Execution execute(arguments, setting);
    winsize size{};
    size.ws_row = 24;
    size.ws_col = 80;
    mProcess = forkpty(&mTerminal, nullptr, nullptr, &size);
    if (mProcess < 0) throw std::runtime_error("forkpty failed");
    if (mProcess == 0) execute();
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

ToolResult runToolOnTerminal(const Arguments& arguments, const ToolSetting& setting) {
    return TerminalRun(arguments, setting).finish();
}

}  // namespace oru::kadi::authlist::test
