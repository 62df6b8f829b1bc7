// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "oru/common/Export.h"

namespace oru::common::lwjson {

/// How strictly a Deserializer reads.
enum class Options : int {
    Strict = 1,  ///< RFC 8259 to the letter
};

enum class Kind { Null, Boolean, Number, String, Array, Object };

/// Reads JSON: a view of one value in a text that was checked as a whole when it was imported.
///
/// Strict RFC 8259 in UTF-8: no comments, trailing commas, byte order mark, lone surrogates or trailing bytes. Two
/// limits on top: 200,000 levels of nesting, and numbers beyond the range of a double (1e999) are refused.
/// It borrows the imported text, which must outlive it and every member taken from it, and looks at one level at a
/// time, so memory stays small beside the text. Where a key occurs twice in an object the first one wins.
/// Objects index their members on first use; so one object must not be read by two threads at once.
class ORU_COMMON_EXPORT Deserializer {
public:
    /// Reads as null until importJson.
    explicit Deserializer(Options options);

    /// Takes the value that text holds. Throws std::runtime_error naming the byte position when text is not JSON; then
    /// the deserializer keeps what it held.
    void importJson(std::string_view text);

    Kind kind() const { return mKind; }
    bool isNull() const { return mKind == Kind::Null; }
    bool isObject() const { return mKind == Kind::Object; }
    /// Strings, numbers, booleans and null.
    bool isScalar() const { return mKind != Kind::Object && mKind != Kind::Array; }

    /// The value exactly as it stands in the text, a string with its quotes.
    std::string_view rawText() const { return mRaw; }

    /// The text of a scalar: of a string what stands between its quotes, still escaped; else the raw text.
    std::string_view scalarText() const;

    /// The member of this key; none when there is none or this is no object.
    std::optional<Deserializer> findMember(const char* key) const;

    /// The member of this key. Throws std::out_of_range naming the key where findMember finds none.
    Deserializer getMember(const char* key) const;

    /// Calls visit for each element, in order. Throws std::runtime_error when this is no array.
    void forEachElement(const std::function<void(const Deserializer&)>& visit) const;

    /// Resolves the escapes in a scalar's text of length bytes into out; an empty text gives defaultValue. The text
    /// must come from imported JSON: where it holds no backslash nothing else is looked at. Throws std::runtime_error
    /// for a text with a backslash that cannot stand between the quotes of a JSON string.
    static void extractValue(const char* text, unsigned length, std::string& out, const char* defaultValue);

private:
    struct Member {
        const char* key;    // at its opening quote
        const char* value;  // at its first character
    };

    explicit Deserializer(std::string_view raw);
    void indexMembers() const;

    std::string_view mRaw;
    Kind mKind;
    mutable std::optional<std::vector<Member>> mMembers;  // of an object, once asked for
};

}  // namespace oru::common::lwjson
