// SPDX-License-Identifier: Apache-2.0
#include "authlist/CardValue.h"

namespace oru::kadi::authlist {
namespace {

struct ToText {
    std::string operator()(unsigned number) const { return std::to_string(number); }
    std::string operator()(const std::string& text) const { return text; }
    std::string operator()(RfidCardStatus status) const { return std::string(statusToText(status)); }
};

}  // namespace

std::string getValueAsString(CardValue value) { return std::visit(ToText{}, value); }

}  // namespace oru::kadi::authlist
