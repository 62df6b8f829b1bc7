// SPDX-License-Identifier: Apache-2.0
#include "output/Progress.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <ostream>
#include <utility>

#include "Numbers.h"
#include "output/DisplayText.h"

namespace oru::kadi::authlist::tool {
namespace {

using Seconds = std::chrono::duration<double>;

constexpr auto redrawInterval = std::chrono::milliseconds(100);
constexpr std::size_t usualWidth = 80;  // of a terminal that does not tell
constexpr std::size_t shortestBar = 5;
constexpr std::size_t longestBar = 20;
constexpr double longestWait = 100.0 * 3600;  // seconds; more than that is no estimate
constexpr const char* eraseToEnd = "\x1B[K";

std::string wholeNumber(double number) {
    std::array<char, 64> digits{};
    char* const end =
        std::to_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::fixed, 0).ptr;
    return grouped(std::string(digits.data(), end));
}

std::string twoDigits(long long number) { return (number < 10 ? "0" : "") + std::to_string(number); }

// "0:06", "1:02:03"
std::string durationText(double seconds) {
    const long long whole = std::llround(seconds);
    const long long minutes = whole / 60;
    const std::string tail = ":" + twoDigits(whole % 60);
    if (minutes < 60) return std::to_string(minutes) + tail;
    return std::to_string(minutes / 60) + ":" + twoDigits(minutes % 60) + tail;
}

// Zero where nothing can be said yet.
double recordsPerSecond(std::size_t done, Progress::Clock::duration elapsed) {
    if (elapsed <= Progress::Clock::duration::zero()) return 0;
    return static_cast<double>(done) / Seconds(elapsed).count();
}

std::string rateText(double perSecond) {
    if (perSecond < 1) return {};
    return "  " + wholeNumber(perSecond) + "/s";
}

std::string timeLeftText(std::size_t done, std::size_t total, double perSecond) {
    if (done >= total || perSecond <= 0) return {};
    const double seconds = static_cast<double>(total - done) / perSecond;
    if (seconds >= longestWait) return {};
    return "  " + durationText(seconds) + " left";
}

std::string bar(std::size_t done, std::size_t total, std::size_t length) {
    const double share = done >= total ? 1 : static_cast<double>(done) / static_cast<double>(total);
    const auto filled = static_cast<std::size_t>(share * static_cast<double>(length));
    return "[" + std::string(filled, '#') + std::string(length - filled, '-') + "]";
}

}  // namespace

Progress::Progress(std::ostream& out, Terminal terminal, std::string title, std::size_t total)
    : mOut(out), mTerminal(terminal), mTitle(printable(title)), mTotal(total) {}

Progress::~Progress() {
    if (mDrawn) mOut << '\r' << eraseToEnd << std::flush;
}

void Progress::advanceTo(std::size_t done) {
    if (!mTerminal.isTerminal) return;
    const Clock::time_point now = Clock::now();
    if (!mBegin) mBegin = now;  // what was done before the first record says nothing about the rate
    if (mDrawn && now - *mDrawn < redrawInterval) return;
    mDrawn = now;
    // The last column stays free: a terminal would be about to begin a new line there.
    const std::size_t width = mTerminal.width.value_or(usualWidth) - 1;
    mOut << '\r' << line(mTitle, done, mTotal, now - *mBegin, width) << eraseToEnd << std::flush;
}

std::string Progress::line(const std::string& title, std::size_t done, std::size_t total, Clock::duration elapsed,
                           std::size_t width) {
    const std::string counts = withThousands(done) + "/" + withThousands(total);
    const std::string head = title.empty() ? "" : title + " ";
    const std::size_t headWidth = displayWidth(head);
    const double perSecond = recordsPerSecond(done, elapsed);
    const std::string timeLeft = timeLeftText(done, total, perSecond);
    for (const std::string& tail : {rateText(perSecond) + timeLeft, timeLeft, std::string()}) {
        const std::size_t taken = headWidth + 3 + counts.size() + tail.size();  // 3: "[", "] "
        if (taken + shortestBar > width) continue;
        return head + bar(done, total, std::min(width - taken, longestBar)).append(" ").append(counts).append(tail);
    }
    if (headWidth + counts.size() <= width) return head + counts;
    return counts.size() <= width ? counts : "";
}

}  // namespace oru::kadi::authlist::tool
