// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace oru::kadi::authlist::test {

/// While it lives, the process is in this time zone, written as the environment variable TZ has it.
class TimeZone {
public:
    explicit TimeZone(const char* name) {
        if (const char* const previous = std::getenv("TZ")) mPrevious = previous;
        setenv("TZ", name, 1);
        tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;
    ~TimeZone() {
        if (mPrevious) {
            setenv("TZ", mPrevious->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

private:
    std::optional<std::string> mPrevious;
};

}  // namespace oru::kadi::authlist::test
