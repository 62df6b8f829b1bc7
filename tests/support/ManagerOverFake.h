// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <exception>
#include <memory>

#include "authlist/AuthListManager.h"
#include "support/FakeDbAccessor.h"

namespace oru::kadi::authlist::test {

/// Something that a backend or a log callback may throw as well.
struct NoStdException {};

/// What action throws, to be compared with what was to be thrown; null when it returns.
template <class Action>
std::exception_ptr exceptionFrom(Action action) {
    try {
        action();
    } catch (...) {
        return std::current_exception();
    }
    return nullptr;
}

/// A manager with a capacity of two records over a fake backend, whose journal holds the manager's log too.
class ManagerOverFake : public testing::Test {
protected:
    static constexpr unsigned capacity = 2;

    FakeStorage mStorage;
    AuthListManager mManager{std::make_unique<FakeDbAccessor>(mStorage),
                             AuthListConfiguration{capacity, "", logInto(mStorage)}};
};

}  // namespace oru::kadi::authlist::test
