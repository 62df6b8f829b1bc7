// SPDX-License-Identifier: Apache-2.0
// How long does it take to replace the whole list by an imported one of the same size? Text becomes cards by the
// library's exchange formats on both sides; ExchangeTextBenchmark times these alone.
#include "authlist/CsvExchange.h"
#include "authlist/JsonExchange.h"
#include "support/Comparison.h"

namespace oru::kadi::authlist::benchmarks {
namespace {

using enum ExchangeDataType;

template <ExchangeDataType type>
unsigned importByLibrary(List& list) {
    list.manager().importStr(list.exchangeText(type), type);
    return list.size();
}

template <ExchangeDataType type>
unsigned importByHand(List& list) {
    const std::string& text = list.exchangeText(type);
    list.byHand().replaceAll(plain(type == CSV ? deserializeRfidsFromCsv(text) : deserializeRfidsFromJson(text)));
    return list.size();
}

template <ExchangeDataType type>
void wasImported(List& list, unsigned size) {
    const auto cards = list.accessor().readAllRecords();
    require(cards.size() == size, "cards are missing");
    require(list.manager().buildStringFromDatabase(cards, type) == list.exchangeText(type), "other cards were stored");
}

const Comparison importCsv{"ImportCsv", Wear::WholeList, importByLibrary<CSV>, importByHand<CSV>, wasImported<CSV>};
const Comparison importJson{"ImportJson", Wear::WholeList, importByLibrary<JSON>, importByHand<JSON>,
                            wasImported<JSON>};

}  // namespace
}  // namespace oru::kadi::authlist::benchmarks
