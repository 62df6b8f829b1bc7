// SPDX-License-Identifier: Apache-2.0
// Looks one card up by its key: authlist-lookup list.db 04A2B3
#include <iostream>
#include <stdexcept>

#include "authlist/AuthListManager.h"

int main(int argc, char** argv) try {
    using namespace oru::kadi::authlist;
    if (argc != 3) throw std::runtime_error("usage: authlist-lookup <list.db> <key>");
    AuthListConfiguration configuration;
    configuration.databaseFileName = argv[1];
    const auto card = AuthListManager(configuration).getByKey(argv[2]);
    std::cout << (card ? statusToText(card->status) : "unknown") << '\n';
    return card && card->status == RfidCardStatus::Accepted ? 0 : 1;
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 2;
}
