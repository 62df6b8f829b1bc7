// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

#include "authlist/KeyHash.h"
#include "oru/crypto/Sha256.h"
#include "support/NamedCase.h"

namespace oru::kadi::authlist {
namespace {

using namespace std::string_literals;

static_assert(std::is_same_v<decltype(&hashKey), std::string (*)(const std::string&)>);
static_assert(std::is_same_v<decltype(&isValidHashString), bool (*)(const std::string&)>);

struct KnownHash : test::NamedCase {
    std::string key;
    std::string hash;
};

class KnownHashes : public testing::TestWithParam<KnownHash> {};

INSTANTIATE_TEST_SUITE_P(
    All, KnownHashes,
    testing::Values(
        KnownHash{{"EmptyKey"}, "", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        KnownHash{{"ThreeLetters"}, "abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        KnownHash{{"UpperCase"}, "04A2B3", "44b433e47b19aab043a36803309703fbfb30d362a5d5af1f1a50a97bafc9d14a"},
        KnownHash{{"LowerCase"}, "04a2b3", "ef62f23d369e5d04e9b7b8d203a66dd72892aa1678c43ab99a4a1f54c5a5d498"},
        KnownHash{{"LeadingBlank"}, " 04A2B3", "67a8fe3a1b78ffed144d33a220cfa6ad32adc1360b911097e79891fb61a2fe60"},
        KnownHash{{"TrailingBlank"}, "04A2B3 ", "a6f0648d0db3bfe710add8a8daba6357cdb4f441d66bce934dd23985636474f8"},
        KnownHash{{"LineEnd"}, "04A2B3\n", "e3d7dbb6f79a23108eda4964b8bda8810798fc447deb53fd4525bf0ebcb50cb5"},
        KnownHash{{"NulInside"}, "a\0b"s, "59b271ae1bbcb1d31d41929817f4b16fb439eb4f31520b5ad1d5ce98920a7138"},
        KnownHash{{"OnlyANul"}, "\0"s, "6e340b9cffb37a989ca544e6bb780a2c78901d3fb33738768511a30617afa01d"},
        KnownHash{{"NoText"}, "\xFF\xFE\x80", "b632bfa9c60bc17f7fd78dba311fd3f5dfa66cb8c017a4278e2bae28d668844d"},
        KnownHash{{"Utf8"}, "J\xC3\xB6rg", "8e63741c42f7c08025339f1a380d98030a698aa04f1fa3c595dcb581632af452"},
        KnownHash{{"AMillionLetters"},
                  std::string(1000000, 'a'),
                  "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"}),
    test::byName);

TEST_P(KnownHashes, AreTheHashOfTheKeysBytesAsGiven) { EXPECT_EQ(hashKey(GetParam().key), GetParam().hash); }

TEST_P(KnownHashes, AreWhatTheCryptoLibraryComputes) {
    const std::string& key = GetParam().key;
    EXPECT_EQ(hashKey(key), crypto::calculateSha256(reinterpret_cast<const unsigned char*>(key.data()),
                                                    static_cast<unsigned>(key.size())));
}

TEST_P(KnownHashes, AreValid) { EXPECT_TRUE(isValidHashString(hashKey(GetParam().key))); }

TEST(HashKey, GivesTwoHashesForKeysThatDifferOnlyInCase) { EXPECT_NE(hashKey("04A2B3"), hashKey("04a2b3")); }

const std::string validHash = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

TEST(ValidHash, Has64HexadecimalDigitsOfEitherCase) {
    EXPECT_TRUE(isValidHashString(validHash));
    EXPECT_TRUE(isValidHashString(std::string(64, 'A')));
    EXPECT_TRUE(isValidHashString("BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD"));
    EXPECT_TRUE(isValidHashString("bA7816bF8f01CFea414140dE5daE2223B00361a396177a9cB410fF61f20015Ad"));
}

TEST(ValidHash, HasNoOtherLength) {
    EXPECT_FALSE(isValidHashString(""));
    for (const std::size_t length : {1U, 32U, 63U, 65U, 128U, 1000U}) {
        EXPECT_FALSE(isValidHashString(std::string(length, 'a'))) << length;
    }
}

TEST(ValidHash, HasNoOtherCharacterAnywhere) {
    const std::string_view digits = "0123456789abcdefABCDEF";
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        for (const std::size_t position : {0U, 31U, 63U}) {
            std::string hash = validHash;
            hash[position] = c;
            EXPECT_EQ(isValidHashString(hash), digits.find(c) != std::string_view::npos)
                << "byte " << byte << " at " << position;
        }
    }
}

TEST(ValidHash, IsNotEndedByANul) {
    EXPECT_FALSE(isValidHashString(std::string(63, 'a') + '\0'));
    EXPECT_FALSE(isValidHashString(validHash + '\0'));
    EXPECT_FALSE(isValidHashString(validHash + "\0xyz"s));
}

}  // namespace
}  // namespace oru::kadi::authlist
