// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>

#include "authlist/RfidCard.h"
#include "authlist/db/filestorage/RecordsBlob.h"

namespace oru::kadi::authlist::test {

/// What the file of a file backend holds.
struct StoredList {
    std::deque<RfidCard> cards;
    std::optional<unsigned> version;
};

/// Reads the file, without starting a thread. Throws when it is missing, damaged or longer than what is in it.
inline StoredList storedIn(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw std::runtime_error("No file " + file);
    db::filestorage::RecordsBlob blob;
    blob.deserialize(stream);
    if (stream.peek() != std::ifstream::traits_type::eof()) throw std::runtime_error("Bytes after the last record");
    return {blob.getRecords(), blob.getVersion()};
}

}  // namespace oru::kadi::authlist::test
