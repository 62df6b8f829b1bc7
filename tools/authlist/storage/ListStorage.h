// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Options.h"
#include "authlist/IDbAccessor.h"
#include "authlist/RfidCard.h"

namespace oru::kadi::authlist::tool {

/// Something wrong with a list; recordId where it is one record's.
struct Finding {
    std::optional<unsigned> recordId;
    std::string text;
};

inline constexpr const char* emptyFile = "the file is empty: a list without cards, or one that was cut off";

/// A list in a file: what the tool does with the file as a whole, which each store does in its own way.
/// Failures are ToolError or exceptions of the library.
class ListStorage {
public:
    /// The largest id of a card; with the next one the ids of a database are used up.
    static constexpr unsigned largestId = 2147483646;

    static constexpr std::size_t largestTagCount = 65535;  ///< of a card; the file store counts with 16 bits

    /// Told how many records are written; what it throws ends the writing, and nothing changes.
    using ReportProgress = std::function<void(std::size_t)>;

    explicit ListStorage(std::string path);
    ListStorage(const ListStorage&) = delete;
    ListStorage& operator=(const ListStorage&) = delete;
    virtual ~ListStorage() = default;

    const std::string& path() const { return mPath; }
    /// Whether there was no file yet when this object was made.
    bool isNew() const { return mIsNew; }
    virtual Store store() const = 0;

    /// How many records a list may have.
    virtual unsigned capacity() const = 0;

    /// Opens the list, and creates it when it is missing.
    virtual std::unique_ptr<IDbAccessor> open() const = 0;

    /// After the accessor is gone: gives the file back the owner and the mode that it had.
    virtual void keepOwner() const {}

    /// Replaces all cards, and the version where one is given. Either all of it happens or nothing, also when the power
    /// fails. The list is created when it is missing.
    virtual void replaceAll(const std::vector<RfidCard>& cards, std::optional<unsigned> version,
                            const ReportProgress& report) const = 0;

    /// Replaces the cards with these ids and removes others by their ids; all of it or nothing, as replaceAll.
    virtual void changeAll(const std::vector<RfidCard>& updated, const std::vector<unsigned>& removed,
                           const ReportProgress& report) const = 0;

    /// Keeps other runs of this tool from changing the list as long as this object lives, where they would not see each
    /// other's changes. Throws ToolError when one is at it.
    virtual void reserve() const {}

    /// Writes a copy of the list to a new file.
    virtual void backUp(const std::string& target) const = 0;

    /// What is wrong with the file, with the records taken one by one. Hands each readable record to visit.
    virtual std::vector<Finding> inspect(const std::function<void(const RfidCard&)>& visit) const = 0;

private:
    std::string mPath;
    bool mIsNew;
};

/// What people call a list of this store.
const char* nameOf(Store store);

/// The list that is there. Throws ToolError when there is none, or one of another kind than the wanted one.
std::unique_ptr<ListStorage> existingList(const std::string& path, std::optional<Store> wanted);

/// The same where the list may be missing.
std::unique_ptr<ListStorage> existingOrNewList(const std::string& path, std::optional<Store> wanted);

/// The list that would be made in a new file.
std::unique_ptr<ListStorage> newList(const std::string& path, Store store);

}  // namespace oru::kadi::authlist::tool
