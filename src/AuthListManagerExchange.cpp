// SPDX-License-Identifier: Apache-2.0
// The import and export members of the manager.
#include <array>
#include <cstddef>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "authlist/AuthListManager.h"
#include "authlist/CsvExchange.h"
#include "authlist/JsonExchange.h"
#include "oru/common/Split.h"

namespace oru::kadi::authlist {
namespace {

constexpr const char* zipNeeded =
    "Function arguments suggest that zip functions are needed -- compile the library using the WITH_ZIP flag.";
constexpr const char* emptyImport =
    "Imported file empty or not accessible (e.g. incorrect password for protected zip file)";

[[noreturn]] void fail(const AuthListManager& manager, const std::string& logged, const char* thrown) {
    manager.logMessage(logged, true);
    throw std::runtime_error(thrown);
}

// The name that the text gets within an archive.
std::string lastPiece(const std::string& path) {
    std::string last;
    common::forEachPiece(path, "/", std::nullopt, [&last](std::string_view piece) { last = piece; });
    return last;
}

std::string readAll(std::istream& file) {
    std::string text;
    std::array<char, 8192> piece{};
    // Piece by piece out of the stream's buffer: read() would forget what came before a failure.
    while (file.peek() != std::istream::traits_type::eof()) {
        text.append(piece.data(), static_cast<std::size_t>(file.readsome(piece.data(), piece.size())));
    }
    return text;
}

std::string describe(const RfidCard& card) {
    std::ostringstream text;
    text << card;
    return text.str();
}

}  // namespace

std::string AuthListManager::exportStr(ExchangeDataType type) const {
    return buildStringFromDatabase(mDbAccessor->readAllRecords(), type);
}

void AuthListManager::exportFile(const std::string& path, ExchangeDataType type, bool zip,
                                 const std::string& password) const {
    if (!password.empty() && !zip) {
        logMessage("Password for zip encryption defined but zipping not requested. The password will be disregarded...",
                   false);
    }
    const std::string text = exportStr(type);
    if (zip) outputDataAsZip(lastPiece(path), text, password);

    std::ofstream file(path, std::ios::binary);
    if (!file.is_open()) fail(*this, "Failed to open output file for export at {}" + path, "Output file open failure");
    file << text;
    file.close();
    if (!file) fail(*this, "Failed to write output file for export at " + path, "Output file write failure");
}

void AuthListManager::importStr(const std::string& text, ExchangeDataType type) {
    const auto cards = buildDatabaseFromString(text, type);
    mDbAccessor->deleteAllRecords();
    for (const RfidCard& card : cards) {
        logMessage("New imported record will be added to database: " + describe(card), false);
        mDbAccessor->createRecord(card);
    }
}

void AuthListManager::importFile(const std::string& path, ExchangeDataType type, bool zip,
                                 const std::string& password) {
    if (zip) retrieveDataFromZip(path, type, password);

    std::ifstream file(path, std::ios::binary);
    if (!file.is_open()) fail(*this, "Failed to open input file for import at " + path, "Input file open failure");
    const std::string text = readAll(file);
    file.close();  // before the log callback and the backend come into play
    if (text.empty()) fail(*this, emptyImport, emptyImport);
    if (file.bad()) fail(*this, "Failed to read input file for import at " + path, "Input file read failure");
    importStr(text, type);
}

std::string AuthListManager::buildStringFromDatabase(const std::vector<RfidCard>& cards, ExchangeDataType type) const {
    switch (type) {
        case ExchangeDataType::CSV:
            return serializeRfidsAsCsv(cards);
        case ExchangeDataType::JSON:
            return serializeRfidsAsJson(cards, mDbAccessor->readVersion());
    }
    return {};
}

std::vector<RfidCard> AuthListManager::buildDatabaseFromString(const std::string& text, ExchangeDataType type) const {
    if (type == ExchangeDataType::CSV) return deserializeRfidsFromCsv(text);
    if (type != ExchangeDataType::JSON) return {};
    try {
        return deserializeRfidsFromJson(text);
    } catch (const std::exception& error) {
        logMessage(std::string("Failed to process JSON file/string for import: ") + error.what(), true);
        throw;
    }
}

std::string AuthListManager::retrieveDataFromZip(const std::string&, ExchangeDataType, const std::string&) {
    throw std::invalid_argument(zipNeeded);
}

void AuthListManager::outputDataAsZip(const std::string&, const std::string&, const std::string&) const {
    throw std::invalid_argument(zipNeeded);
}

}  // namespace oru::kadi::authlist
