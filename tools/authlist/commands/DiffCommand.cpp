// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <ostream>
#include <unordered_map>
#include <utility>

#include "CardDifference.h"
#include "CardPrinter.h"
#include "CardQuery.h"
#include "ExchangeFile.h"
#include "FieldText.h"
#include "Numbers.h"
#include "commands/Commands.h"
#include "output/Json.h"
#include "storage/FileBytes.h"

namespace oru::kadi::authlist::tool {
namespace {

/// One of the two lists that are compared.
class Side {
public:
    Side() = default;
    Side(const Side&) = delete;
    Side& operator=(const Side&) = delete;
    virtual ~Side() = default;

    virtual void forEach(const std::function<void(const RfidCard&)>& visit) = 0;
    virtual std::optional<RfidCard> find(const std::string& hash) = 0;
    virtual bool isCsv() const { return false; }
};

/// A list in a database, read page by page.
class ListSide : public Side {
public:
    ListSide(std::unique_ptr<ListStorage> storage, const Session& session) : mList(std::move(storage), session) {}

    void forEach(const std::function<void(const RfidCard&)>& visit) override {
        forEachCard(mList.manager(), {}, visit);
    }
    std::optional<RfidCard> find(const std::string& hash) override {
        return mList.manager().retrieveRecord(hash, KeyRepresentation::Hash);
    }

private:
    OpenedList mList;
};

/// Cards in memory: an export, or a list that its store holds in memory anyway, and whose own lookup goes through all
/// of it.
class CardsSide : public Side {
public:
    CardsSide(std::vector<RfidCard> cards, bool isCsv) : mCards(std::move(cards)), mIsCsv(isCsv) {
        for (std::size_t i = 0; i < mCards.size(); ++i) {
            for (const RfidTag& tag : mCards[i].tags) mIndex.emplace(tag.hash, i);
        }
    }

    void forEach(const std::function<void(const RfidCard&)>& visit) override {
        std::for_each(mCards.begin(), mCards.end(), visit);
    }
    std::optional<RfidCard> find(const std::string& hash) override {
        const auto found = mIndex.find(hash);
        return found != mIndex.end() ? std::optional(mCards[found->second]) : std::nullopt;
    }
    bool isCsv() const override { return mIsCsv; }

private:
    std::vector<RfidCard> mCards;
    std::unordered_map<std::string, std::size_t> mIndex;
    bool mIsCsv;
};

std::unique_ptr<Side> sideOf(const std::string& file, const Session& session) {
    if (const auto type = formatFromName(file)) {
        return std::make_unique<CardsSide>(readExchangedList(readFile(file), *type, file).cards,
                                           *type == ExchangeDataType::CSV);
    }
    auto storage = existingList(file, session.options.store);
    if (storage->store() == Store::Sqlite) return std::make_unique<ListSide>(std::move(storage), session);
    return std::make_unique<CardsSide>(storage->open()->readAllRecords(), false);
}

struct Change {
    const char* sign;
    const char* word;
    Colour colour;
};

constexpr Change added{"+", "added", Colour::Green};
constexpr Change removed{"-", "removed", Colour::Red};
constexpr Change changed{"~", "changed", Colour::Yellow};

std::string textOf(const std::vector<FieldDifference>& differences) {
    std::string text;
    for (const FieldDifference& difference : differences) {
        text += (text.empty() ? "" : "; ") + difference.field + ": " + difference.before + " -> " + difference.after;
    }
    return text;
}

std::string jsonOf(const std::vector<FieldDifference>& differences) {
    std::string json;
    for (const FieldDifference& difference : differences) {
        json += (json.empty() ? "" : ",") + JsonObject()
                                                .text("field", difference.field)
                                                .text("before", difference.before)
                                                .text("after", difference.after)
                                                .str();
    }
    return '[' + json + ']';
}

/// Compares two sides and prints what it finds, a page at a time.
class Comparison {
public:
    Comparison(Side& before, Side& after, const Session& session)
        : mBefore(before),
          mAfter(after),
          mSession(session),
          mOnlyCsv(before.isCsv() || after.isCsv()),
          mOutput(session, columns(), {"change", "id", "keys", "description", "differences"}) {}

    bool run() {
        mBefore.forEach([this](const RfidCard& card) {
            if (isCompared(card) && !partner(card, mAfter)) print(removed, card, {});
        });
        mAfter.forEach([this](const RfidCard& card) {
            if (!isCompared(card)) return;
            const auto old = partner(card, mBefore);
            if (!old) return print(added, card, {});
            const auto differences = differencesOf(*old, card, mOnlyCsv, mSession.keys(), mSession.times());
            if (!differences.empty()) print(changed, card, differences);
        });
        flush();
        mOutput.finish("No differences.");
        return mCount == 0;
    }

private:
    static std::vector<Column> columns() {
        return {{.title = ""},
                {.title = "ID", .alignedRight = true},
                {.title = "KEYS", .mayShrink = true},
                {.title = "DESCRIPTION", .mayShrink = true},
                {.title = "DIFFERENCES", .mayShrink = true}};
    }

    // CSV does not carry the others.
    bool isCompared(const RfidCard& card) const {
        return !mOnlyCsv || std::any_of(card.tags.begin(), card.tags.end(), hasKey);
    }

    static std::optional<RfidCard> partner(const RfidCard& card, Side& side) {
        for (const RfidTag& tag : card.tags) {
            if (auto found = side.find(tag.hash)) return found;
        }
        return std::nullopt;
    }

    void print(const Change& change, const RfidCard& card, const std::vector<FieldDifference>& differences) {
        ++mCount;
        const CardPrinter printer(mSession);
        const std::string id = std::to_string(card.id.value_or(0));
        const std::string text = textOf(differences);
        mPage.push_back(
            {.cells = {{change.sign, change.colour}, {id}, {printer.keys(card)}, {card.description}, {text}},
             .json = JsonObject()
                         .text("change", change.word)
                         .json("card", printer.json(card))
                         .json("differences", jsonOf(differences))
                         .str(),
             .values = {change.word, id, printer.keys(card, '|'), card.description, text}});
        if (mPage.size() == 1000) flush();
    }

    void flush() {
        mOutput.print(mPage);
        mPage.clear();
    }

    Side& mBefore;
    Side& mAfter;
    const Session& mSession;
    bool mOnlyCsv;
    RecordsOutput mOutput;
    std::vector<RecordsOutput::Record> mPage;
    std::size_t mCount = 0;
};

struct DiffOptions {
    std::string before;
    std::optional<std::string> after;
};

ExitStatus diff(const Session& session, const DiffOptions& options) {
    if (!options.after && session.options.list.empty()) {
        throw ToolError(ExitStatus::Usage, "compared with what? give a second list, or --list FILE");
    }
    const auto before = sideOf(options.before, session);
    const auto after = sideOf(options.after.value_or(session.options.list), session);
    return Comparison(*before, *after, session).run() ? ExitStatus::Done : ExitStatus::No;
}

}  // namespace

void addDiffCommand(CommandLine& line) {
    const auto options = std::make_shared<DiffOptions>();
    CLI::App& command = line.add("diff", "What a second list adds (+), changes (~) and removes (-)",
                                 "diff old.db new.db\n"
                                 "diff yesterday.json site.db",
                                 [options](const Session& session) { return diff(session, *options); });
    command.add_option("A", options->before, "A list, or an export (.json, .csv)")->required();
    command.add_option("B", options->after, "The second one; without it the list of --list");
}

}  // namespace oru::kadi::authlist::tool
