// SPDX-License-Identifier: Apache-2.0
#include "authlist/Enumerations.h"

#include <array>

#include "EnumerationText.h"

namespace oru::kadi::authlist {
namespace {

constexpr std::array<EnumerationText<RfidCardStatus>, 6> statusTexts{{
    {RfidCardStatus::Accepted, "Accepted"},
    {RfidCardStatus::Expired, "Expired"},
    {RfidCardStatus::Blocked, "Blocked"},
    {RfidCardStatus::Invalid, "Invalid"},
    {RfidCardStatus::ConcurrentTx, "ConcurrentTx"},
    {RfidCardStatus::Operator, "Operator"},
}};

}  // namespace

std::string_view statusToText(RfidCardStatus status) { return textOf(statusTexts, status); }

RfidCardStatus statusFromText(std::string_view text) { return valueOf(statusTexts, text); }

}  // namespace oru::kadi::authlist
