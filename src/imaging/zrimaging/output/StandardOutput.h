// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace zr {

/// Thrown when nobody reads standard output any more, as behind `| head`: the rest of the work would
/// be for nobody. No std::exception, because it is no failure: what goes on with the next file after
/// a failure must not go on after this.
struct ReaderGone {};

/// Whether standard output is a pipe or socket that has lost its reader.
bool readerIsGone();

/// Opens what a caller has closed of standard input, output and error in a way that fails all use. A
/// file of ours would get the descriptor otherwise, and the lines meant for the caller with it.
void occupyStandardDescriptors();

}  // namespace zr
