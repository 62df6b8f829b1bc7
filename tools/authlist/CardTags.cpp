// SPDX-License-Identifier: Apache-2.0
#include "CardTags.h"

#include <algorithm>

#include "CardSelection.h"
#include "FieldText.h"
#include "Outcome.h"
#include "authlist/KeyHash.h"

namespace oru::kadi::authlist::tool {

RfidTag tagOf(const std::string& key) {
    if (key.empty()) throw ToolError(ExitStatus::Usage, "KEY: a key must not be empty");
    return {hashKey(key), key, std::nullopt};
}

std::string nameOf(const RfidTag& tag, const KeyMask& keys) {
    return hasKey(tag) ? "key " + keys(*tag.key) : "hash " + tag.hash;
}

bool hasTag(const RfidCard& card, const std::string& hash) {
    return std::any_of(card.tags.begin(), card.tags.end(), [&hash](const RfidTag& tag) { return tag.hash == hash; });
}

void requireFree(const RfidTag& tag, OpenedList& list, std::optional<unsigned> owner, const Session& session) {
    const auto other = list.manager().retrieveRecord(tag.hash, KeyRepresentation::Hash);
    if (!other || (owner && other->id == owner)) return;
    throw ToolError(ExitStatus::Refused, list.path() + ": " + nameOf(*other, session) + " has the " +
                                             nameOf(tag, session.keys()) + " already");
}

}  // namespace oru::kadi::authlist::tool
