// SPDX-License-Identifier: Apache-2.0
// A tour of the authorization list: authlist-demo <folder with the samples> <work folder>
// Checks everything that it shows; leaves its lists and exports in the work folder.
#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

#include "demo/Chapters.h"
#include "demo/Presentation.h"

namespace {

using namespace demo;

AuthListConfiguration reportingListIn(const std::filesystem::path& database, ImportProgress& progress) {
    AuthListConfiguration configuration = listIn(database, 1000);
    configuration.logCallback = [&progress](const std::string& message, bool isError) {
        if (isError) std::cerr << '\n' << message << '\n';
        progress.note(message);
    };
    return configuration;
}

void runDemo(const std::filesystem::path& samples, const std::filesystem::path& work) {
    std::filesystem::create_directories(work);
    if (!std::filesystem::is_empty(work)) throw std::runtime_error("the work folder is not empty: " + work.string());

    std::cout << "The local authorization list: the cards that a charging controller lets charge\n"
                 "without asking a central system.\n";
    ImportProgress progress;
    AuthListManager site(reportingListIn(work / "site.db", progress));
    AuthListManager carPark(reportingListIn(work / "carpark.db", progress));

    importSamples(samples, progress, site, carPark);
    showContents(site, carPark);
    presentCards(site);
    pageThroughExpiryDates(site);
    fillAndMakeRoom(site, work);
    exportAndImportAgain(site, work);

    std::cout << "\nThe demo checked its results along the way: all as expected.\n" << std::flush;
    expect(std::cout.good(), "to be able to write");
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 3) throw std::runtime_error("usage: authlist-demo <folder with the samples> <work folder>");
    runDemo(argv[1], argv[2]);
    return 0;
} catch (const std::exception& error) {
    std::cout << std::flush;
    std::cerr << "\nauthlist-demo: " << error.what() << '\n';
    return 1;
}
