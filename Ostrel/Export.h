// SPDX-License-Identifier: Apache-2.0

#pragma once

/// Marks what a shared library promises to its users; every other symbol stays hidden.
#define OSTREL_API __attribute__((visibility("default")))
