// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// Marks what the shared library offers; everything without it stays inside.
#define ZRIMAGING_API __attribute__((visibility("default")))
