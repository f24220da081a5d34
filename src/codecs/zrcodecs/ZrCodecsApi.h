// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#define ZRCODECS_API __attribute__((visibility("default")))
