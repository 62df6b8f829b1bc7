// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <limits>
#include <memory>
#include <ostream>
#include <stdexcept>

#include "ExchangeFile.h"
#include "FieldText.h"
#include "Interruption.h"
#include "Numbers.h"
#include "authlist/Timestamp.h"
#include "commands/Commands.h"
#include "output/Progress.h"
#include "storage/FileBytes.h"
#include "storage/SqliteList.h"

namespace oru::kadi::authlist::tool {
namespace {

namespace fs = std::filesystem;

CLI::Option* addFormatOption(CLI::App& command, std::optional<std::string>& format) {
    return command.add_option("--format", format, "csv or json; otherwise taken from the file's extension")
        ->check(CLI::IsMember({"csv", "json"}))
        ->type_name("FORMAT");
}

void replaceAll(const ListStorage& storage, const std::vector<RfidCard>& cards, std::optional<unsigned> version,
                const char* title, const Session& session) {
    const Interruption interruption;
    Progress progress(session.err(), session.errTerminal(), title, cards.size());
    storage.replaceAll(cards, version, [&progress](std::size_t done) {
        Interruption::throwIfRequested();
        progress.advanceTo(done);
    });
}

// import

struct ImportOptions {
    std::string file;
    std::optional<std::string> format;
    bool isDryRun = false;
    bool keepsBackup = false;
    bool takesVersion = false;
};

std::string nameOfInput(const std::string& file) { return file == "-" ? "standard input" : file; }

std::string stateOf(const ListStorage& storage, const Session& session) {
    try {
        if (!fs::exists(storage.path())) return "; there is no list " + storage.path() + " yet";
        OpenedList list(newList(storage.path(), storage.store()), session);
        return "; " + storage.path() + " is unchanged and holds " + cardsText(list.manager().countRecords());
    } catch (const std::exception&) {
        return {};
    }
}

void backUp(const ListStorage& storage, const Session& session) {
    if (!fs::exists(storage.path())) return;
    std::string time = timestampToString(std::chrono::system_clock::now()).value();
    std::erase_if(time, [](char c) { return c == '-' || c == ':'; });
    const std::string target = storage.path() + ".backup-" + time;
    if (fs::exists(target)) throw ToolError(ExitStatus::Storage, target + ": exists already; nothing was imported");
    storage.backUp(target);
    session.note("the old list is kept as " + target);
}

ExitStatus reportOnly(const ExchangedList& imported, const ImportOptions& options, const Session& session) {
    std::size_t tags = 0;
    for (const RfidCard& card : imported.cards) tags += card.tags.size();
    session.say(nameOfInput(options.file) + ": " + cardsText(imported.cards.size()) + " with " + withThousands(tags) +
                " tags" + (imported.version ? ", list version " + std::to_string(*imported.version) : "") +
                "; nothing was stored.");
    return ExitStatus::Done;
}

void noteVersion(const ExchangedList& imported, const ImportOptions& options, OpenedList& list,
                 const Session& session) {
    const auto version = list.manager().getVersion();
    if (options.takesVersion || !imported.version || imported.version == version) return;
    session.note("the list " + (version ? "keeps the version " + std::to_string(*version) : "has no version") +
                 "; the text has " + std::to_string(*imported.version) + " (--take-version takes it)");
}

void requireText(const std::string& file) {
    if (file == "-" || !fs::is_regular_file(file)) return;
    if (!SqliteList::recognises(readFileBegin(file, SqliteList::recognisedBytes))) return;
    throw ToolError(ExitStatus::Refused,
                    file + ": is a list, not a text; copy makes another list of it, export a text");
}

ExitStatus import(const Session& session, const ImportOptions& options) {
    requireText(options.file);
    const ExchangeDataType type = formatOf(nameOfInput(options.file), options.format);
    const std::unique_ptr<ListStorage> storage =
        options.isDryRun && session.options.list.empty() ? nullptr : session.listOrNew();
    ExchangedList imported;
    try {
        imported = readExchangedList(readInput(options.file), type, nameOfInput(options.file));
        const unsigned capacity = storage ? storage->capacity() : std::numeric_limits<unsigned>::max();
        requireStorable(imported.cards, capacity, nameOfInput(options.file), session.keys());
        if (options.takesVersion && !imported.version) {
            throw ToolError(ExitStatus::Refused,
                            nameOfInput(options.file) + ": --take-version: it has no list version");
        }
        if (options.isDryRun) return reportOnly(imported, options, session);
        if (options.keepsBackup) backUp(*storage, session);
        replaceAll(*storage, imported.cards, options.takesVersion ? imported.version : std::nullopt, "Importing",
                   session);
    } catch (const ToolError& error) {
        throw ToolError(error.status(), error.what() + (storage ? stateOf(*storage, session) : ""));
    } catch (const std::exception& error) {
        throw ToolError(ExitStatus::Storage,
                        session.options.list + ": " + reasonOf(error) + (storage ? stateOf(*storage, session) : ""));
    }
    const bool isNew = storage->isNew();
    OpenedList list(session.list(), session);
    session.say("Imported " + cardsText(list.manager().countRecords()) + " into " +
                (isNew ? "the new " + std::string(nameOf(list.storage().store())) + " " : "") + list.path() + ".");
    noteVersion(imported, options, list, session);
    return ExitStatus::Done;
}

// export

struct ExportOptions {
    std::string file = "-";
    std::optional<std::string> format;
};

void requireOther(const std::string& file, const std::string& list) {
    std::error_code ignored;
    if (fs::equivalent(file, list, ignored)) {
        throw ToolError(ExitStatus::Storage, file + ": is the list itself; export to another file");
    }
}

bool isInCsv(const RfidCard& card) {
    return std::any_of(card.tags.begin(), card.tags.end(), [](const RfidTag& tag) { return tag.key.has_value(); });
}

void noteWhatCsvLeavesOut(const std::vector<RfidCard>& cards, std::size_t written, const Session& session) {
    std::size_t tags = 0;
    for (const RfidCard& card : cards)
        tags += card.tags.size() - static_cast<std::size_t>(std::count_if(card.tags.begin(), card.tags.end(), hasKey));
    if (tags == 0) return;
    session.note(withThousands(tags) + (tags == 1 ? " tag" : " tags") + " without plain key left out, and so " +
                 cardsText(cards.size() - written) + "; JSON carries all");
}

// A backup should not turn out to be useless on the day when it is needed.
void noteWhatImportRefuses(const std::vector<RfidCard>& cards, const OpenedList& list, const Session& session) {
    try {
        requireStorable(cards, list.storage().capacity(), list.path(), session.keys());
    } catch (const ToolError& error) {
        session.note(std::string(error.what()) + ", so an import refuses what was exported; see check");
    }
}

ExitStatus exportList(const Session& session, const ExportOptions& options) {
    const bool isToOutput = options.file == "-";
    const ExchangeDataType type =
        isToOutput && !options.format ? ExchangeDataType::JSON : formatOf(options.file, options.format);
    OpenedList list(session.list(), session);
    const auto cards = list.accessor().readAllRecords();
    std::string text;
    try {
        text = list.manager().buildStringFromDatabase(cards, type);
    } catch (const std::invalid_argument& error) {
        throw ToolError(ExitStatus::Refused, list.path() + ": " + error.what());
    }
    bool isReplaced = false;
    if (isToOutput) {
        session.out() << text << (text.ends_with('\n') ? "" : "\n");
    } else {
        requireOther(options.file, list.path());
        isReplaced = fs::exists(options.file);
        replaceFile(options.file, text, modeOf(list.path()));
    }
    const bool isCsv = type == ExchangeDataType::CSV;
    const auto written =
        isCsv ? static_cast<std::size_t>(std::count_if(cards.begin(), cards.end(), isInCsv)) : cards.size();
    if (isCsv) noteWhatCsvLeavesOut(cards, written, session);
    noteWhatImportRefuses(cards, list, session);
    if (!isToOutput) {
        session.say("Exported " + cardsText(written) + " to " + options.file +
                    (isReplaced ? ", replacing what was there." : "."));
    }
    return ExitStatus::Done;
}

// copy

struct CopyOptions {
    std::string file;
    Store store = Store::Sqlite;
};

ExitStatus copy(const Session& session, const CopyOptions& options) {
    std::error_code ignored;
    if (fs::exists(fs::symlink_status(options.file, ignored))) {
        throw ToolError(ExitStatus::Storage, options.file + ": exists already; copy makes a new list");
    }
    OpenedList list(session.list(), session);
    const auto cards = list.accessor().readAllRecords();
    const auto target = newList(options.file, options.store);
    requireStorable(cards, target->capacity(), list.path(), session.keys());
    createFile(options.file, {}, modeOf(list.path()));  // before there are keys in it that others must not read
    try {
        replaceAll(*target, cards, list.manager().getVersion(), "Copying", session);
    } catch (const std::exception& error) {
        fs::remove(options.file, ignored);
        const auto* const toolError = dynamic_cast<const ToolError*>(&error);
        const std::string reason = reasonOf(error);
        throw ToolError(toolError != nullptr ? toolError->status() : ExitStatus::Storage,
                        (reason.starts_with(options.file) ? "" : options.file + ": ") + reason + "; no copy was made");
    }
    session.say("Copied " + cardsText(cards.size()) + " to " + options.file + ", a " + nameOf(options.store) + ".");
    return ExitStatus::Done;
}

}  // namespace

void addExchangeCommands(CommandLine& line) {
    const auto imported = std::make_shared<ImportOptions>();
    CLI::App& import_ = line.add("import", "Replaces all cards by those of a CSV or JSON text, wholly or not at all",
                                 "-l site.db import site.csv --dry-run\n"
                                 "-l site.db import site.json --keep-backup --take-version\n"
                                 "-l site.blob --store file import - --format json < site.json",
                                 [imported](const Session& session) { return import(session, *imported); });
    import_.add_option("FILE", imported->file, "The text; - is standard input")->required();
    addFormatOption(import_, imported->format);
    import_.add_flag("--dry-run", imported->isDryRun, "Only read the text and report; store nothing");
    import_.add_flag("--keep-backup", imported->keepsBackup, "Keep the old list beside it, as LIST.backup-TIME");
    import_.add_flag("--take-version", imported->takesVersion,
                     "Take the list version from the JSON text too, which must have one");

    const auto exported = std::make_shared<ExportOptions>();
    CLI::App& export_ = line.add("export", "Writes all cards as CSV or JSON, plain keys included",
                                 "-l site.db export site.json\n"
                                 "-l site.db export --format csv | less",
                                 [exported](const Session& session) { return exportList(session, *exported); });
    export_.add_option("FILE", exported->file, "Where to; without it, or with -, standard output");
    addFormatOption(export_, exported->format);

    const auto copied = std::make_shared<CopyOptions>();
    CLI::App& copy_ = line.add("copy", "Writes everything that is stored to a new list",
                               "-l site.db copy /media/usb/site.db\n"
                               "-l site.blob copy site.db\n"
                               "-l site.db copy site.blob --to file",
                               [copied](const Session& session) { return copy(session, *copied); });
    copy_.add_option("FILE", copied->file, "The new list")->required();
    copy_
        .add_option_function<std::string>(
            "--to", [copied](const std::string& text) { copied->store = text == "file" ? Store::File : Store::Sqlite; },
            "Kind of the new list: sqlite (unless told otherwise) or file")
        ->check(CLI::IsMember({"sqlite", "file"}).description(""))
        ->type_name("STORE");
}

}  // namespace oru::kadi::authlist::tool
