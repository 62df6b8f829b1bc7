// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "Filter.h"
#include "Session.h"

namespace CLI {
class App;
}

namespace oru::kadi::authlist::tool {

/// The cards that a command is told to work on: by key, hash, id, or by filters.
struct CardSelection {
    std::vector<std::string> keys;
    std::vector<std::string> hashes;
    std::vector<std::string> ids;
    std::vector<std::string> filters;

    void addOptions(CLI::App& command, bool withFilters);
    /// Throws ToolError when cards are chosen both singly and by filters, or not at all.
    void requireOneWay() const;
    bool isEmpty() const { return keys.empty() && hashes.empty() && ids.empty() && filters.empty(); }

    /// Each card once, in the order given; with filters by ascending id. Throws ToolError when nothing or too much is
    /// chosen, and when one of the cards is not in the list.
    std::vector<RfidCard> resolve(OpenedList& list, const Session& session) const;

private:
    std::vector<RfidCard> resolveSingly(OpenedList& list, const Session& session) const;
};

Filters readFilters(const std::vector<std::string>& texts, const Session& session);

/// hash with lower-case letters, as storage compares it. Throws ToolError naming what for another text than a hash.
std::string readHash(const std::string& text, const std::string& what);

/// Throws ToolError when another card has the same id, as may be in a file of the file store: writing the one would
/// lose the other.
void requireOwnId(const RfidCard& card, OpenedList& list, const Session& session);

/// How a card is named in messages.
std::string nameOf(const RfidCard& card, const Session& session);

}  // namespace oru::kadi::authlist::tool
