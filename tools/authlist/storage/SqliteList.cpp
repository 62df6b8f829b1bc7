// SPDX-License-Identifier: Apache-2.0
#include "storage/SqliteList.h"

#include <filesystem>
#include <stdexcept>

#include "Outcome.h"
#include "authlist/Timestamp.h"
#include "authlist/db/sqlite/SqlStatementBuilder.h"
#include "authlist/db/sqlite/SqliteConnector.h"
#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "storage/FileBytes.h"

namespace oru::kadi::authlist::tool {
namespace {

namespace fs = std::filesystem;
using db::sqlite::DbTableType;
using db::sqlite::SqliteConnector;
using db::sqlite::SqliteStatement;
using db::sqlite::SqlRow;
using db::sqlite::SqlRows;
using db::sqlite::SqlStatementBuilder;

constexpr std::size_t pageBytes = 4096;

SqlRows query(const SqlStatementBuilder& builder, const std::string& sql) {
    return builder.unpackFields(builder.prepareStatement(sql, {}));
}

std::string textOf(const SqlRow& row, std::size_t column) {
    if (const auto* const text = std::get_if<std::string>(&row.at(column))) return *text;
    if (const auto* const number = std::get_if<int>(&row.at(column))) return std::to_string(*number);
    return {};
}

std::string plainName(const std::string& path) { return path.starts_with('/') ? path : "./" + path; }

void run(const SqlStatementBuilder& builder, const SqliteStatement& statement) { builder.anyRowReturned(statement); }

void insert(const SqlStatementBuilder& builder, const RfidCard& card) {
    run(builder, builder.getCreateRfidCardStatement(card));
    const unsigned id = card.id ? *card.id : static_cast<unsigned>(builder.getIdFromLastAddedCard());
    for (const RfidTag& tag : card.tags) run(builder, builder.getCreateRfidTagStatement(tag, id));
}

void update(const SqlStatementBuilder& builder, const RfidCard& card) {
    const unsigned id = card.id.value();
    run(builder, builder.getUpdateRfidCardStatement(card));
    run(builder, builder.getDeleteTagRecordsByCardIdStatement(id));
    for (const RfidTag& tag : card.tags) run(builder, builder.getCreateRfidTagStatement(tag, id));
}

void inTransaction(const SqlStatementBuilder& builder, const std::function<void()>& work) {
    builder.beginTransaction();
    try {
        work();
        builder.commitTransaction();
    } catch (...) {
        try {
            builder.rollbackTransaction();
        } catch (const std::exception&) {  // after some failures, such as a full disk, SQLite has done it already
        }
        throw;
    }
}

/// Removes a database that was made for nothing.
class NewFile {
public:
    explicit NewFile(const std::string& path) : mPath(path), mIsNew(!fs::exists(path)) {}
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile() {
        std::error_code ignored;
        if (mIsNew) fs::remove(mPath, ignored);
    }
    void keep() { mIsNew = false; }

private:
    std::string mPath;
    bool mIsNew;
};

// In use by another program, or not to be written.
bool isNoDamage(std::string_view message) {
    return message.find("database is locked") != std::string_view::npos ||
           message.find("readonly database") != std::string_view::npos ||
           message.find("unable to open") != std::string_view::npos;
}

bool isEmpty(const SqlStatementBuilder& builder) {
    return textOf(query(builder, "SELECT COUNT(*) FROM sqlite_master").front(), 0) == "0";
}

void inspectDatabase(const SqlStatementBuilder& builder, std::vector<Finding>& findings) {
    for (const SqlRow& row : query(builder, "PRAGMA integrity_check")) {
        if (textOf(row, 0) != "ok") findings.push_back({std::nullopt, "the database is damaged: " + textOf(row, 0)});
    }
    for (const SqlRow& row : query(builder,
                                   "SELECT id, hash FROM rfid_tag WHERE rfid_card NOT IN "
                                   "(SELECT id FROM rfid_card)")) {
        findings.push_back({std::nullopt, "the tag with the hash " + textOf(row, 1) + " belongs to no card"});
    }
    for (const SqlRow& row : query(builder, "SELECT COUNT(*) FROM metadata")) {
        if (textOf(row, 0) != "0" && textOf(row, 0) != "1") {
            findings.push_back({std::nullopt, "the list has " + textOf(row, 0) + " versions"});
        }
    }
}

void inspectRecord(const SqlStatementBuilder& builder, const SqlRow& row, std::vector<Finding>& findings,
                   const std::function<void(const RfidCard&)>& visit) {
    const auto id = static_cast<unsigned>(std::get<int>(row.at(0)));
    try {
        const auto cards = builder.retrieveRfidCards(builder.getRecordById(id));
        for (const RfidCard& card : cards) visit(card);
        if (cards.empty()) findings.push_back({id, "has an id that no lookup finds"});
    } catch (const std::exception& error) {
        findings.push_back({id, "cannot be read: " + reasonOf(error)});
    }
    const std::string expiry = textOf(row, 1);
    if (!expiry.empty() && !stringToTimestamp(expiry)) {
        findings.push_back({id, "the expiry date \"" + expiry + "\" is no time, so the card never expires"});
    }
}

}  // namespace

bool SqliteList::recognises(std::string_view begin) {
    constexpr std::string_view magic("SQLite format 3\0", recognisedBytes);
    return begin == magic;
}

unsigned SqliteList::capacity() const { return largestId; }

std::string SqliteList::databaseName() const { return plainName(path()); }

void SqliteList::requireList() const {
    if (!fs::exists(path())) return;
    // Nearly always the first page names the tables; opening a large list once more would take long.
    const std::string begin = readFileBegin(path(), pageBytes);
    if (begin.empty() ||
        (begin.find("\"rfid_card\"") != std::string::npos && begin.find("\"rfid_tag\"") != std::string::npos)) {
        return;
    }
    const SqlStatementBuilder builder(std::make_shared<SqliteConnector>(databaseName()));
    const auto tables = query(builder,
                              "SELECT SUM(name IN ('metadata', 'rfid_card', 'rfid_tag')), COUNT(*) "
                              "FROM sqlite_master WHERE type = 'table'");
    if (textOf(tables.front(), 0) == "3" || textOf(tables.front(), 1) == "0") return;
    throw ToolError(ExitStatus::Storage, path() + ": is a SQLite database, but no authorization list");
}

std::unique_ptr<IDbAccessor> SqliteList::open() const {
    requireList();
    return std::make_unique<db::sqlite::SqliteDbAccessor>(databaseName());
}

void SqliteList::replaceAll(const std::vector<RfidCard>& cards, std::optional<unsigned> version,
                            const ReportProgress& report) const {
    requireList();
    NewFile file(path());
    {
        const SqlStatementBuilder builder(std::make_shared<SqliteConnector>(databaseName()));
        builder.createTables({DbTableType::Metadata, DbTableType::RfidCard, DbTableType::RfidTag});
        builder.createTagIndex();
        inTransaction(builder, [&] {
            run(builder, builder.getDeleteAllCardsStatement());
            std::size_t written = 0;
            for (const RfidCard& card : cards) {
                insert(builder, card);
                report(++written);
            }
            if (version) run(builder, builder.getUpdateVersionStatement(*version));
        });
    }
    file.keep();
}

void SqliteList::changeAll(const std::vector<RfidCard>& updated, const std::vector<unsigned>& removed,
                           const ReportProgress& report) const {
    const SqlStatementBuilder builder(std::make_shared<SqliteConnector>(databaseName()));
    inTransaction(builder, [&] {
        std::size_t written = 0;
        for (const RfidCard& card : updated) {
            update(builder, card);
            report(++written);
        }
        for (const unsigned id : removed) {
            run(builder, builder.getDeleteRecordByIdStatement(id));
            report(++written);
        }
    });
}

void SqliteList::backUp(const std::string& target) const {
    requireList();
    createFile(target, {}, modeOf(path()));  // before there are keys in it that others must not read
    try {
        const SqlStatementBuilder builder(std::make_shared<SqliteConnector>(databaseName()));
        run(builder, builder.prepareStatement("VACUUM INTO ?", {plainName(target)}));
        flushFile(target);
    } catch (...) {
        fs::remove(target);
        throw;
    }
}

std::vector<Finding> SqliteList::inspect(const std::function<void(const RfidCard&)>& visit) const {
    requireList();
    std::vector<Finding> findings;
    try {
        const SqlStatementBuilder builder(std::make_shared<SqliteConnector>(databaseName()));
        if (isEmpty(builder)) return {{std::nullopt, emptyFile}};
        inspectDatabase(builder, findings);
        for (const SqlRow& row : query(builder, "SELECT id, expiry_date FROM rfid_card ORDER BY id")) {
            inspectRecord(builder, row, findings, visit);
        }
    } catch (const std::exception& error) {
        if (isNoDamage(error.what())) throw;
        findings.push_back({std::nullopt, "the database cannot be read: " + reasonOf(error)});
    }
    return findings;
}

std::string SqliteList::journalMode() const {
    requireList();
    const SqlStatementBuilder builder(std::make_shared<SqliteConnector>(databaseName()));
    return textOf(query(builder, "PRAGMA journal_mode").front(), 0);
}

std::string SqliteList::setJournalMode(const std::string& mode) const {
    requireList();
    const SqlStatementBuilder builder(std::make_shared<SqliteConnector>(databaseName()));
    return textOf(query(builder, "PRAGMA journal_mode = " + mode).front(), 0);
}

}  // namespace oru::kadi::authlist::tool
