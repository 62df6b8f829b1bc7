// SPDX-License-Identifier: Apache-2.0
// How long does it take to tell whether a tag is stored?
#include "support/Comparison.h"

namespace oru::kadi::authlist::benchmarks {
namespace {

const Comparison tagIsKnown{"TagIsKnown", Wear::None,
                            [](List& list) { return list.accessor().tagIsKnown(list.hash(list.nextCard())); },
                            [](List& list) { return list.byHand().tagIsKnown(list.hash(list.nextCard())); },
                            [](List&, bool isKnown) { require(isKnown, "a stored tag is not known"); }};

const std::string unknownHash(64, 'f');

const Comparison unknownTag{"TagIsKnownUnknown", Wear::None,
                            [](List& list) { return list.accessor().tagIsKnown(unknownHash); },
                            [](List& list) { return list.byHand().tagIsKnown(unknownHash); },
                            [](List&, bool isKnown) { require(!isKnown, "a tag is known that is not stored"); }};

}  // namespace
}  // namespace oru::kadi::authlist::benchmarks
