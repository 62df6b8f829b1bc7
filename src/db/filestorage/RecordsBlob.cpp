// SPDX-License-Identifier: Apache-2.0
#include "authlist/db/filestorage/RecordsBlob.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "oru/common/BinaryDeserializer.h"
#include "oru/common/BinarySerializer.h"

namespace oru::kadi::authlist {

constinit thread_local unsigned char sSavedFormatVersion = 0;

namespace {

using common::BinaryDeserializer;
using common::BinarySerializer;

constexpr std::uint8_t formatVersion = 1;

void write(BinarySerializer& out, const std::string& text) { out << text; }
void write(BinarySerializer& out, unsigned number) { out.writeInteger(std::uint32_t{number}); }
void write(BinarySerializer& out, TimePoint time) { out.writeInteger(std::int64_t{time.time_since_epoch().count()}); }

template <class Value>
void write(BinarySerializer& out, const std::optional<Value>& value) {
    out << value.has_value();
    if (value) write(out, *value);
}

// Counts are stored modulo 65,536; what they count is written whole.
void writeCount(BinarySerializer& out, std::size_t count) { out.writeInteger(static_cast<std::uint16_t>(count)); }

void read(BinaryDeserializer& in, std::string& text) { in >> text; }
void read(BinaryDeserializer& in, unsigned& number) { number = in.readInteger<std::uint32_t>(); }
void read(BinaryDeserializer& in, TimePoint& time) {
    time = TimePoint{TimePoint::duration{in.readInteger<std::int64_t>()}};
}

template <class Value>
void read(BinaryDeserializer& in, std::optional<Value>& value) {
    bool isPresent = false;
    in >> isPresent;
    value.reset();
    if (isPresent) read(in, value.emplace());
}

}  // namespace

BinarySerializer& operator<<(BinarySerializer& out, const RfidTag& tag) {
    write(out, tag.hash);
    write(out, tag.key);
    write(out, tag.extraData);
    return out;
}

BinaryDeserializer& operator>>(BinaryDeserializer& in, RfidTag& tag) {
    read(in, tag.hash);
    read(in, tag.key);
    read(in, tag.extraData);
    return in;
}

BinarySerializer& operator<<(BinarySerializer& out, const RfidCard& card) {
    write(out, card.id);
    write(out, card.description);
    writeCount(out, card.tags.size());
    for (const RfidTag& tag : card.tags) out << tag;
    out.writeInteger(static_cast<std::int32_t>(card.status));
    write(out, card.expiryDate);
    write(out, card.parentId);
    write(out, card.evseId);
    write(out, card.extraData);
    write(out, card.lastAccessTime);
    write(out, card.lastModificationTime);
    write(out, card.recordLifetime);
    return out;
}

BinaryDeserializer& operator>>(BinaryDeserializer& in, RfidCard& card) {
    // More room than this only for tags that are really there: the count is just a claim.
    constexpr std::size_t mostTagsReserved = 16;
    read(in, card.id);
    read(in, card.description);
    const std::size_t tagCount = in.readInteger<std::uint16_t>();
    card.tags.clear();
    card.tags.reserve(std::min(tagCount, mostTagsReserved));
    for (std::size_t i = 0; i < tagCount; ++i) in >> card.tags.emplace_back();
    card.status = static_cast<RfidCardStatus>(in.readInteger<std::int32_t>());
    read(in, card.expiryDate);
    read(in, card.parentId);
    read(in, card.evseId);
    read(in, card.extraData);
    read(in, card.lastAccessTime);
    read(in, card.lastModificationTime);
    read(in, card.recordLifetime);
    return in;
}

namespace db::filestorage {

RecordsBlob::~RecordsBlob() = default;

void RecordsBlob::serialize(std::ostream& stream) const {
    BinarySerializer out(stream);
    out.writeInteger(formatVersion);
    write(out, mVersion);
    writeCount(out, mRecords.size());
    for (const RfidCard& card : mRecords) out << card;
}

bool RecordsBlob::deserialize(std::istream& stream) {
    BinaryDeserializer in(stream);
    sSavedFormatVersion = in.readInteger<std::uint8_t>();
    read(in, mVersion);
    const std::size_t count = in.readInteger<std::uint16_t>();
    for (std::size_t i = 0; i < count; ++i) {
        RfidCard card;
        in >> card;
        mRecords.push_back(std::move(card));
    }
    const auto smallest = std::min_element(mRecords.begin(), mRecords.end(),
                                           [](const RfidCard& a, const RfidCard& b) { return a.id < b.id; });
    // The smallest id, not the largest, is intended: ids are then given out again.
    if (smallest != mRecords.end()) mLastMaxId = smallest->id.value();
    return true;
}

}  // namespace db::filestorage
}  // namespace oru::kadi::authlist
