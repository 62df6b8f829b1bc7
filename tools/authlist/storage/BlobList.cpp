// SPDX-License-Identifier: Apache-2.0
#include "storage/BlobList.h"

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <sstream>
#include <typeindex>

#include "Outcome.h"
#include "authlist/db/filestorage/FileDbAccessor.h"
#include "authlist/db/filestorage/RecordsBlob.h"
#include "oru/common/fs/CachedFileManager.h"
#include "storage/FileBytes.h"

namespace oru::kadi::authlist::tool {
namespace {

namespace fs = std::filesystem;
using common::fs::CachedFileManager;
using common::stream::StreamableHandler;
using db::filestorage::RecordsBlob;

constexpr unsigned largestCount = 65535;      // the file counts its records with 16 bits
constexpr std::chrono::hours untilClosed{1};  // what a command changes is written once, when it closes the list

std::string bytesOf(const RecordsBlob& blob) {
    std::ostringstream out;
    blob.serialize(out);
    return std::move(out).str();
}

// What is wrong with bytes as a whole; empty when they are a list to the last byte. Reads them into blob.
std::string defectOf(const std::string& bytes, RecordsBlob& blob) {
    if (bytes.empty()) return {};
    if (bytes.front() != '\1') return "it does not begin as a list does";
    std::istringstream in(bytes);
    try {
        blob.deserialize(in);
    } catch (const std::exception& error) {
        return error.what();
    }
    const std::string own = bytesOf(blob);
    if (own == bytes) return {};
    if (!bytes.starts_with(own)) return "it is not what it would be written as";
    return std::to_string(bytes.size() - own.size()) + " bytes follow the last record";
}

unsigned largestIdOf(const std::vector<RfidCard>& cards) {
    unsigned largest = 0;
    for (const RfidCard& card : cards) largest = std::max(largest, card.id.value_or(0));
    return largest;
}

// Ids for those without: beyond all others, because the file does not say which were handed out.
void fill(RecordsBlob& blob, const std::vector<RfidCard>& cards, std::optional<unsigned> version) {
    unsigned id = largestIdOf(cards);
    auto& records = blob.getRecords();
    records.assign(cards.begin(), cards.end());
    for (RfidCard& card : records) {
        if (!card.id) card.id = ++id;
    }
    if (version) blob.setVersion(*version);
}

}  // namespace

unsigned BlobList::capacity() const { return largestCount; }

void BlobList::requireList() const {
    if (!fs::exists(path())) return;
    RecordsBlob blob;
    const std::string defect = defectOf(readFile(path()), blob);
    if (defect.empty()) return;
    throw ToolError(ExitStatus::Storage,
                    path() + ": is no authorization list, or a damaged one: " + defect + "; \"check\" tells more");
}

void BlobList::rememberOwner() const {
    struct stat status {};
    if (::stat(path().c_str(), &status) == 0) mOwner = Owner{status.st_uid, status.st_gid, status.st_mode & 07777U};
}

std::unique_ptr<IDbAccessor> BlobList::open() const {
    requireList();
    rememberOwner();
    return std::make_unique<db::filestorage::FileDbAccessor>(path(), untilClosed);
}

// A technician who works as root must not lock the controller out.
void BlobList::keepOwner() const {
    struct stat status {};
    if (!mOwner || ::stat(path().c_str(), &status) != 0) return;
    const bool isOwn = status.st_uid == mOwner->user && status.st_gid == mOwner->group;
    if (!isOwn && ::chown(path().c_str(), mOwner->user, mOwner->group) != 0) {
        throw ToolError(ExitStatus::Storage, path() +
                                                 ": is changed, but belongs to another user now, because the file "
                                                 "cannot be given back; use chown");
    }
    if ((status.st_mode & 07777U) != mOwner->mode) ::chmod(path().c_str(), mOwner->mode);
}

void BlobList::replaceAll(const std::vector<RfidCard>& cards, std::optional<unsigned> version,
                          const ReportProgress& report) const {
    requireList();
    rememberOwner();
    std::string expected;
    {
        CachedFileManager files;
        files.add(std::make_unique<RecordsBlob>(), path(), {.delay = untilClosed, .backupSuffix = std::nullopt});
        report(0);
        StreamableHandler& handler = files.getHandler(typeid(RecordsBlob));
        StreamableHandler::LockedStreamable locked(handler.mutex(), handler.cachedStreamable());
        auto& blob = dynamic_cast<RecordsBlob&>(locked.get());
        fill(blob, cards, version);
        expected = bytesOf(blob);
    }
    keepOwner();
    // The library tells nobody when it cannot write.
    if (!fs::exists(path()) || readFile(path()) != expected) {
        throw ToolError(ExitStatus::Storage,
                        path() + ": cannot be written (is there room, may the folder be written?)");
    }
}

void BlobList::backUp(const std::string& target) const {
    requireList();
    struct stat status {};
    if (::stat(path().c_str(), &status) != 0) status.st_mode = 0600;
    createFile(target, readFile(path()), status.st_mode & 07777U);
    flushFile(target);
}

std::vector<Finding> BlobList::inspect(const std::function<void(const RfidCard&)>& visit) const {
    RecordsBlob blob;
    std::vector<Finding> findings;
    const std::string defect = defectOf(readFile(path()), blob);
    if (!defect.empty()) findings.push_back({std::nullopt, "the file is damaged, or no list: " + defect});
    for (const RfidCard& card : blob.getRecords()) visit(card);
    return findings;
}

}  // namespace oru::kadi::authlist::tool
