// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "oru/crypto/Export.h"

namespace oru::crypto {

/// The SHA-256 digest of length bytes at data, as 64 lower-case hexadecimal characters. data may be null when length
/// is 0. Throws std::runtime_error when the crypto library refuses to compute it. Safe to call from any thread, but no
/// longer once main has ended, when OpenSSL cleans up.
ORU_CRYPTO_EXPORT std::string calculateSha256(const unsigned char* data, unsigned length);

}  // namespace oru::crypto
