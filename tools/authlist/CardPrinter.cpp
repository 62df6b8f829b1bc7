// SPDX-License-Identifier: Apache-2.0
#include "CardPrinter.h"

#include <ostream>

#include "Answer.h"
#include "FieldText.h"
#include "output/DisplayText.h"
#include "output/Json.h"

namespace oru::kadi::authlist::tool {
Colour colourOf(RfidCardStatus status) {
    switch (status) {
        case RfidCardStatus::Accepted:
            return Colour::Green;
        case RfidCardStatus::Blocked:
        case RfidCardStatus::Invalid:
            return Colour::Red;
        default:
            return Colour::Yellow;
    }
}

std::vector<Column> CardPrinter::columns() {
    return {{.title = "ID", .alignedRight = true},
            {.title = "STATUS"},
            {.title = "KEYS", .mayShrink = true},
            {.title = "DESCRIPTION", .mayShrink = true, .shrinksLast = true},
            {.title = "EXPIRY"},
            {.title = "EVSE", .alignedRight = true},
            {.title = "PARENT", .mayShrink = true}};
}

std::vector<std::string> CardPrinter::csvNames() {
    return {"id",
            "description",
            "status",
            "keys",
            "hashes",
            "expiryDate",
            "parentId",
            "evseId",
            "extraData",
            "lastAccessTime",
            "lastModificationTime",
            "recordLifetime"};
}

RecordsOutput::Record CardPrinter::record(const RfidCard& card) const {
    switch (mSession.options.output) {
        case OutputFormat::Json:
            return {.json = json(card)};
        case OutputFormat::Csv:
            return {.values = csvValues(card)};
        case OutputFormat::Table:
            break;
    }
    return {.cells = {{numberOr(card.id, "")},
                      {statusName(card.status), colourOf(card.status)},
                      {keys(card)},
                      {card.description},
                      {expiry(card)},
                      {numberOr(card.evseId, "any")},
                      {card.parentId.value_or("")}}};
}

std::string CardPrinter::json(const RfidCard& card) const {
    const TimeText times = mSession.times();
    return JsonObject()
        .number("id", card.id)
        .text("description", card.description)
        .text("status", statusName(card.status))
        .json("tags", tagsJson(card))
        .text("expiryDate", card.expiryDate ? std::optional(times.show(*card.expiryDate)) : std::nullopt)
        .text("parentId", card.parentId)
        .number("evseId", card.evseId)
        .text("extraData", card.extraData)
        .text("lastAccessTime", times.show(card.lastAccessTime))
        .text("lastModificationTime", times.show(card.lastModificationTime))
        .number("recordLifetime", card.recordLifetime)
        .str();
}

void CardPrinter::printDetails(const RfidCard& card) const {
    const TimeText times = mSession.times();
    const auto line = [this](const char* name, const std::string& value, Colour colour = Colour::None) {
        const std::string text = printable(value);
        mSession.out() << fitted(name, 15) << (mSession.outTerminal().hasColour ? coloured(text, colour) : text)
                       << '\n';
    };
    const Answer answer = answerTo(card, times);
    line("Id", numberOr(card.id, "none"));
    line("Verdict", std::string(answer.word()) + ": " + answer.reason, answer.isAccepted ? Colour::Green : Colour::Red);
    line("Status", statusName(card.status), colourOf(card.status));
    line("Description", card.description);
    for (const RfidTag& tag : card.tags) {
        line("Key", hasKey(tag) ? mSession.keys()(*tag.key) : "not stored");
        line("  Hash", tag.hash);
        if (tag.extraData) line("  Extra data", *tag.extraData);
    }
    line("Expiry", expiry(card));
    line("Parent", card.parentId.value_or("none"));
    line("EVSE", numberOr(card.evseId, "any"));
    line("Extra data", card.extraData.value_or("none"));
    line("Accessed", times.show(card.lastAccessTime));
    line("Modified", times.show(card.lastModificationTime));
    line("Lifetime", card.recordLifetime ? std::to_string(*card.recordLifetime) + " s" : "no limit");
}

std::string CardPrinter::keys(const RfidCard& card, char separator) const {
    std::string text;
    for (const RfidTag& tag : card.tags) {
        if (!text.empty()) text += separator;
        text += hasKey(tag) ? mSession.keys()(*tag.key) : '#' + tag.hash.substr(0, 8);
    }
    return text;
}

std::string CardPrinter::expiry(const RfidCard& card) const {
    return card.expiryDate ? mSession.times().show(*card.expiryDate) : "never";
}

std::vector<std::string> CardPrinter::csvValues(const RfidCard& card) const {
    const TimeText times = mSession.times();
    std::string keys;
    std::string hashes;
    for (const RfidTag& tag : card.tags) {
        if (hasKey(tag)) keys += (keys.empty() ? "" : "|") + mSession.keys()(*tag.key);
        hashes += (hashes.empty() ? "" : "|") + tag.hash;
    }
    return {numberOr(card.id, ""),
            card.description,
            statusName(card.status),
            keys,
            hashes,
            card.expiryDate ? times.show(*card.expiryDate) : "",
            card.parentId.value_or(""),
            numberOr(card.evseId, ""),
            card.extraData.value_or(""),
            times.show(card.lastAccessTime),
            times.show(card.lastModificationTime),
            numberOr(card.recordLifetime, "")};
}

std::string CardPrinter::tagsJson(const RfidCard& card) const {
    std::string text = "[";
    for (const RfidTag& tag : card.tags) {
        if (text.size() > 1) text += ',';
        text += JsonObject()
                    .text("hash", tag.hash)
                    .text("key", hasKey(tag) ? std::optional(mSession.keys()(*tag.key)) : std::nullopt)
                    .text("extraData", tag.extraData)
                    .str();
    }
    return text + ']';
}

}  // namespace oru::kadi::authlist::tool
