// SPDX-License-Identifier: Apache-2.0
#include "tools/authlist/ToolRun.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <poll.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace oru::kadi::authlist::test {
namespace {

using Deadline = std::chrono::steady_clock::time_point;

Deadline aMinuteFromNow() { return std::chrono::steady_clock::now() + std::chrono::minutes(1); }

/// The tool itself, behind the emulator that it needs when this is a cross build.
std::vector<std::string> toolCommand() {
    std::vector<std::string> parts;
    std::istringstream command(AUTHLIST_TOOL);
    for (std::string part; std::getline(command, part, ';');) {
        if (!part.empty()) parts.push_back(part);
    }
    return parts;
}

std::map<std::string, std::string> variablesOf(const ToolSetting& setting) {
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

struct Pipe {
    int reading = -1;
    int writing = -1;

    Pipe() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
        reading = ends[0];
        writing = ends[1];
    }
};

void writeAll(int descriptor, const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
        if (count < 0 && errno != EINTR) throw std::runtime_error("Cannot write the tool's input");
        if (count > 0) done += static_cast<std::size_t>(count);
    }
}

/// The reading end of a pipe that holds all of the input, so that nobody needs to feed it later.
int pipeHolding(const std::string& input) {
    const Pipe pipe;
    if (input.size() > 65536 && fcntl(pipe.writing, F_SETPIPE_SZ, static_cast<int>(input.size())) < 0) {
        throw std::runtime_error("Input too long for a pipe");
    }
    writeAll(pipe.writing, input);
    close(pipe.writing);
    return pipe.reading;
}

/// Appends what can be read from one of the descriptors; closed ones become -1. False when the time is over.
bool readSome(pollfd (&sources)[2], std::string* (&texts)[2], Deadline deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    poll(sources, 2, static_cast<int>(left.count()));
    for (int i = 0; i < 2; ++i) {
        if (sources[i].fd < 0 || sources[i].revents == 0) continue;
        char piece[65536];
        const ssize_t count = read(sources[i].fd, piece, sizeof piece);
        if (count > 0) texts[i]->append(piece, static_cast<std::size_t>(count));
        // A terminal that its last process left gives an error.
        if (count == 0 || (count < 0 && errno != EINTR)) sources[i].fd = -1;
    }
    return true;
}

/// Reads both descriptors (the second may be -1) to their ends and closes them, then waits for the process.
ToolResult resultOf(pid_t process, int out, int err) {
    ToolResult result;
    const Deadline deadline = aMinuteFromNow();
    pollfd sources[2] = {{out, POLLIN, 0}, {err, POLLIN, 0}};
    std::string* texts[2] = {&result.out, &result.err};
    while (sources[0].fd >= 0 || sources[1].fd >= 0) {
        if (readSome(sources, texts, deadline)) continue;
        kill(process, SIGKILL);
        ADD_FAILURE() << "The tool took longer than a minute";
        break;
    }
    close(out);
    if (err >= 0) close(err);
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) continue;
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

std::string withoutCarriageReturns(const std::string& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r' || i + 1 == text.size() || text[i + 1] != '\n') plain += text[i];
    }
    return plain;
}

}  // namespace

RunningTool::RunningTool(const Arguments& arguments, const ToolSetting& setting) {
    const Execution execute(arguments, setting);
    const int in = pipeHolding(setting.input);
    const Pipe out;
    const Pipe err;
    mProcess = fork();
    if (mProcess < 0) throw std::runtime_error("fork failed");
    if (mProcess == 0) {
        dup2(in, STDIN_FILENO);
        dup2(out.writing, STDOUT_FILENO);
        dup2(err.writing, STDERR_FILENO);
        execute();
    }
    close(in);
    close(out.writing);
    close(err.writing);
    mOut = out.reading;
    mErr = err.reading;
}

RunningTool::~RunningTool() {
    if (mProcess < 0) return;
    kill(mProcess, SIGKILL);
    waitpid(mProcess, nullptr, 0);
    close(mOut);
    close(mErr);
}

void RunningTool::signal(int number) const {
    if (mProcess > 0) kill(mProcess, number);
}

ToolResult RunningTool::finish() {
    const pid_t process = mProcess;
    mProcess = -1;
    return resultOf(process, mOut, mErr);
}

ToolResult runTool(const Arguments& arguments, const ToolSetting& setting) {
    return RunningTool(arguments, setting).finish();
}

ToolResult runToolOnTerminal(const Arguments& arguments, const ToolSetting& setting) {
    const Execution execute(arguments, setting);
    winsize size{};
    size.ws_row = 24;
    size.ws_col = 80;
    int terminal = -1;
    const pid_t process = forkpty(&terminal, nullptr, nullptr, &size);
    if (process < 0) throw std::runtime_error("forkpty failed");
    if (process == 0) execute();
    writeAll(terminal, setting.input);
    ToolResult result = resultOf(process, terminal, -1);
    result.out = withoutCarriageReturns(result.out);
    return result;
}

}  // namespace oru::kadi::authlist::test
