// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "Session.h"
#include "authlist/RfidCard.h"

namespace CLI {
class App;
}

namespace oru::kadi::authlist::tool {

/// The options that set fields of a card, as they were typed.
struct CardFields {
    std::optional<std::string> description;
    std::optional<std::string> status;
    std::optional<std::string> expiry;
    std::optional<std::string> parent;
    std::optional<std::string> evse;
    std::optional<std::string> lifetime;
    std::optional<std::string> extraData;

    void addOptions(CLI::App& command);
    bool isEmpty() const;

    /// Sets the fields given. Throws ToolError naming the option whose value cannot be read.
    void apply(RfidCard& card, const Session& session) const;
};

}  // namespace oru::kadi::authlist::tool
