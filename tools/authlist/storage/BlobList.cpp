// SPDX-License-Identifier: Apache-2.0
#include "storage/BlobList.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <sstream>
#include <typeindex>
#include <unordered_map>
#include <unordered_set>

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
    if (!mOwner || !fs::exists(path())) return;
    // Only the group may be refused, which its owner need not belong to; reserve sees to the user.
    if (::chown(path().c_str(), mOwner->user, mOwner->group) != 0) errno = 0;
    ::chmod(path().c_str(), mOwner->mode);
}

BlobList::~BlobList() {
    if (mReserved >= 0) ::close(mReserved);
}

// The lock is on the file that is there now. When it is replaced the lock is on no list any more, and need not be: by
// then all is written.
void BlobList::reserve() const {
    struct stat status {};
    if (mReserved >= 0 || ::stat(path().c_str(), &status) != 0) return;
    if (::geteuid() != 0 && ::geteuid() != status.st_uid) {
        throw ToolError(ExitStatus::Storage, path() +
                                                 ": belongs to another user, who could not read it any more if you "
                                                 "changed it; work as that user or as root");
    }
    mReserved = ::open(path().c_str(), O_RDONLY | O_CLOEXEC);
    if (mReserved >= 0 && ::flock(mReserved, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        throw ToolError(ExitStatus::Storage, path() + ": another authlist is changing the list; try again");
    }
}

void BlobList::rewrite(const std::function<void(RecordsBlob&)>& change) const {
    requireList();
    reserve();
    rememberOwner();
    RecordsBlob changed;
    if (fs::exists(path())) defectOf(readFile(path()), changed);
    change(changed);
    const std::string bytes = bytesOf(changed);
    RecordsBlob readBack;
    if (!defectOf(bytes, readBack).empty()) {
        throw ToolError(ExitStatus::Refused, path() + ": a file of the file store cannot hold these cards");
    }
    {
        CachedFileManager files;
        files.add(std::make_unique<RecordsBlob>(), path(), {.delay = untilClosed, .backupSuffix = std::nullopt});
        StreamableHandler& handler = files.getHandler(typeid(RecordsBlob));
        StreamableHandler::LockedStreamable locked(handler.mutex(), handler.cachedStreamable());
        auto& blob = dynamic_cast<RecordsBlob&>(locked.get());
        blob.getRecords().swap(changed.getRecords());
        if (changed.getVersion()) blob.setVersion(*changed.getVersion());
    }
    keepOwner();
    // The library tells nobody when it cannot write.
    if (!fs::exists(path()) || readFile(path()) != bytes) {
        throw ToolError(ExitStatus::Storage,
                        path() + ": cannot be written (is there room, may the folder be written?)");
    }
}

void BlobList::replaceAll(const std::vector<RfidCard>& cards, std::optional<unsigned> version,
                          const ReportProgress& report) const {
    report(0);
    rewrite([&](RecordsBlob& blob) { fill(blob, cards, version); });
}

void BlobList::changeAll(const std::vector<RfidCard>& updated, const std::vector<unsigned>& removed,
                         const ReportProgress& report) const {
    report(0);
    rewrite([&](RecordsBlob& blob) {
        std::unordered_map<unsigned, const RfidCard*> replacements;
        for (const RfidCard& card : updated) replacements.emplace(card.id.value(), &card);
        const std::unordered_set<unsigned> ids(removed.begin(), removed.end());
        std::erase_if(blob.getRecords(), [&ids](const RfidCard& card) { return ids.contains(card.id.value()); });
        for (RfidCard& card : blob.getRecords()) {
            const auto found = replacements.find(card.id.value());
            if (found != replacements.end()) card = *found->second;
        }
    });
}

void BlobList::backUp(const std::string& target) const {
    requireList();
    createFile(target, readFile(path()), modeOf(path()));
    flushFile(target);
}

std::vector<Finding> BlobList::inspect(const std::function<void(const RfidCard&)>& visit) const {
    RecordsBlob blob;
    std::vector<Finding> findings;
    const std::string defect = defectOf(readFile(path()), blob);
    if (fs::file_size(path()) == 0) findings.push_back({std::nullopt, emptyFile});
    if (!defect.empty()) findings.push_back({std::nullopt, "the file is damaged, or no list: " + defect});
    for (const RfidCard& card : blob.getRecords()) visit(card);
    return findings;
}

}  // namespace oru::kadi::authlist::tool
