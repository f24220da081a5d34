// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace zrdcm {

/// Does what the arguments say and yields the exit status of the program; nothing is thrown.
/// May be called again and again in one process.
int runCommandLine(int argc, const char* const* argv);

}  // namespace zrdcm
