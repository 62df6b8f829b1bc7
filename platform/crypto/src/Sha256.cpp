// SPDX-License-Identifier: Apache-2.0
#include "oru/crypto/Sha256.h"

#include <openssl/evp.h>

#include <array>
#include <memory>
#include <stdexcept>

namespace oru::crypto {
namespace {

struct FreeDigest {
    void operator()(EVP_MD* digest) const noexcept { EVP_MD_free(digest); }
};

using Digest = std::unique_ptr<EVP_MD, FreeDigest>;

[[noreturn]] void fail() { throw std::runtime_error("SHA-256 is not available in the crypto library"); }

Digest fetchSha256() {
    Digest digest(EVP_MD_fetch(nullptr, "SHA256", nullptr));
    if (!digest) fail();
    return digest;
}

// Looking the algorithm up costs more than hashing a key, so it is done once; after a failure it is tried again.
const EVP_MD* sha256() {
    static const Digest digest = fetchSha256();
    return digest.get();
}

}  // namespace

std::string calculateSha256(const unsigned char* data, unsigned length) {
    std::array<unsigned char, 32> digest{};
    if (EVP_Digest(data, length, digest.data(), nullptr, sha256(), nullptr) != 1) fail();
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    text.reserve(2 * digest.size());
    for (const unsigned char byte : digest) {
        text += digits[byte >> 4U];
        text += digits[byte & 0xFU];
    }
    return text;
}

}  // namespace oru::crypto
