// SPDX-License-Identifier: Apache-2.0
#include "output/DisplayText.h"

#include <clocale>
#include <cwchar>
#include <utility>

namespace oru::kadi::authlist::tool {
namespace {

constexpr char32_t replacementCharacter = 0xFFFD;
constexpr std::string_view replacementText = "\xEF\xBF\xBD";
constexpr std::string_view ellipsis = "\xE2\x80\xA6";

struct Character {
    char32_t codePoint;
    std::size_t length;  // bytes
};

// What must follow a lead byte. The range of the second byte keeps out overlong forms, surrogates and what lies beyond
// U+10FFFF.
struct Sequence {
    std::size_t length;  // with the lead byte; 0 for a byte that is none
    unsigned char lowestSecond = 0x80;
    unsigned char highestSecond = 0xBF;
};

Sequence sequenceOf(unsigned char lead) {
    if (lead >= 0xC2 && lead <= 0xDF) return {2};
    if (lead == 0xE0) return {3, 0xA0, 0xBF};
    if (lead == 0xED) return {3, 0x80, 0x9F};
    if (lead >= 0xE1 && lead <= 0xEF) return {3};
    if (lead == 0xF0) return {4, 0x90, 0xBF};
    if (lead >= 0xF1 && lead <= 0xF3) return {4};
    if (lead == 0xF4) return {4, 0x80, 0x8F};
    return {0};
}

// The character that begins at position. Where that is no UTF-8: U+FFFD for the longest part that could begin a
// character, for one byte at least.
Character characterAt(std::string_view text, std::size_t position) {
    const auto lead = static_cast<unsigned char>(text[position]);
    if (lead < 0x80) return {lead, 1};
    const Sequence sequence = sequenceOf(lead);
    if (sequence.length == 0) return {replacementCharacter, 1};
    char32_t codePoint = lead & (0x7FU >> sequence.length);
    for (std::size_t index = 1; index < sequence.length; ++index) {
        if (position + index == text.size()) return {replacementCharacter, index};
        const auto byte = static_cast<unsigned char>(text[position + index]);
        const bool isSecond = index == 1;
        const bool continues =
            byte >= (isSecond ? sequence.lowestSecond : 0x80) && byte <= (isSecond ? sequence.highestSecond : 0xBF);
        if (!continues) return {replacementCharacter, index};
        codePoint = codePoint << 6U | (byte & 0x3FU);
    }
    return {codePoint, sequence.length};
}

bool isControl(char32_t codePoint) { return codePoint < 0x20 || (codePoint >= 0x7F && codePoint <= 0x9F); }

bool breaksLine(char32_t codePoint) { return codePoint == 0x2028 || codePoint == 0x2029; }

bool changesDirection(char32_t codePoint) {
    return codePoint == 0x061C || codePoint == 0x200E || codePoint == 0x200F ||
           (codePoint >= 0x202A && codePoint <= 0x202E) || (codePoint >= 0x2066 && codePoint <= 0x2069);
}

void appendHexadecimal(std::string& to, char32_t codePoint, unsigned digits) {
    for (unsigned shift = digits * 4; shift > 0; shift -= 4) {
        to += "0123456789ABCDEF"[codePoint >> (shift - 4) & 0xFU];
    }
}

void appendEscape(std::string& to, char32_t codePoint) {
    if (codePoint == U'\n') {
        to += "\\n";
    } else if (codePoint == U'\r') {
        to += "\\r";
    } else if (codePoint == U'\t') {
        to += "\\t";
    } else if (codePoint < 0x80) {
        to += "\\x";
        appendHexadecimal(to, codePoint, 2);
    } else {
        to += "\\u";
        appendHexadecimal(to, codePoint, 4);
    }
}

// Made once and kept until the process ends; null where the system has no such locale.
locale_t utf8Locale() {
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale;
}

/// Knows the widths of characters. While it lives, this thread has the locale that knows them.
class CharacterWidths {
public:
    CharacterWidths() {
        if (utf8Locale() != nullptr) mPrevious = uselocale(utf8Locale());
    }
    CharacterWidths(const CharacterWidths&) = delete;
    CharacterWidths& operator=(const CharacterWidths&) = delete;
    ~CharacterWidths() {
        if (mPrevious != nullptr) uselocale(mPrevious);
    }

    std::size_t of(char32_t codePoint) const {
        if (mPrevious == nullptr) return 1;
        const int width = wcwidth(static_cast<wchar_t>(codePoint));
        return width < 0 ? 1 : static_cast<std::size_t>(width);  // terminals show unassigned ones too
    }

private:
    locale_t mPrevious = nullptr;
};

std::string filledUp(std::string text, std::size_t blanks, bool alignedRight) {
    text.insert(alignedRight ? 0 : text.size(), blanks, ' ');
    return text;
}

}  // namespace

std::string printable(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        const auto [codePoint, length] = characterAt(text, position);
        if (isControl(codePoint) || breaksLine(codePoint) || changesDirection(codePoint)) {
            appendEscape(result, codePoint);
        } else if (codePoint == replacementCharacter) {
            result += replacementText;
        } else {
            result += text.substr(position, length);
        }
        position += length;
    }
    return result;
}

std::size_t displayWidth(std::string_view printableText) {
    const CharacterWidths widths;
    std::size_t columns = 0;
    for (std::size_t position = 0; position < printableText.size();) {
        const auto [codePoint, length] = characterAt(printableText, position);
        columns += widths.of(codePoint);
        position += length;
    }
    return columns;
}

std::string fitted(std::string_view printableText, std::size_t width, bool alignedRight) {
    const CharacterWidths widths;
    std::size_t columns = 0;
    // The longest beginning that leaves room for the ellipsis. Marks add no columns, so they stay with their character.
    std::size_t keptBytes = 0;
    std::size_t keptColumns = 0;
    for (std::size_t position = 0; position < printableText.size();) {
        const auto [codePoint, length] = characterAt(printableText, position);
        columns += widths.of(codePoint);
        position += length;
        if (columns > width) {
            if (width == 0) return {};
            std::string cut(printableText.substr(0, keptBytes));
            cut += ellipsis;
            return filledUp(std::move(cut), width - keptColumns - 1, alignedRight);
        }
        if (columns < width) {
            keptBytes = position;
            keptColumns = columns;
        }
    }
    return filledUp(std::string(printableText), width - columns, alignedRight);
}

}  // namespace oru::kadi::authlist::tool
