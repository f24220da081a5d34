// SPDX-License-Identifier: BSD-3-Clause

#include <wexlib/WexItem.h>

Wex::Item::Item() = default;
Wex::Item::~Item() = default;
