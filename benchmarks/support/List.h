// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "authlist/AuthListManager.h"
#include "authlist/Enumerations.h"
#include "support/ByHand.h"

namespace oru::kadi::authlist::benchmarks {

/// One list of sample cards in a database file, open three times: by the library, by hand, and for upkeep, so that
/// upkeep costs both sides the same. Building it takes about a second for 100,000 cards; every benchmark shares it.
class List {
public:
    static constexpr unsigned capacity = 1'000'000;

    List(const std::string& file, unsigned size);

    unsigned size() const { return mSize; }
    AuthListManager& manager() { return *mManager; }
    const IDbAccessor& accessor() const { return *mAccessor; }
    ByHand& byHand() { return mByHand; }
    sqlite3* libraryConnection() const { return mLibraryConnection; }

    /// Steps to the next card of a walk through the whole list, in no order of the file; returns its id.
    unsigned nextCard();
    /// Steps to the card in the middle of the file, always the same one; returns its id.
    unsigned middleCard();
    unsigned currentCard() const { return mCurrent; }
    const std::string& key(unsigned id) const { return mKeys.at(id - 1); }
    const std::string& hash(unsigned id) const { return mHashes.at(id - 1); }

    /// All sample cards as an export of this list has them.
    const std::string& exchangeText(ExchangeDataType type);

    /// Removes added cards, sets the access times back and starts the walk anew.
    void restore();

private:
    unsigned mSize;
    sqlite3* mLibraryConnection = nullptr;
    const IDbAccessor* mAccessor = nullptr;  // the manager's
    std::unique_ptr<AuthListManager> mManager;
    ByHand mByHand;
    ByHand mUpkeep;
    unsigned mStep = 0;
    unsigned mCurrent = 0;
    std::vector<std::string> mKeys;
    std::vector<std::string> mHashes;
    std::map<ExchangeDataType, std::string> mTexts;
};

/// The lists of a run, built when they are asked for first, in a folder of their own that goes with them.
class Lists {
public:
    /// The medium has the name that the results bear; folder must exist.
    void addMedium(const std::string& medium, const std::string& folder);
    Lists() = default;
    Lists(const Lists&) = delete;
    Lists& operator=(const Lists&) = delete;
    ~Lists();

    List& get(const std::string& medium, unsigned size, const std::string& purpose);

private:
    std::map<std::string, std::string> mFolders;
    std::map<std::string, List> mLists;  // by file
};

}  // namespace oru::kadi::authlist::benchmarks
