// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <iosfwd>
#include <optional>

#include "authlist/Export.h"
#include "authlist/RfidCard.h"
#include "oru/common/stream/IStreamable.h"

namespace oru::common {
class BinaryDeserializer;
class BinarySerializer;
}  // namespace oru::common

namespace oru::kadi::authlist {

/// The format version byte of the blob file that was last read on this thread; 0 before the first.
ORU_AUTHLIST_EXPORT extern constinit thread_local unsigned char sSavedFormatVersion;

// The layout is docs/records-blob.md. Reading throws std::runtime_error with the byte position where the data ends or
// is wrong; a status is not checked. Memory grows with what is read, whatever count is claimed.
ORU_AUTHLIST_EXPORT common::BinarySerializer& operator<<(common::BinarySerializer& out, const RfidCard& card);
ORU_AUTHLIST_EXPORT common::BinaryDeserializer& operator>>(common::BinaryDeserializer& in, RfidCard& card);
ORU_AUTHLIST_EXPORT common::BinarySerializer& operator<<(common::BinarySerializer& out, const RfidTag& tag);
ORU_AUTHLIST_EXPORT common::BinaryDeserializer& operator>>(common::BinaryDeserializer& in, RfidTag& tag);

namespace db::filestorage {

/// The whole list of a file backend in memory, and its form as one binary file. Takes no lock.
class ORU_AUTHLIST_EXPORT RecordsBlob : public common::stream::IStreamable {
public:
    ~RecordsBlob() override;

    /// Writes everything but the last id. The record count is written modulo 65,536, every record nevertheless: a
    /// longer list is not read back whole.
    void serialize(std::ostream& stream) const override;

    /// Appends the records of stream and takes over its version; any format version byte is accepted. The last id
    /// becomes the smallest id of all records. Always returns true. Throws std::runtime_error for damaged data and
    /// std::bad_optional_access when a record has no id; what was read before stays.
    bool deserialize(std::istream& stream) override;

    std::deque<RfidCard>& getRecords() { return mRecords; }
    void setVersion(unsigned version) { mVersion = version; }
    std::optional<unsigned> getVersion() const { return mVersion; }
    void setLastMaxId(unsigned id) { mLastMaxId = id; }
    unsigned getLastMaxId() const { return mLastMaxId; }

private:
    std::deque<RfidCard> mRecords;  // in insertion order
    std::optional<unsigned> mVersion;
    unsigned mLastMaxId = 0;
};

}  // namespace db::filestorage
}  // namespace oru::kadi::authlist
