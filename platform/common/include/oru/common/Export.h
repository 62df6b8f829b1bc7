// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks what liboru-gw-common exports; everything else in it is hidden.
#define ORU_COMMON_EXPORT __attribute__((visibility("default")))
