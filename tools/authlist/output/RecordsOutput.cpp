// SPDX-License-Identifier: Apache-2.0
#include "output/RecordsOutput.h"

#include <ostream>
#include <utility>

namespace oru::kadi::authlist::tool {
namespace {

std::string quoted(const std::string& value) {
    if (value.find_first_of(",\"\r\n") == std::string::npos) return value;
    std::string text = "\"";
    for (const char c : value) text.append(c == '"' ? 2 : 1, c);
    return text + '"';
}

}  // namespace

std::string csvLine(const std::vector<std::string>& values) {
    std::string line;
    for (const std::string& value : values) {
        if (&value != values.data()) line += ',';
        line += quoted(value);
    }
    return line;
}

RecordsOutput::RecordsOutput(const Session& session, std::vector<Column> columns, const std::vector<std::string>& names)
    : mSession(session) {
    if (session.options.output == OutputFormat::Table) {
        mTable.emplace(session.out(), std::move(columns), session.outTerminal());
    } else if (session.options.output == OutputFormat::Csv) {
        session.out() << csvLine(names) << '\n';
    } else {
        session.out() << '[';
    }
}

void RecordsOutput::print(const std::vector<Record>& page) {
    std::ostream& out = mSession.out();
    std::vector<Row> rows;
    for (const Record& record : page) {
        if (mTable) {
            rows.push_back(record.cells);
        } else if (mSession.options.output == OutputFormat::Csv) {
            out << csvLine(record.values) << '\n';
        } else {
            out << (mIsEmpty ? "\n" : ",\n") << record.json;
        }
        mIsEmpty = false;
    }
    if (mTable && !rows.empty()) mTable->print(rows);
}

void RecordsOutput::finish(const std::string& textForNone) {
    if (mSession.options.output == OutputFormat::Json) mSession.out() << (mIsEmpty ? "]\n" : "\n]\n");
    if (mTable && mIsEmpty) mSession.out() << textForNone << '\n';
}

}  // namespace oru::kadi::authlist::tool
