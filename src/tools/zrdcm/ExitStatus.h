// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace zrdcm {

/// What the process tells its caller.
enum ExitStatus : int {
  kDone = 0,    ///< everything asked for was done
  kFailed = 1,  ///< data could not be handled; one line on stderr says why
  kUsage = 2,   ///< the command line is wrong
  kReaderGone =
      141  ///< nobody read standard output to its end; as if SIGPIPE had ended the program
};

}  // namespace zrdcm
