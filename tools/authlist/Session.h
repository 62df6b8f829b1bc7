// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "KeyMask.h"
#include "Options.h"
#include "TimeText.h"
#include "authlist/AuthListManager.h"
#include "output/Terminal.h"
#include "storage/ListStorage.h"

namespace oru::kadi::authlist::tool {

/// What a command works with: the options, the streams, and how things are shown.
class Session {
public:
    Session(std::ostream& out, std::ostream& err);

    Options options;

    std::ostream& out() const { return mOut; }
    std::ostream& err() const { return mErr; }
    Terminal outTerminal() const { return mOutTerminal; }
    Terminal errTerminal() const { return mErrTerminal; }
    KeyMask keys() const { return KeyMask(options.showsKeys); }
    TimeText times() const { return TimeText(options.isLocalTime); }

    /// A line on standard output.
    void say(const std::string& text) const;

    /// text of a data format, made harmless where it goes to a terminal.
    std::string data(const std::string& text) const;

    /// A line on standard error.
    void note(const std::string& text) const;

    /// Asks on a terminal whether to go on; elsewhere throws ToolError that asks for --yes.
    bool confirm(const std::string& question) const;

    /// The list of --list. Throws ToolError when it was not given, or is missing or of another kind.
    std::unique_ptr<ListStorage> list() const;
    /// The same for a command that changes the list.
    std::unique_ptr<ListStorage> listToChange() const;
    std::unique_ptr<ListStorage> listOrNew() const;

private:
    std::ostream& mOut;
    std::ostream& mErr;
    Terminal mOutTerminal;
    Terminal mErrTerminal;
};

/// Why a change may not be found when it is looked for afterwards; follows what was to be changed.
inline constexpr const char* notStored = " could not be stored (is the list read-only, full or in use?)";

/// A list open through the library.
class OpenedList {
public:
    OpenedList(std::unique_ptr<ListStorage> storage, const Session& session);
    OpenedList(const OpenedList&) = delete;
    OpenedList& operator=(const OpenedList&) = delete;
    ~OpenedList();

    const ListStorage& storage() const { return *mStorage; }
    const std::string& path() const { return mStorage->path(); }
    AuthListManager& manager() { return *mManager; }
    /// What the manager works on, for what a manager does not offer.
    const IDbAccessor& accessor() const { return *mAccessor; }

    /// Replaces some cards and removes others by their ids, with progress; all of it or nothing.
    void changeAll(const std::vector<RfidCard>& updated, const std::vector<unsigned>& removed, const char* title);

    /// Brings all changes to the file and opens it anew, so that the manager shows what is really stored: a write may
    /// fail without an error.
    void settle();

private:
    void open();

    std::unique_ptr<ListStorage> mStorage;
    const Session& mSession;
    std::optional<AuthListManager> mManager;
    const IDbAccessor* mAccessor = nullptr;  // owned by the manager
};

}  // namespace oru::kadi::authlist::tool
