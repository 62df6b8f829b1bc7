// SPDX-License-Identifier: Apache-2.0
#include "lwjson/JsonValidation.h"

#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <stdexcept>
#include <string>

#include "lwjson/JsonReader.h"
#include "lwjson/JsonString.h"

namespace oru::common::lwjson {
namespace {

// Looks at what the reader does not: how deep a value stands, and surrogates that stand alone.
class Limits : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Limits> {
public:
    explicit Limits(int deepest) : mDeepest(deepest) {}

    bool StartObject() { return enter(); }
    bool StartArray() { return enter(); }
    bool EndObject(rapidjson::SizeType) { return --mDepth >= 0; }
    bool EndArray(rapidjson::SizeType) { return --mDepth >= 0; }
    bool Key(const char* text, rapidjson::SizeType length, bool copy) { return String(text, length, copy); }
    bool String(const char* text, rapidjson::SizeType length, bool) {
        if (holdsLoneSurrogate({text, length})) mProblem = "A surrogate stands alone in a string.";
        return mProblem == nullptr;
    }

    /// Why the value was refused; null when it was not.
    const char* problem() const { return mProblem; }

private:
    bool enter() {
        if (++mDepth > mDeepest) mProblem = "Nested too deep.";
        return mProblem == nullptr;
    }

    int mDeepest;
    int mDepth = 0;
    const char* mProblem = nullptr;
};

[[noreturn]] void fail(const char* reason, std::size_t position) {
    throw std::runtime_error("Not a JSON text: " + std::string(reason) + " At byte " + std::to_string(position) + ".");
}

}  // namespace

void validateJson(std::string_view text, int deepest) {
    constexpr unsigned flags =
        rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag | rapidjson::kParseNumbersAsStringsFlag;
    rapidjson::MemoryStream stream(text.data(), text.size());
    JsonReader reader;
    Limits limits(deepest);
    const rapidjson::ParseResult result = reader.Parse<flags>(stream, limits);
    if (result.IsError()) {
        const char* problem = limits.problem();
        fail(problem != nullptr ? problem : rapidjson::GetParseError_En(result.Code()), result.Offset());
    }
    // The reader takes a zero byte for the end of the text.
    if (stream.Tell() != text.size()) fail("A zero byte follows the value.", stream.Tell());
}

}  // namespace oru::common::lwjson
