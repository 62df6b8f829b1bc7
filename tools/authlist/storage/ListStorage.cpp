// SPDX-License-Identifier: Apache-2.0
#include "storage/ListStorage.h"

#include <filesystem>

#include "Outcome.h"
#include "storage/BlobList.h"
#include "storage/FileBytes.h"
#include "storage/SqliteList.h"

namespace oru::kadi::authlist::tool {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse(const std::string& path, const std::string& reason) {
    throw ToolError(ExitStatus::Storage, path + ": " + reason);
}

// None for an empty file, which is an empty list of either store.
std::optional<Store> recognise(const std::string& path) {
    const std::string begin = readFileBegin(path, SqliteList::recognisedBytes);
    if (begin.empty()) return std::nullopt;
    return SqliteList::recognises(begin) ? Store::Sqlite : Store::File;
}

}  // namespace

ListStorage::ListStorage(std::string path) : mPath(std::move(path)), mIsNew(!fs::exists(mPath)) {}

const char* nameOf(Store store) { return store == Store::Sqlite ? "SQLite database" : "file of the file store"; }

std::unique_ptr<ListStorage> newList(const std::string& path, Store store) {
    if (store == Store::Sqlite) return std::make_unique<SqliteList>(path);
    return std::make_unique<BlobList>(path);
}

std::unique_ptr<ListStorage> existingList(const std::string& path, std::optional<Store> wanted) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) refuse(path, "there is no such list; add or import makes one");
    if (status.type() == fs::file_type::none) refuse(path, error.message());
    if (status.type() != fs::file_type::regular) refuse(path, "is no file");
    const auto store = recognise(path);
    if (store && wanted && *store != *wanted) {
        refuse(path,
               std::string("is no ") + nameOf(*wanted) + (*store == Store::Sqlite ? "; it is a SQLite database" : ""));
    }
    if (!store && !wanted) refuse(path, "is empty; say what it is with --store sqlite or --store file");
    return newList(path, store ? *store : *wanted);
}

std::unique_ptr<ListStorage> existingOrNewList(const std::string& path, std::optional<Store> wanted) {
    std::error_code ignored;
    if (fs::status(path, ignored).type() != fs::file_type::not_found) return existingList(path, wanted);
    const fs::path folder = fs::absolute(path).parent_path();
    if (!fs::is_directory(folder, ignored)) refuse(path, "there is no folder " + folder.string());
    return newList(path, wanted.value_or(Store::Sqlite));
}

}  // namespace oru::kadi::authlist::tool
