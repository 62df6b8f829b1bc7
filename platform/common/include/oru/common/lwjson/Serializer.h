// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "oru/common/Export.h"

namespace oru::common::lwjson {

/// How a Serializer lays its text out.
enum class Format : int {
    Compact = 0,  ///< no blanks between tokens
};

/// Writes one JSON object member by member, or carries one JSON value that exists as text. Members keep the order in
/// which they are added: appendKey, then one value, and so on, then finalize. A call out of this order throws
/// std::logic_error. Not for use from several threads at once.
class ORU_COMMON_EXPORT Serializer {
public:
    /// Writes an object that has no members yet.
    explicit Serializer(Format format);

    /// Carries the JSON value that json holds, as it stands; an empty text is finalized as null.
    Serializer(std::string&& json, Format format);

    /// Starts the next member.
    void appendKey(const char* key);

    /// Ends the member with a JSON string. Bytes that are not UTF-8 are written as U+FFFD, because JSON cannot hold
    /// them.
    void addValue(const std::string& text);
    void addValue(const char* text);

    /// Ends the member with text as it is, unchecked; for numbers.
    void appendValue(const char* text);

    /// Ends the member with the JSON of another serializer, which must be finalized.
    void addValue(const Serializer& value);

    /// Ends the member with an array of the JSON of finalized serializers.
    template <class Element>
    void addValue(const std::vector<Element>& elements) {
        beginValue();
        mJson += '[';
        for (const Element& element : elements) {
            if (&element != elements.data()) mJson += ',';
            mJson += element.finalizedJson();
        }
        mJson += ']';
    }

    /// Closes the object, or checks the text that is carried: std::invalid_argument when it is not one JSON value, or
    /// nests so deep (199,900 levels) that the text around it might not be read again. A second call does nothing.
    void finalize();

    /// The text of a finalized serializer, free to be changed or moved away.
    std::string& mutableJson();

private:
    enum class State { ExpectsKey, ExpectsValue, CarriesText, Finalized };

    void beginValue();
    void appendString(std::string_view text);
    const std::string& finalizedJson() const;

    std::string mJson;
    State mState;
};

}  // namespace oru::common::lwjson
