// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>

#include "output/Terminal.h"

namespace oru::kadi::authlist::tool {
namespace {

/// While it lives, the environment variable has this value, or is not set for null.
class Variable {
public:
    Variable(const char* name, const char* value) : mName(name) {
        if (const char* const previous = std::getenv(name)) mPrevious = previous;
        set(value);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { set(mPrevious ? mPrevious->c_str() : nullptr); }

private:
    void set(const char* value) const {
        if (value == nullptr) {
            unsetenv(mName);
        } else {
            setenv(mName, value, 1);
        }
    }

    const char* mName;
    std::optional<std::string> mPrevious;
};

class PseudoTerminal {
public:
    explicit PseudoTerminal(unsigned short columns) {
        const winsize size{24, columns, 0, 0};
        if (openpty(&mMaster, &mSlave, nullptr, nullptr, &size) != 0) throw std::runtime_error("openpty failed");
    }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;
    ~PseudoTerminal() {
        close(mSlave);
        close(mMaster);
    }

    int descriptor() const { return mSlave; }

private:
    int mMaster = -1;
    int mSlave = -1;
};

class Pipe {
public:
    Pipe() {
        if (pipe(mEnds) != 0) throw std::runtime_error("pipe failed");
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        close(mEnds[0]);
        close(mEnds[1]);
    }

    int descriptor() const { return mEnds[1]; }

private:
    int mEnds[2] = {-1, -1};
};

class TerminalOf : public testing::Test {
protected:
    Variable mTerm{"TERM", "xterm"};
    Variable mNoColor{"NO_COLOR", nullptr};
    Variable mColumns{"COLUMNS", nullptr};
    PseudoTerminal mTerminal{132};
};

TEST_F(TerminalOf, ATerminalHasItsWidthAndColours) {
    const Terminal terminal = Terminal::of(mTerminal.descriptor());
    EXPECT_TRUE(terminal.isTerminal);
    EXPECT_EQ(terminal.width, 132U);
    EXPECT_TRUE(terminal.hasColour);
}

TEST_F(TerminalOf, ATerminalThatDoesNotTellItsWidthHasNone) {
    const PseudoTerminal silent(0);
    const Terminal terminal = Terminal::of(silent.descriptor());
    EXPECT_TRUE(terminal.isTerminal);
    EXPECT_EQ(terminal.width, std::nullopt);
}

TEST_F(TerminalOf, APipeHasNeitherWidthNorColours) {
    const Terminal terminal = Terminal::of(Pipe().descriptor());
    EXPECT_FALSE(terminal.isTerminal);
    EXPECT_EQ(terminal.width, std::nullopt);
    EXPECT_FALSE(terminal.hasColour);
}

TEST_F(TerminalOf, ADescriptorThatIsNotOpenHasNeitherWidthNorColours) {
    const Terminal terminal = Terminal::of(-1);
    EXPECT_FALSE(terminal.isTerminal);
    EXPECT_EQ(terminal.width, std::nullopt);
    EXPECT_FALSE(terminal.hasColour);
}

TEST_F(TerminalOf, TakesTheWidthFromColumnsFirst) {
    const Variable columns("COLUMNS", "60");
    EXPECT_EQ(Terminal::of(mTerminal.descriptor()).width, 60U);
    const Pipe pipe;
    const Terminal piped = Terminal::of(pipe.descriptor());
    EXPECT_EQ(piped.width, 60U);
    EXPECT_FALSE(piped.isTerminal);
    EXPECT_FALSE(piped.hasColour);
}

TEST_F(TerminalOf, PassesOverColumnsThatAreNoWidth) {
    for (const char* text : {"", "0", "-5", "+60", " 60", "60 ", "60x", "wide", "6e1", "99999999999999999999999"}) {
        const Variable columns("COLUMNS", text);
        EXPECT_EQ(Terminal::of(mTerminal.descriptor()).width, 132U) << "COLUMNS=" << text;
    }
}

TEST_F(TerminalOf, ADumbTerminalHasNoColours) {
    const Variable term("TERM", "dumb");
    const Terminal terminal = Terminal::of(mTerminal.descriptor());
    EXPECT_TRUE(terminal.isTerminal);
    EXPECT_FALSE(terminal.hasColour);
}

TEST_F(TerminalOf, ATerminalWithoutANameHasColours) {
    const Variable term("TERM", nullptr);
    EXPECT_TRUE(Terminal::of(mTerminal.descriptor()).hasColour);
}

TEST_F(TerminalOf, NoColorTakesTheColoursAway) {
    for (const char* text : {"1", "0", "anything"}) {
        const Variable noColor("NO_COLOR", text);
        EXPECT_FALSE(Terminal::of(mTerminal.descriptor()).hasColour) << "NO_COLOR=" << text;
    }
}

TEST_F(TerminalOf, AnEmptyNoColorCountsAsNotSet) {
    const Variable noColor("NO_COLOR", "");
    EXPECT_TRUE(Terminal::of(mTerminal.descriptor()).hasColour);
}

}  // namespace
}  // namespace oru::kadi::authlist::tool
