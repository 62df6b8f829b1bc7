// SPDX-License-Identifier: Apache-2.0
#include "Interruption.h"

#include "Outcome.h"

namespace oru::kadi::authlist::tool {
namespace {

volatile std::sig_atomic_t wasRequested = 0;

void remember(int) { wasRequested = 1; }

}  // namespace

Interruption::Interruption() {
    struct sigaction action {};
    action.sa_handler = remember;
    sigaction(SIGINT, &action, &mInterrupt);
    sigaction(SIGTERM, &action, &mTerminate);
}

Interruption::~Interruption() {
    sigaction(SIGINT, &mInterrupt, nullptr);
    sigaction(SIGTERM, &mTerminate, nullptr);
}

void Interruption::throwIfRequested() {
    if (wasRequested != 0) throw ToolError(ExitStatus::Interrupted, "interrupted");
}

}  // namespace oru::kadi::authlist::tool
