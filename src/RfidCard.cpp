// SPDX-License-Identifier: Apache-2.0
#include "authlist/RfidCard.h"

#include <ostream>

#include "authlist/Timestamp.h"

namespace oru::kadi::authlist {
namespace {

constexpr const char* notAvailable = "<n/a>";

std::string orNotAvailable(const std::optional<std::string>& text) { return text.value_or(notAvailable); }

// std::to_string, because a stream would write numbers as its locale and flags say.
std::string orNotAvailable(const std::optional<unsigned>& number) {
    return number ? std::to_string(*number) : notAvailable;
}

void write(std::ostream& out, const RfidTag& tag) {
    out << "Hash=" << tag.hash << ";Key=" << orNotAvailable(tag.key) << ";Extra data=" << orNotAvailable(tag.extraData)
        << ";";
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const RfidCard& card) {
    out.width(0);  // one line, not a column to be filled up
    out << "{Id=" << std::to_string(card.id.value_or(0)) << ";";
    out << "Status=" << statusToText(card.status) << ";";
    out << "Description=" << card.description << ";";
    out << "Expiry=" << (card.expiryDate ? timestampToString(card.expiryDate).value() : notAvailable) << ";";
    out << "Tags=[";
    for (const RfidTag& tag : card.tags) write(out, tag);
    out << "];Parent ID=" << orNotAvailable(card.parentId) << ";";
    out << "EVSE ID=" << orNotAvailable(card.evseId) << ";";
    out << "Extra data=" << orNotAvailable(card.extraData) << ";";
    out << "Last access time=" << timestampToString(card.lastAccessTime).value() << ";";
    return out << "Last modification time=" << timestampToString(card.lastModificationTime).value() << "}";
}

}  // namespace oru::kadi::authlist
