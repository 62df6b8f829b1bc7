// SPDX-License-Identifier: Apache-2.0
#include "CardFields.h"

#include <CLI/CLI.hpp>
#include <stdexcept>

#include "Filter.h"
#include "Numbers.h"
#include "Outcome.h"
#include "authlist/JsonExchange.h"
#include "oru/common/lwjson/Deserializer.h"

namespace oru::kadi::authlist::tool {
namespace {

std::optional<std::string> orNone(const std::string& text) { return text.empty() ? std::nullopt : std::optional(text); }

// The lists exchange extra data as a JSON object; null would come back as none.
std::optional<std::string> readExtraData(const std::string& text) {
    if (text.empty()) return std::nullopt;
    common::lwjson::Deserializer json(common::lwjson::Options::Strict);
    try {
        json.importJson(text);
    } catch (const std::runtime_error& error) {
        throw ToolError(ExitStatus::Usage, "--extra-data: \"" + text + "\": " + error.what());
    }
    if (!json.isObject()) throw ToolError(ExitStatus::Usage, "--extra-data: \"" + text + "\" is no JSON object");
    return text;
}

}  // namespace

void CardFields::addOptions(CLI::App& command) {
    command.add_option("--description", description, "Free text")->type_name("TEXT");
    command.add_option("--status", status, "Accepted, Blocked, Expired, Invalid, ConcurrentTx or Operator")
        ->type_name("STATUS");
    command.add_option("--expiry", expiry, "Expired from then on: 2027-01-31, 2027-01-31T18:00Z, +1d, or never")
        ->type_name("TIME");
    command.add_option("--parent", parent, "OCPP parent (group) identifier; \"\" for none")->type_name("ID");
    command.add_option("--evse", evse, "The only EVSE that the card may use, or any")->type_name("N");
    command.add_option("--lifetime", lifetime, "The record goes this long after its last change, or none")
        ->type_name("SECONDS");
    command.add_option("--extra-data", extraData, "A JSON object for the application; \"\" for none")
        ->type_name("JSON");
}

bool CardFields::isEmpty() const {
    return !description && !status && !expiry && !parent && !evse && !lifetime && !extraData;
}

void CardFields::apply(RfidCard& card, const Session& session) const {
    if (description) card.description = *description;
    if (status) card.status = readStatus(*status, "--status");
    if (expiry) {
        card.expiryDate = *expiry == "never" ? std::nullopt : std::optional(session.times().read(*expiry, "--expiry"));
    }
    if (parent) card.parentId = orNone(*parent);
    if (evse) card.evseId = *evse == "any" ? std::nullopt : std::optional(readNumber(*evse, "--evse", 1));
    if (lifetime) {
        card.recordLifetime = *lifetime == "none" ? std::nullopt : std::optional(readNumber(*lifetime, "--lifetime"));
    }
    if (extraData) card.extraData = readExtraData(*extraData);
}

}  // namespace oru::kadi::authlist::tool
