// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "Session.h"
#include "authlist/RfidCard.h"

namespace oru::kadi::authlist::tool {

/// The tag of a plain key. Throws ToolError for an empty one.
RfidTag tagOf(const std::string& key);

/// How a tag is named in messages: by its masked key, or by its hash.
std::string nameOf(const RfidTag& tag, const KeyMask& keys);

bool hasTag(const RfidCard& card, const std::string& hash);

/// Throws ToolError when a card other than that with the id owner has the tag.
void requireFree(const RfidTag& tag, OpenedList& list, std::optional<unsigned> owner, const Session& session);

}  // namespace oru::kadi::authlist::tool
