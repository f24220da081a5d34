// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "UsageError.h"

#include <functional>
#include <zrimaging/MemoryBudget.h>

namespace CLI {
class App;
}

namespace zrdcm {

/// What a verb does once its options are parsed, within the memory that it may take; yields the
/// exit status.
/// zr::Error, UsageError and std::bad_alloc that leave it are reported by `main`.
using VerbAction = std::function<int(const zr::MemoryBudget&)>;

// A verb is one file, VerbName.cpp, that defines `VerbAction configureName(CLI::App& command)`:
// it declares the verb's options on `command` and yields the action. Its line in Verbs.def makes
// it known to the command line.
#define ZRDCM_VERB(function, name, summary) VerbAction function(CLI::App& command);
#include "Verbs.def"
#undef ZRDCM_VERB

}  // namespace zrdcm
