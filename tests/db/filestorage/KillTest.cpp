// SPDX-License-Identifier: Apache-2.0
// A process that adds records to a list is killed at random moments, again and again.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "authlist/db/filestorage/FileDbAccessor.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/FileCalls.h"
#include "support/FileState.h"
#include "support/ListFile.h"
#include "support/TemporaryFolder.h"

namespace oru::kadi::authlist::db::filestorage {
namespace {

using namespace test;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;  // the same in all processes
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr auto delay = 80ms;
// How late a loaded machine may wake a thread; time in which a save is under way is not counted at all.
constexpr auto slack = 100ms;
constexpr int kills = 220;
constexpr auto longestLife = 240ms;
constexpr unsigned recordsKept = 300;

// Different in length from number to number, so that no two lists fit over each other.
RfidCard numberedCard(unsigned number) {
    RfidCard card = cardWithKey("key " + std::to_string(number));
    card.id = number;
    card.extraData = std::string(number % 97, 'x');
    return card;
}

// What the writing process tells about itself. Short enough to pass through a pipe in one piece.
struct Event {
    enum Kind : std::uint32_t { Created, SaveBegun, SaveDone };

    Kind kind;
    std::uint32_t number;
    Clock::time_point at;
};

class Events {
public:
    explicit Events(int pipe) : mPipe(pipe) {}

