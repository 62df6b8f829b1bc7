// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>

#include "Numbers.h"
#include "authlist/KeyHash.h"
#include "commands/Commands.h"
#include "storage/SqliteList.h"

namespace oru::kadi::authlist::tool {
namespace {

// version

ExitStatus showVersion(const Session& session) {
    OpenedList list(session.list(), session);
    const auto version = list.manager().getVersion();
    session.out() << (version ? std::to_string(*version) : "none") << '\n';
    return ExitStatus::Done;
}

ExitStatus setVersion(const Session& session, const std::string& text) {
    const unsigned version = readNumber(text, "N");
    OpenedList list(session.listOrNew(), session);
    list.manager().setVersion(version);
    list.settle();
    if (list.manager().getVersion() != version) {
        throw ToolError(ExitStatus::Storage, list.path() + ": the version" + notStored);
    }
    session.out() << "The list version is " << version << ".\n";
    return ExitStatus::Done;
}

// hash

ExitStatus hash(const Session& session, const std::vector<std::string>& keys) {
    for (const std::string& key : keys) {
        if (key.empty()) throw ToolError(ExitStatus::Usage, "KEY: a key must not be empty");
    }
    for (const std::string& key : keys) session.out() << hashKey(key) << '\n';
    return ExitStatus::Done;
}

// tune

void describe(const std::string& mode, const Session& session) {
    session.out() << "Journal mode: " << mode << '\n';
    if (mode == "wal") {
        session.out() << "A change is appended to a log, which takes one flush of the disk instead of about four, and "
                         "no longer waits for readers.\nWhile a program has the list open, two more files stand beside "
                         "it, with its name and -wal or -shm behind it.\nThey belong to the list: take it elsewhere "
                         "with copy or export only.\n";
    } else {
        session.out() << "A change is written to a journal and flushed before the list is touched; the journal goes "
                         "afterwards.\nThe list is one file whenever nobody writes. --write-ahead-log on makes changes "
                         "cheaper.\n";
    }
}

ExitStatus tune(const Session& session, const std::optional<std::string>& wanted) {
    const auto storage = session.list();
    const auto* const database = dynamic_cast<const SqliteList*>(storage.get());
    if (database == nullptr) {
        storage->open();  // says so when it is no list at all
        throw ToolError(ExitStatus::Usage, storage->path() + ": a file of the file store has nothing to tune");
    }
    const std::string before = database->journalMode();
    const std::string mode = !wanted ? before : database->setJournalMode(*wanted == "on" ? "wal" : "delete");
    if (wanted && (mode == "wal") != (*wanted == "on")) {
        throw ToolError(ExitStatus::Storage,
                        storage->path() + ": the journal mode stays " + mode + " (is the list read-only or in use?)");
    }
    if (mode != before) session.out() << "Changed from " << before << " to " << mode << ".\n";
    describe(mode, session);
    return ExitStatus::Done;
}

}  // namespace

void addSmallCommands(CommandLine& line) {
    const auto version = std::make_shared<std::optional<std::string>>();
    line.add("version", "Prints the list version, or sets it", "-l site.db version\n-l site.db version 43",
             [version](const Session& session) {
                 return *version ? setVersion(session, **version) : showVersion(session);
             })
        .add_option("N", *version, "The new version");

    const auto keys = std::make_shared<std::vector<std::string>>();
    line.add("hash", "The hash of each key, as lists without plain keys hold it", "hash 04A2B3C4",
             [keys](const Session& session) { return hash(session, *keys); })
        .add_option("KEY", *keys, "Plain keys")
        ->required();

    const auto isLogWanted = std::make_shared<std::optional<std::string>>();
    line.add("tune", "Shows or changes the journal mode of a SQLite list",
             "-l site.db tune\n-l site.db tune --write-ahead-log on",
             [isLogWanted](const Session& session) { return tune(session, *isLogWanted); })
        .add_option("--write-ahead-log", *isLogWanted, "on or off")
        ->check(CLI::IsMember({"on", "off"}))
        ->type_name("on|off");
}

}  // namespace oru::kadi::authlist::tool
