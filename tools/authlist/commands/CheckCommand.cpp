// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <ostream>
#include <stdexcept>
#include <unordered_map>
#include <unordered_set>

#include "FieldText.h"
#include "Numbers.h"
#include "authlist/KeyHash.h"
#include "commands/Commands.h"
#include "oru/common/lwjson/Deserializer.h"
#include "output/DisplayText.h"
#include "output/Json.h"
#include "output/RecordsOutput.h"

namespace oru::kadi::authlist::tool {
namespace {

bool isJsonObject(const std::string& text) {
    common::lwjson::Deserializer json(common::lwjson::Options::Strict);
    try {
        json.importJson(text);
        return json.isObject();
    } catch (const std::runtime_error&) {
        return false;
    }
}

bool isLowerCaseHash(const std::string& hash) {
    return isValidHashString(hash) && hash.find_first_of("ABCDEF") == std::string::npos;
}

/// Takes the records of a list one by one and collects what is wrong with them.
class RecordCheck {
public:
    explicit RecordCheck(const KeyMask& keys) : mKeys(keys) {}

    void take(const RfidCard& card) {
        ++mCount;
        const unsigned id = card.id.value_or(0);
        if (!mIds.insert(id).second) report(id, "another record has the same id");
        if (statusName(card.status).starts_with("status "))
            report(id, "its " + statusName(card.status) + " does not exist");
        if (card.tags.empty()) report(id, "has neither a key nor a hash, so no card finds it");
        if (card.extraData && !isJsonObject(*card.extraData)) {
            report(id, "its extra data is no JSON object, so the list cannot be exchanged as JSON");
        }
        for (const RfidTag& tag : card.tags) takeTag(tag, id);
    }

    std::size_t count() const { return mCount; }
    const std::vector<Finding>& findings() const { return mFindings; }

private:
    void takeTag(const RfidTag& tag, unsigned id) {
        const auto [first, isNew] = mHashes.insert({tag.hash, id});
        if (!isNew) report(id, "its hash " + tag.hash + " is also that of record " + std::to_string(first->second));
        if (!isLowerCaseHash(tag.hash)) {
            report(id,
                   "its hash \"" + tag.hash + "\" is not 64 hexadecimal digits in lower case, so no key matches it");
        } else if (tag.hash == hashKey("")) {
            report(id, "has an empty key");
        } else if (hasKey(tag) && hashKey(*tag.key) != tag.hash) {
            report(id, "the hash of its key " + mKeys(*tag.key) + " is another one, so the key does not find it");
        }
        if (tag.extraData && !isJsonObject(*tag.extraData)) {
            report(id, "the extra data of a tag is no JSON object, so the list cannot be exchanged as JSON");
        }
    }

    void report(unsigned id, const std::string& text) { mFindings.push_back({id, text}); }

    KeyMask mKeys;
    std::size_t mCount = 0;
    std::unordered_set<unsigned> mIds;
    std::unordered_map<std::string, unsigned> mHashes;
    std::vector<Finding> mFindings;
};

void print(const std::vector<Finding>& findings, std::size_t count, const Session& session) {
    std::ostream& out = session.out();
    const auto idOf = [](const Finding& finding) { return finding.recordId ? std::to_string(*finding.recordId) : ""; };
    if (session.options.output == OutputFormat::Json) {
        std::string list;
        for (const Finding& finding : findings) {
            list += (list.empty() ? "" : ",") +
                    JsonObject().number("id", finding.recordId).text("text", finding.text).str();
        }
        out << session.data(JsonObject()
                                .boolean("sound", findings.empty())
                                .number("cards", count)
                                .json("findings", '[' + list + ']')
                                .str())
            << '\n';
    } else if (session.options.output == OutputFormat::Csv) {
        out << "id,finding\n";
        for (const Finding& finding : findings) out << session.data(csvLine({idOf(finding), finding.text})) << '\n';
    } else {
        for (const Finding& finding : findings) {
            out << (finding.recordId ? "Record " + idOf(finding) + ": " : "List: ") << printable(finding.text) << '\n';
        }
        out << withThousands(count) << " cards read; "
            << (findings.empty() ? "the list is sound."
                                 : withThousands(findings.size()) + (findings.size() == 1 ? " finding." : " findings."))
            << '\n';
        if (!findings.empty()) {
            out << "To restore a list, move its file away (and -journal, -wal, -shm beside it) and import an export, "
                   "or "
                   "put a backup in its place.\n";
        }
    }
}

ExitStatus check(const Session& session) {
    const auto storage = session.list();
    RecordCheck records(session.keys());
    auto findings = storage->inspect([&records](const RfidCard& card) { records.take(card); });
    findings.insert(findings.end(), records.findings().begin(), records.findings().end());
    print(findings, records.count(), session);
    return findings.empty() ? ExitStatus::Done : ExitStatus::No;
}

}  // namespace

void addCheckCommand(CommandLine& line) {
    line.add("check", "Reads every record and reports what is damaged; changes nothing", "-l site.db check", check);
}

}  // namespace oru::kadi::authlist::tool
