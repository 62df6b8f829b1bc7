// SPDX-License-Identifier: Apache-2.0
#include "lwjson/JsonString.h"

#include <rapidjson/encodings.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
#include <rapidjson/writer.h>

#include <stdexcept>

#include "lwjson/JsonReader.h"

namespace oru::common::lwjson {
namespace {

// An output stream of the writer.
class StringAppender {
public:
    using Ch = char;

    explicit StringAppender(std::string& target) : mTarget(target) {}
    void Put(char c) { mTarget += c; }
    void Flush() {}

private:
    std::string& mTarget;
};

bool write(std::string& json, std::string_view text) {
    StringAppender stream(json);
    rapidjson::Writer<StringAppender, rapidjson::UTF8<>, rapidjson::UTF8<>, rapidjson::CrtAllocator,
                      rapidjson::kWriteValidateEncodingFlag>
        writer(stream);
    return writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

std::string replaceInvalidUtf8(std::string_view text) {
    std::string valid;
    valid.reserve(text.size());
    while (!text.empty()) {
        rapidjson::MemoryStream stream(text.data(), text.size());
        unsigned codePoint = 0;
        const bool isValid = rapidjson::UTF8<>::Decode(stream, &codePoint);
        const std::size_t length = isValid ? stream.Tell() : 1;
        valid += isValid ? text.substr(0, length) : std::string_view{"\xEF\xBF\xBD"};
        text.remove_prefix(length);
    }
    return valid;
}

struct TakeString : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, TakeString> {
    bool String(const char* characters, rapidjson::SizeType length, bool) {
        text.assign(characters, length);
        return true;
    }

    std::string text;
};

}  // namespace

void appendJsonString(std::string& json, std::string_view text) {
    const std::size_t start = json.size();
    if (write(json, text)) return;
    json.resize(start);
    write(json, replaceInvalidUtf8(text));
}

bool holdsLoneSurrogate(std::string_view text) {
    // Surrogates are U+D800 to U+DFFF, in UTF-8 0xED and a byte from 0xA0 on.
    for (auto lead = text.find('\xED'); lead != std::string_view::npos; lead = text.find('\xED', lead + 1)) {
        if (lead + 1 < text.size() && static_cast<unsigned char>(text[lead + 1]) >= 0xA0) return true;
    }
    return false;
}

std::string unescapeJsonString(std::string_view escaped) {
    const std::string quoted = '"' + std::string(escaped) + '"';
    rapidjson::MemoryStream stream(quoted.data(), quoted.size());
    JsonReader reader;
    TakeString handler;
    const bool failed = reader.Parse<rapidjson::kParseValidateEncodingFlag>(stream, handler).IsError();
    if (failed || stream.Tell() != quoted.size() || holdsLoneSurrogate(handler.text)) {
        throw std::runtime_error("Not the text of a JSON string");
    }
    return std::move(handler.text);
}

}  // namespace oru::common::lwjson
