// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <chrono>
#include <iomanip>
#include <iostream>
#include <string>

#include "Chapters.h"
#include "Presentation.h"

namespace demo {

using namespace oru::kadi::authlist;

namespace {

constexpr unsigned cardsPerDot = 10;
constexpr std::size_t dotColumns = 27;

void importSample(const std::filesystem::path& sample, ExchangeDataType type, ImportProgress& progress,
                  AuthListManager& list) {
    std::cout << "   " << padded(sample.filename().string(), 11) << std::flush;
    const auto start = std::chrono::steady_clock::now();
    list.importFile(sample.string(), type, false, "");
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    const unsigned cards = progress.take();
    std::cout << padded("", dotColumns - std::min<std::size_t>(dotColumns, cards / cardsPerDot)) << cards
              << " cards in " << std::fixed << std::setprecision(2) << seconds.count() << " s\n";
    expect(cards > 0 && cards == list.countRecords(), "every card of " + sample.string() + " in the list");
}

}  // namespace

void ImportProgress::note(const std::string& message) {
    if (!message.starts_with("New imported record will be added to database: ")) return;
    if (++mCards % cardsPerDot == 0) std::cout << '.' << std::flush;
}

unsigned ImportProgress::take() {
    const unsigned cards = mCards;
    mCards = 0;
    return cards;
}

void importSamples(const std::filesystem::path& samples, ImportProgress& progress, AuthListManager& site,
                   AuthListManager& carPark) {
    heading("1  Import: a whole list arrives as JSON or CSV");
    importSample(samples / "site.json", ExchangeDataType::JSON, progress, site);
    importSample(samples / "site.csv", ExchangeDataType::CSV, progress, carPark);
    gap();
    say("site.json lists a business park with a depot, site.csv the season tickets of a car park.");
    say("A dot stands for ten cards that the log callback reported on their way into SQLite.");

    expect(!site.getVersion(), "no list version after an import");
    site.setVersion(42);
    expect(site.getVersion() == 42U, "the list version that was set");
    say("An import leaves the list version to the application, which now sets it to 42.");
}

}  // namespace demo
