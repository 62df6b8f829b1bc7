// SPDX-License-Identifier: Apache-2.0
#include "CardDifference.h"

#include <map>
#include <optional>

#include "FieldText.h"

namespace oru::kadi::authlist::tool {
namespace {

std::string orNone(const std::optional<std::string>& text) { return text ? *text : "none"; }

std::string expiryOf(const RfidCard& card, const TimeText& times) {
    return card.expiryDate ? times.show(*card.expiryDate) : "never";
}

// A tag's identity and what else is compared of it: whether the plain key is there, and its extra data.
using TagContents = std::map<std::string, std::string>;

TagContents contentsOf(const RfidCard& card, bool onlyCsv) {
    TagContents contents;
    for (const RfidTag& tag : card.tags) {
        if (onlyCsv && !hasKey(tag)) continue;
        contents[tag.hash] = onlyCsv ? "" : (hasKey(tag) ? "k" : "h") + tag.extraData.value_or("");
    }
    return contents;
}

// In the order of their hashes, so that the order of a card's tags makes no difference.
std::string tagText(const RfidCard& card, bool onlyCsv, const KeyMask& keys) {
    std::map<std::string, std::string> texts;
    for (const RfidTag& tag : card.tags) {
        if (onlyCsv && !hasKey(tag)) continue;
        std::string text = hasKey(tag) ? keys(*tag.key) : "";
        text += '#' + tag.hash.substr(0, 8);
        if (!onlyCsv && tag.extraData) text += ' ' + *tag.extraData;
        texts[tag.hash] = text;
    }
    std::string all;
    for (const auto& [hash, text] : texts) all += (all.empty() ? "" : " ") + text;
    return all;
}

}  // namespace

std::vector<FieldDifference> differencesOf(const RfidCard& before, const RfidCard& after, bool onlyCsv,
                                           const KeyMask& keys, const TimeText& times) {
    std::vector<FieldDifference> differences;
    const auto compare = [&differences](const char* field, const std::string& a, const std::string& b) {
        if (a != b) differences.push_back({field, a, b});
    };
    // A text may read "none" too.
    const auto compareText = [&differences](const char* field, const auto& a, const auto& b) {
        if (a != b) differences.push_back({field, orNone(a), orNone(b)});
    };
    compare("description", before.description, after.description);
    if (contentsOf(before, onlyCsv) != contentsOf(after, onlyCsv)) {
        differences.push_back({"tags", tagText(before, onlyCsv, keys), tagText(after, onlyCsv, keys)});
    }
    compare("status", statusName(before.status), statusName(after.status));
    compare("expiryDate", expiryOf(before, times), expiryOf(after, times));
    compareText("parentId", before.parentId, after.parentId);
    compare("evseId", numberOr(before.evseId, "any"), numberOr(after.evseId, "any"));
    if (onlyCsv) return differences;
    compareText("extraData", before.extraData, after.extraData);
    compare("recordLifetime", numberOr(before.recordLifetime, "none"), numberOr(after.recordLifetime, "none"));
    return differences;
}

}  // namespace oru::kadi::authlist::tool
