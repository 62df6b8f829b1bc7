// SPDX-License-Identifier: Apache-2.0
#include "output/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <string_view>
#include <system_error>

namespace oru::kadi::authlist::tool {
namespace {

// Empty for a variable that is not set.
std::string_view environmentVariable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string_view() : value;
}

std::optional<std::size_t> wantedWidth() {
    const std::string_view text = environmentVariable("COLUMNS");
    std::size_t width = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), width);
    if (error != std::errc{} || end != text.data() + text.size() || width == 0) return std::nullopt;
    return width;
}

// A serial line is a terminal, but often one of unknown size.
std::optional<std::size_t> widthOf(int descriptor) {
    winsize size{};
    if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return std::nullopt;
    return size.ws_col;
}

}  // namespace

Terminal Terminal::of(int descriptor) {
    Terminal terminal;
    terminal.isTerminal = isatty(descriptor) == 1;
    terminal.width = wantedWidth();
    if (!terminal.width) terminal.width = widthOf(descriptor);
    terminal.hasColour =
        terminal.isTerminal && environmentVariable("TERM") != "dumb" && environmentVariable("NO_COLOR").empty();
    return terminal;
}

}  // namespace oru::kadi::authlist::tool
