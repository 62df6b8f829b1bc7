// SPDX-License-Identifier: Apache-2.0
#include "tools/authlist/ToolRun.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <stdexcept>

#include "tools/authlist/Execution.h"

namespace oru::kadi::authlist::test {
namespace {

using Deadline = std::chrono::steady_clock::time_point;

Deadline aMinuteFromNow() { return std::chrono::steady_clock::now() + std::chrono::minutes(1); }

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
        if (count == 0 || (count < 0 && errno != EINTR)) sources[i].fd = -1;
    }
    return true;
}

/// Reads both descriptors to their ends and closes them, then waits for the process.
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
    close(err);
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) continue;
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
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

}  // namespace oru::kadi::authlist::test
