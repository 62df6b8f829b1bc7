// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <functional>
#include <stdexcept>
#include <string>

namespace oru::kadi::authlist::test {

/// How a forked process ended (a wait status) and all that it had reported until then.
struct ForkedRun {
    int status;
    std::string report;

    bool finished() const { return WIFEXITED(status) && WEXITSTATUS(status) == 0; }
    bool diedBySignal(int signal) const { return WIFSIGNALED(status) && WTERMSIG(status) == signal; }
};

/// Where a forked process reports to. What was reported arrives even when the process dies right after.
class Reporter {
public:
    explicit Reporter(int pipe) : mPipe(pipe) {}

    void operator()(const std::string& text) const {
        for (std::size_t done = 0; done < text.size();) {
            const ssize_t count = write(mPipe, text.data() + done, text.size() - done);
            if (count < 0 && errno != EINTR) _exit(2);
            if (count > 0) done += static_cast<std::size_t>(count);
        }
    }

private:
    int mPipe;
};

/// Runs action in a forked process that leaves by _exit (no leak check, no destructors of the parent's objects): with 0
/// when the action returns, with 1 and the message in the report when it throws. No core file is written.
inline ForkedRun runForked(const std::function<void(const Reporter&)>& action) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("pipe failed");
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("fork failed");
    if (child == 0) {
        close(ends[0]);
        const rlimit noCore{0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        const Reporter report(ends[1]);
        try {
            action(report);
        } catch (const std::exception& error) {
            report(std::string("threw: ") + error.what());
            _exit(1);
        }
        _exit(0);
    }
    close(ends[1]);
    ForkedRun run{0, {}};
    char piece[4096];
    for (ssize_t count; (count = read(ends[0], piece, sizeof piece)) != 0;) {
        if (count > 0) run.report.append(piece, static_cast<std::size_t>(count));
        if (count < 0 && errno != EINTR) break;
    }
    close(ends[0]);
    while (waitpid(child, &run.status, 0) < 0) {
        if (errno != EINTR) throw std::runtime_error("waitpid failed");
    }
    return run;
}

}  // namespace oru::kadi::authlist::test
