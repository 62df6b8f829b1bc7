// SPDX-License-Identifier: Apache-2.0
#include "Session.h"

#include <unistd.h>

#include <iostream>
#include <utility>

#include "Interruption.h"
#include "Outcome.h"
#include "output/DisplayText.h"
#include "output/Progress.h"

namespace oru::kadi::authlist::tool {
namespace {

const std::string& required(const std::string& list) {
    if (list.empty()) throw ToolError(ExitStatus::Usage, "which list? give --list FILE");
    return list;
}

}  // namespace

Session::Session(std::ostream& out, std::ostream& err)
    : mOut(out), mErr(err), mOutTerminal(Terminal::of(STDOUT_FILENO)), mErrTerminal(Terminal::of(STDERR_FILENO)) {}

void Session::say(const std::string& text) const { mOut << printable(text) << '\n'; }

std::string Session::data(const std::string& text) const { return mOutTerminal.isTerminal ? printable(text) : text; }

void Session::note(const std::string& text) const { mErr << "authlist: " << printable(text) << '\n'; }

bool Session::confirm(const std::string& question) const {
    if (isatty(STDIN_FILENO) == 0) throw ToolError(ExitStatus::Usage, question + " Give --yes to go on.");
    mErr << printable(question) << " [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "yes";
}

std::unique_ptr<ListStorage> Session::list() const { return existingList(required(options.list), options.store); }

std::unique_ptr<ListStorage> Session::listToChange() const {
    auto storage = list();
    storage->reserve();
    return storage;
}

std::unique_ptr<ListStorage> Session::listOrNew() const {
    auto storage = existingOrNewList(required(options.list), options.store);
    storage->reserve();
    return storage;
}

OpenedList::OpenedList(std::unique_ptr<ListStorage> storage, const Session& session)
    : mStorage(std::move(storage)), mSession(session) {
    open();
}

OpenedList::~OpenedList() {
    mManager.reset();
    mStorage->keepOwner();
}

void OpenedList::open() {
    std::unique_ptr<IDbAccessor> accessor;
    try {
        accessor = mStorage->open();
    } catch (const ToolError&) {
        throw;
    } catch (const std::exception& error) {
        throw ToolError(ExitStatus::Storage, path() + ": " + reasonOf(error));
    }
    mAccessor = accessor.get();
    AuthListConfiguration configuration;
    configuration.maxRecords = mStorage->capacity();
    mManager.emplace(std::move(accessor), std::move(configuration));
}

void OpenedList::changeAll(const std::vector<RfidCard>& updated, const std::vector<unsigned>& removed,
                           const char* title) {
    const std::size_t count = updated.size() + removed.size();
    if (count == 0) return;
    settle();  // what the manager has written must not come after what is written here
    const Interruption interruption;
    Progress progress(mSession.err(), mSession.errTerminal(), title, count);
    try {
        mStorage->changeAll(updated, removed, [&](std::size_t done) {
            Interruption::throwIfRequested();
            if (count > 1) progress.advanceTo(done);
        });
    } catch (const ToolError& error) {
        if (error.status() != ExitStatus::Interrupted) throw;
        throw ToolError(ExitStatus::Interrupted, path() + ": interrupted; nothing was changed");
    }
    settle();
}

void OpenedList::settle() {
    // Reads of a database always show what is stored; a file in memory has to be written and read again.
    if (mStorage->store() == Store::Sqlite) return;
    mManager.reset();
    mStorage->keepOwner();
    open();
}

}  // namespace oru::kadi::authlist::tool
