// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cxxabi.h>

#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <typeinfo>

namespace oru::kadi::authlist::test {

/// The exact type of an exception that action throws and its whole message, as "std::runtime_error: Database full", or
/// "nothing". What is not derived from std::exception passes on.
template <class Action>
std::string thrownBy(Action action) {
    try {
        action();
    } catch (const std::exception& error) {
        int status = 0;
        const std::unique_ptr<char, void (*)(void*)> name(
            abi::__cxa_demangle(typeid(error).name(), nullptr, nullptr, &status), std::free);
        return std::string(status == 0 ? name.get() : typeid(error).name()) + ": " + error.what();
    }
    return "nothing";
}

}  // namespace oru::kadi::authlist::test
