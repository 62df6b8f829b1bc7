// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "oru/crypto/Sha256.h"
#include "support/NamedCase.h"

namespace oru::crypto {
namespace {

using kadi::authlist::test::byName;
using kadi::authlist::test::NamedCase;
using namespace std::string_literals;

std::string sha256Of(const std::string& text) {
    const std::vector<unsigned char> bytes(text.begin(), text.end());
    return calculateSha256(bytes.data(), static_cast<unsigned>(bytes.size()));
}

std::string allByteValues() {
    std::string bytes;
    for (int value = 0; value < 256; ++value) bytes += static_cast<char>(value);
    return bytes;
}

struct Message : NamedCase {
    std::string text;
    std::string digest;
};

const std::string alphabet448 = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
const std::string alphabet896 =
    "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu";

// The standard's own examples, then bytes that text handling stumbles over, then lengths around the 64-byte block.
const Message messages[] = {
    {{"NoBytes"}, "", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
    {{"Abc"}, "abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {{"Bits448"}, alphabet448, "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
    {{"Bits896"}, alphabet896, "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1"},
    {{"OneMillionTimesA"},
     std::string(1'000'000, 'a'),
     "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
    {{"OneZeroByte"}, "\0"s, "6e340b9cffb37a989ca544e6bb780a2c78901d3fb33738768511a30617afa01d"},
    {{"AZeroByteBetweenLetters"}, "a\0b"s, "59b271ae1bbcb1d31d41929817f4b16fb439eb4f31520b5ad1d5ce98920a7138"},
    {{"OneByteFF"}, "\xFF"s, "a8100ae6aa1940d0b663bb31cd466142ebbdbd5187131b92d93818987832eb89"},
    {{"ZeroAndFFByTurns"}, "\0\xFF\0\xFF"s, "7a7bf454c5f3cb1b9d9a20f81417f98d976fe3b3dd52c1b9968f02e89e7e8a2f"},
    {{"AllByteValues"}, allByteValues(), "40aff2e9d2d8922e47afd4648e6967497158785fbd1da870e7110266bf944880"},
    {{"Length55"}, std::string(55, 'a'), "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
    {{"Length56"}, std::string(56, 'a'), "b35439a4ac6f0948b6d6f9e3c6af0f5f590ce20f1bde7090ef7970686ec6738a"},
    {{"Length63"}, std::string(63, 'a'), "7d3e74a05d7db15bce4ad9ec0658ea98e3f06eeecf16b4c6fff2da457ddc2f34"},
    {{"Length64"}, std::string(64, 'a'), "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
    {{"Length65"}, std::string(65, 'a'), "635361c48bb9eab14198e76ea8ab7f1a41685d6ad62aa9146d301d4f17eb0ae0"},
};

class Sha256 : public testing::TestWithParam<Message> {};

TEST_P(Sha256, GivesTheDigestInLowerCaseHexadecimal) { EXPECT_EQ(sha256Of(GetParam().text), GetParam().digest); }

INSTANTIATE_TEST_SUITE_P(Of, Sha256, testing::ValuesIn(messages), byName);

TEST(Sha256OfNothing, NeedsNoAddress) {
    EXPECT_EQ(calculateSha256(nullptr, 0), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST(Sha256OfPartOfABuffer, ReadsTheGivenLengthOnly) {
    const unsigned char buffer[] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(calculateSha256(buffer, 3), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Sha256InThreads, AgreesWithItself) {
    constexpr int keysOfAThread = 500;
    std::vector<std::vector<std::string>> digests(8);
    std::vector<std::thread> threads;
    for (auto& own : digests) {
        threads.emplace_back([&own] {
            for (int key = 0; key < keysOfAThread; ++key) own.push_back(sha256Of("key " + std::to_string(key)));
        });
    }
    for (std::thread& thread : threads) thread.join();

    std::vector<std::string> expected;
    for (int key = 0; key < keysOfAThread; ++key) expected.push_back(sha256Of("key " + std::to_string(key)));
    for (const auto& own : digests) EXPECT_EQ(own, expected);
}

}  // namespace
}  // namespace oru::crypto
