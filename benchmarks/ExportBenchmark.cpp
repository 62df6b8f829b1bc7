// SPDX-License-Identifier: Apache-2.0
// How long does it take to export the whole list? Cards become text by the library's exchange formats on both sides;
// ExchangeTextBenchmark times these alone.
#include "authlist/CsvExchange.h"
#include "authlist/JsonExchange.h"
#include "support/Comparison.h"

namespace oru::kadi::authlist::benchmarks {
namespace {

template <ExchangeDataType type>
void isWholeList(List& list, const std::string& text) {
    require(text == list.exchangeText(type), "another text was exported");
}

std::vector<RfidCard> readAllByHand(List& list) { return rfidCards(list.byHand().select(" SELECT * FROM rfid_card ")); }

const Comparison exportCsv{
    "ExportCsv", Wear::None, [](List& list) { return list.manager().exportStr(ExchangeDataType::CSV); },
    [](List& list) { return serializeRfidsAsCsv(readAllByHand(list)); }, isWholeList<ExchangeDataType::CSV>};

const Comparison exportJson{"ExportJson", Wear::None,
                            [](List& list) { return list.manager().exportStr(ExchangeDataType::JSON); },
                            [](List& list) {
                                const auto cards = readAllByHand(list);
                                const auto version = list.byHand().version();
                                return serializeRfidsAsJson(cards, version);
                            },
                            isWholeList<ExchangeDataType::JSON>};

}  // namespace
}  // namespace oru::kadi::authlist::benchmarks
