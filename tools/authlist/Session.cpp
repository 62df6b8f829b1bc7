// SPDX-License-Identifier: Apache-2.0
#include "Session.h"

#include <unistd.h>

#include <iostream>
#include <utility>

#include "Outcome.h"
#include "output/DisplayText.h"

namespace oru::kadi::authlist::tool {
namespace {

const std::string& required(const std::string& list) {
    if (list.empty()) throw ToolError(ExitStatus::Usage, "which list? give --list FILE");
    return list;
}

}  // namespace

Session::Session(std::ostream& out, std::ostream& err)
    : mOut(out), mErr(err), mOutTerminal(Terminal::of(STDOUT_FILENO)), mErrTerminal(Terminal::of(STDERR_FILENO)) {}

void Session::note(const std::string& text) const { mErr << "authlist: " << printable(text) << '\n'; }

bool Session::confirm(const std::string& question) const {
    if (isatty(STDIN_FILENO) == 0) throw ToolError(ExitStatus::Usage, question + " Give --yes to go on.");
    mErr << printable(question) << " [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "yes";
}

std::unique_ptr<ListStorage> Session::list() const { return existingList(required(options.list), options.store); }

std::unique_ptr<ListStorage> Session::listOrNew() const {
    return existingOrNewList(required(options.list), options.store);
}

OpenedList::OpenedList(std::unique_ptr<ListStorage> storage, const Session& session)
    : mStorage(std::move(storage)), mSession(session) {
    open();
}

OpenedList::~OpenedList() {
    mManager.reset();
    try {
        mStorage->keepOwner();
    } catch (const std::exception& error) {
        mSession.note(error.what());
    }
}

void OpenedList::open() {
    auto accessor = mStorage->open();
    mAccessor = accessor.get();
    AuthListConfiguration configuration;
    configuration.maxRecords = mStorage->capacity();
    mManager.emplace(std::move(accessor), std::move(configuration));
}

void OpenedList::settle() {
    // Reads of a database always show what is stored; a file in memory has to be written and read again.
    if (mStorage->store() == Store::Sqlite) return;
    mManager.reset();
    mStorage->keepOwner();
    open();
}

}  // namespace oru::kadi::authlist::tool
