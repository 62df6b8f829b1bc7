// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

#include "Lists.h"

namespace demo {

/// Counts the cards that an import reports through the log callback and prints a dot for every ten of them.
class ImportProgress {
public:
    void note(const std::string& message);

    /// The cards since the last call.
    unsigned take();

private:
    unsigned mCards = 0;
};

/// Imports samples/site.json into site and samples/site.csv into carPark. Both lists must report to progress.
void importSamples(const std::filesystem::path& samples, ImportProgress& progress, AuthListManager& site,
                   AuthListManager& carPark);

/// Compares what the two lists hold.
void showContents(const AuthListManager& site, const AuthListManager& carPark);

/// Presents cards of the site as a reader at a charging station would, and shows what that changed in the list.
void presentCards(const AuthListManager& site);

/// Pages through the cards of the site whose expiry date has passed.
void pageThroughExpiryDates(const AuthListManager& site);

/// Fills a small list in the work folder with cards of the site and makes room in it until the oldest card goes.
void fillAndMakeRoom(const AuthListManager& site, const std::filesystem::path& work);

/// Exports the site in both formats and imports the texts into another list.
void exportAndImportAgain(const AuthListManager& site, const std::filesystem::path& work);

}  // namespace demo
