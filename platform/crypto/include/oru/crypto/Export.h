// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks what liboru-gw-crypto exports; everything else in it is hidden.
#define ORU_CRYPTO_EXPORT __attribute__((visibility("default")))
