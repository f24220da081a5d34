// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// Marks what ktlib exports: every class and function with code, or a vtable, inside the library.
///
/// The library is built with hidden symbols. An exported class has one vtable and one type record
/// for the whole process, which `dynamic_cast` and exceptions across libraries rely on.
#define KTLIB_API __attribute__((visibility("default")))