    void tell(Event::Kind kind, unsigned number) const {
        const Event event{kind, number, Clock::now()};
        if (write(mPipe, &event, sizeof event) != sizeof event) _exit(3);
    }

private:
    int mPipe;
};

// Goes on with the list where its file ends: adds a record, takes the oldest away, sets the version, until killed.
void addRecords(const std::string& path, const Events& events) {
    const pid_t parent = getppid();
    const FileCallWatch watch(std::filesystem::path(path).parent_path(), [&events](const FileCall& call) {
        if (call.operation == "open" && call.name == "list") events.tell(Event::SaveBegun, 0);
        if (call.operation == "close" && call.name == ".") events.tell(Event::SaveDone, 0);
        return Verdict{};
    });
    const FileDbAccessor accessor(path, delay);
    const auto loaded = accessor.readAllRecords();
    if (loaded.size() > recordsKept) accessor.deleteRecord(*loaded.front().id);  // killed before it could do that
    for (unsigned number = loaded.empty() ? 1 : *loaded.back().id + 1; getppid() == parent; ++number) {
        accessor.createRecord(numberedCard(number));
        if (number > recordsKept) accessor.deleteRecord(number - recordsKept);
        accessor.updateVersion(number);
        events.tell(Event::Created, number);
        std::this_thread::sleep_for(1ms);
    }
}

// A process that adds records, and what it has told.
class Writer {
public:
    explicit Writer(const std::string& path) {
        int ends[2];
        if (pipe(ends) != 0) throw std::runtime_error("pipe failed");
        mChild = fork();
        if (mChild < 0) throw std::runtime_error("fork failed");
        if (mChild == 0) {
            close(ends[0]);
            try {
                addRecords(path, Events(ends[1]));
            } catch (const std::exception& error) {
                std::cerr << "The writer failed: " << error.what() << std::endl;
                _exit(1);
            }
            _exit(0);
        }
        close(ends[1]);
        mPipe = ends[0];
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() {
        if (mChild > 0) killIt();
        close(mPipe);
    }

    // Listens until then, or until so many saves have begun.
    void listen(Clock::time_point until, std::ptrdiff_t saves = -1) {
        while (true) {
            const auto left = std::chrono::duration_cast<std::chrono::microseconds>(until - Clock::now());
            if (left <= 0us) return;
            pollfd poll{mPipe, POLLIN, 0};
            const timespec timeout{0, static_cast<long>(left.count() * 1000 % 1'000'000'000)};
            if (ppoll(&poll, 1, &timeout, nullptr) <= 0) continue;
            if (!readEvent()) return;
            if (count(Event::SaveBegun) == saves) return;
        }
    }

    // Returns the time just before; true when it lived until then.
    Clock::time_point killIt() {
        const auto now = Clock::now();
        kill(mChild, SIGKILL);
        while (readEvent()) {
        }
        while (waitpid(mChild, &mStatus, 0) < 0 && errno == EINTR) {
        }
        mChild = -1;
        return now;
    }

    std::ptrdiff_t count(Event::Kind kind) const {
        return std::count_if(mEvents.begin(), mEvents.end(), [kind](const Event& event) { return event.kind == kind; });
    }

    bool wasKilled() const { return WIFSIGNALED(mStatus) && WTERMSIG(mStatus) == SIGKILL; }
    const std::vector<Event>& events() const { return mEvents; }

private:
    bool readEvent() {
        Event event;
        ssize_t length = -1;
        do {
            length = read(mPipe, &event, sizeof event);
        } while (length < 0 && errno == EINTR);
        if (length != sizeof event) return false;
        mEvents.push_back(event);
        return true;
    }

    pid_t mChild = -1;
    int mPipe = -1;
    int mStatus = 0;
    std::vector<Event> mEvents;
};

// How much of the time between these two a save was under way.
Clock::duration timeInSaves(const std::vector<Event>& events, Clock::time_point from, Clock::time_point to) {
    Clock::duration total{};
    std::optional<Clock::time_point> begun;
    const auto add = [&](Clock::time_point end) {
        if (begun) total += std::max(Clock::duration::zero(), std::min(end, to) - std::max(*begun, from));
        begun.reset();
    };
    for (const Event& event : events) {
        if (event.kind == Event::SaveBegun) begun = event.at;
        if (event.kind == Event::SaveDone) add(event.at);
    }
    add(to);
    return total;
}

bool diesInASave(const std::vector<Event>& events) {
    const auto last =
        std::find_if(events.rbegin(), events.rend(), [](const Event& event) { return event.kind != Event::Created; });
    return last != events.rend() && last->kind == Event::SaveBegun;
}

class AKilledWriter : public testing::Test {
protected:
    // Checks what the file holds; the number of its last record.
    unsigned checkFile() const {
        const StoredList list = storedIn(mPath);
        if (list.cards.empty()) return 0;
        const unsigned first = list.cards.front().id.value();
        const unsigned last = list.cards.back().id.value();
        EXPECT_EQ(list.cards.size(), last - first + 1) << "records " << first << " to " << last;
        EXPECT_TRUE(first == 1 || list.cards.size() >= recordsKept) << "records " << first << " to " << last;
        EXPECT_LE(list.cards.size(), recordsKept + 1);
        for (std::size_t i = 0; i < list.cards.size(); ++i) {
            if (fieldsOf(list.cards[i]) == fieldsOf(numberedCard(first + static_cast<unsigned>(i)))) continue;
            ADD_FAILURE() << "record " << i << " is not number " << first + i;
            break;
        }
        const unsigned version = list.version.value_or(0);
        EXPECT_TRUE(version == last || version + 1 == last) << "version " << version << " with record " << last;
        return last;
    }

    // Checks that what the writer lost is younger than the delay.
    void checkLoss(const Writer& writer, Clock::time_point killed, unsigned lastStored) {
        const auto& events = writer.events();
        const auto lost = std::find_if(events.begin(), events.end(), [lastStored](const Event& event) {
            return event.kind == Event::Created && event.number > lastStored;
        });
        mLastLoss = lost == events.end() ? Clock::duration::zero() : killed - lost->at;
        mLongestLoss = std::max(mLongestLoss, mLastLoss);
        if (lost == events.end()) return;
        const auto waited = mLastLoss - timeInSaves(events, lost->at, killed);
        mLongestWait = std::max(mLongestWait, waited);
        EXPECT_LE(waited, delay + slack) << "record " << lost->number << " was lost";
    }

    TemporaryFolder mFolder;
    const std::string mPath = mFolder.file("list");
    Clock::duration mLastLoss{};
    Clock::duration mLongestLoss{};
    Clock::duration mLongestWait{};
};

TEST_F(AKilledWriter, LosesNothingThatIsOlderThanTheDelay) {
    const auto given = static_cast<unsigned>(GTEST_FLAG_GET(random_seed));
    const unsigned seed = given != 0 ? given : std::random_device()() % 99999 + 1;
    std::cout << "To repeat: --gtest_random_seed=" << seed << std::endl;
    std::mt19937 random(seed);
    std::uniform_int_distribution<std::int64_t> life(0, std::chrono::microseconds(longestLife).count());
    std::uniform_int_distribution<std::ptrdiff_t> save(1, 2);
    std::uniform_int_distribution<std::int64_t> afterSaveBegins(0, 3000);
    unsigned lastStored = 0;
    int killedInSaves = 0;
    int leftBehind = 0;
    for (int i = 1; i <= kills; ++i) {
        SCOPED_TRACE("kill " + std::to_string(i));
        Writer writer(mPath);
        const bool aimsAtASave = i % 2 == 0;
        if (aimsAtASave) writer.listen(Clock::now() + 5s, save(random));
        const std::chrono::microseconds rest(aimsAtASave ? afterSaveBegins(random) : life(random));
        writer.listen(Clock::now() + rest);
        const auto killed = writer.killIt();
        ASSERT_TRUE(writer.wasKilled());
        if (diesInASave(writer.events())) ++killedInSaves;

        if (!std::filesystem::exists(mPath)) {
            EXPECT_EQ(lastStored, 0U) << "the file has gone";
        } else {
            const unsigned stored = checkFile();
            EXPECT_GE(stored, lastStored);
            lastStored = stored;
        }
        checkLoss(writer, killed, lastStored);
        const auto names = namesIn(mFolder.path());
        EXPECT_LE(names.size(), 2U) << "what earlier processes left was not cleared away";
        if (names.size() > 1) ++leftBehind;
        if (HasFailure()) break;
    }
    std::cout << "Kills: " << kills << ", " << killedInSaves << " of them inside a save, " << leftBehind
              << " left an unfinished file\nRecords stored: " << lastStored
              << "\nLost interval: " << Milliseconds(mLastLoss).count() << " ms at the last kill, "
              << Milliseconds(mLongestLoss).count() << " ms at the most (" << Milliseconds(mLongestWait).count()
              << " ms without the time in saves; delay " << Milliseconds(delay).count() << " ms)" << std::endl;
    EXPECT_GT(lastStored, static_cast<unsigned>(kills));
    { const FileDbAccessor successor(mPath, delay); }
    EXPECT_THAT(namesIn(mFolder.path()), testing::ElementsAre("list"));
    EXPECT_EQ(checkFile(), lastStored);
}

}  // namespace
}  // namespace oru::kadi::authlist::db::filestorage
