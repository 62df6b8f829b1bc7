// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks what liboru-kadi-authlist exports; everything else in it is hidden.
#define ORU_AUTHLIST_EXPORT __attribute__((visibility("default")))
