// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "authlist/IDbAccessor.h"

namespace oru::kadi::authlist::test {

// How arguments are entered into the journal.

inline std::string entryText(unsigned number) { return std::to_string(number); }
inline std::string entryText(KeyRepresentation representation) {
    return representation == KeyRepresentation::Key ? "Key" : "Hash";
}
inline std::string entryText(RecordRemovalCategory category) {
    switch (category) {
        case RecordRemovalCategory::PastExpiryDate:
            return "PastExpiryDate";
        case RecordRemovalCategory::BlockedOrInvalid:
            return "BlockedOrInvalid";
        case RecordRemovalCategory::ExpiredStatus:
            return "ExpiredStatus";
    }
    return std::to_string(static_cast<int>(category));
}
inline std::string entryText(SortingAndFilteringKey key) { return "key " + std::to_string(static_cast<int>(key)); }
inline std::string entryText(FilteringOperator filterOperator) {
    return "operator " + std::to_string(static_cast<int>(filterOperator));
}
inline std::string entryText(SortingOrder order) { return "order " + std::to_string(static_cast<int>(order)); }
inline std::string entryText(const CardValue& value) {
    if (const auto* number = std::get_if<unsigned>(&value)) return "number " + std::to_string(*number);
    if (const auto* text = std::get_if<std::string>(&value)) return "text " + *text;
    return "status " + std::to_string(static_cast<int>(std::get<RfidCardStatus>(value)));
}
template <class Value>
std::string entryText(const std::optional<Value>& value) {
    return value ? entryText(*value) : "-";
}

/// What a FakeDbAccessor answers, and what happened: every call, every line of the log (logInto) and the end of the
/// accessor, in the order in which they happened. Must outlive the accessor.
struct FakeStorage {
    /// "deleteRecord(04A2B3, Key)", "log: Database is full, ...", "error: Attempt ...", "backend destroyed".
    std::vector<std::string> journal;
    std::vector<RfidCard> written;  ///< what createRecord and updateRecord were given, in order

    std::optional<RfidCard> record;  ///< the answer of both readRecord
    std::vector<RfidCard> range;     ///< the answer of readRecordRange
    std::set<std::string> knownHashes;
    std::set<RecordRemovalCategory> occupied;  ///< the categories of which deleteRecordCategory removes a record
    unsigned count = 0;
    unsigned createdId = 0;
    unsigned updatedId = 0;
    std::optional<unsigned> version;

    // Both throw when there is none yet.
    const RfidCard& lastWritten() const { return written.at(written.size() - 1); }
    const std::string& lastEntry() const { return journal.at(journal.size() - 1); }

    /// From now on whatever makes this entry throws the exception, once the entry is made; returns that exception.
    template <class Exception>
    std::exception_ptr fail(const std::string& entry, Exception exception) {
        return mFailures[entry] = std::make_exception_ptr(std::move(exception));
    }

    void enter(const std::string& entry) {
        journal.push_back(entry);
        const auto failure = mFailures.find(entry);
        if (failure != mFailures.end()) std::rethrow_exception(failure->second);
    }

private:
    std::map<std::string, std::exception_ptr> mFailures;
};

/// A log callback that enters each line into the journal, where it may be made to fail.
inline std::function<void(std::string, bool)> logInto(FakeStorage& storage) {
    return [&storage](const std::string& text, bool isError) { storage.enter((isError ? "error: " : "log: ") + text); };
}

/// A backend that stores nothing: it enters each call into the journal of its storage and answers what that says.
class FakeDbAccessor : public IDbAccessor {
public:
    explicit FakeDbAccessor(FakeStorage& storage) : mStorage(storage) {}
    ~FakeDbAccessor() override { mStorage.journal.emplace_back("backend destroyed"); }

    unsigned createRecord(const RfidCard& card) const override {
        mStorage.written.push_back(card);
        mStorage.enter("createRecord");
        return mStorage.createdId;
    }
    unsigned updateRecord(const RfidCard& card) const override {
        mStorage.written.push_back(card);
        mStorage.enter("updateRecord");
        return mStorage.updatedId;
    }
    std::optional<RfidCard> readRecord(const std::string& value, KeyRepresentation representation) const override {
        mStorage.enter("readRecord(" + value + ", " + entryText(representation) + ")");
        return mStorage.record;
    }
    std::optional<RfidCard> readRecord(unsigned id) const override {
        mStorage.enter("readRecord(" + entryText(id) + ")");
        return mStorage.record;
    }
    std::vector<RfidCard> readRecordRange(std::optional<unsigned> limit, std::optional<unsigned> offset,
                                          std::optional<SortingAndFilteringKey> filterKey,
                                          std::optional<FilteringOperator> filterOperator,
                                          std::optional<CardValue> filterValue,
                                          std::optional<SortingAndFilteringKey> sortKey,
                                          std::optional<SortingOrder> sortOrder) const override {
        mStorage.enter("readRecordRange(" + entryText(limit) + ", " + entryText(offset) + ", " + entryText(filterKey) +
                       ", " + entryText(filterOperator) + ", " + entryText(filterValue) + ", " + entryText(sortKey) +
                       ", " + entryText(sortOrder) + ")");
        return mStorage.range;
    }
    std::vector<RfidCard> readAllRecords() const override {
        mStorage.enter("readAllRecords()");
        return mStorage.range;
    }
    void deleteAllRecords() const override { mStorage.enter("deleteAllRecords()"); }
    void deleteRecord(const std::string& value, KeyRepresentation representation) const override {
        mStorage.enter("deleteRecord(" + value + ", " + entryText(representation) + ")");
    }
    void deleteRecord(unsigned id) const override { mStorage.enter("deleteRecord(" + entryText(id) + ")"); }
    bool deleteRecordCategory(RecordRemovalCategory category) const override {
        mStorage.enter("deleteRecordCategory(" + entryText(category) + ")");
        return mStorage.occupied.count(category) != 0;
    }
    void deleteOldestRecord() const override { mStorage.enter("deleteOldestRecord()"); }
    unsigned countRecords() const override {
        mStorage.enter("countRecords()");
        return mStorage.count;
    }
    bool tagIsKnown(const std::string& hash) const override {
        mStorage.enter("tagIsKnown(" + hash + ")");
        return mStorage.knownHashes.count(hash) != 0;
    }
    std::optional<unsigned> readVersion() const override {
        mStorage.enter("readVersion()");
        return mStorage.version;
    }
    void updateVersion(unsigned version) const override {
        mStorage.enter("updateVersion(" + entryText(version) + ")");
        mStorage.version = version;
    }

private:
    FakeStorage& mStorage;
};

}  // namespace oru::kadi::authlist::test
