// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Session.h"
#include "authlist/RfidCard.h"
#include "output/RecordsOutput.h"
#include "output/Table.h"

namespace oru::kadi::authlist::tool {

/// How cards are shown: names, order and texts of their fields.
class CardPrinter {
public:
    explicit CardPrinter(const Session& session) : mSession(session) {}

    /// Of a list of cards.
    static std::vector<Column> columns();
    static std::vector<std::string> csvNames();
    RecordsOutput::Record record(const RfidCard& card) const;

    std::string json(const RfidCard& card) const;

    /// Everything about a card, a line a field.
    void printDetails(const RfidCard& card) const;

    /// The card's keys, masked; of a tag without key the first digits of its hash.
    std::string keys(const RfidCard& card, char separator = ' ') const;
    /// "never" where absent.
    std::string expiry(const RfidCard& card) const;

private:
    std::vector<std::string> csvValues(const RfidCard& card) const;
    std::string tagsJson(const RfidCard& card) const;

    const Session& mSession;
};

Colour colourOf(RfidCardStatus status);

}  // namespace oru::kadi::authlist::tool
