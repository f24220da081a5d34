// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <functional>
#include <string>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

/// Takes one line of the log of the libraries: its text alone, without a line feed.
using LogSink = std::function<void(bool isWarning, const std::string& text)>;

/// From now on what the libraries have to say besides their results goes to the sink, from the
/// thread that says it; an empty sink drops it. It is one log for the whole process, without
/// DCMTK's own.
ZRIMAGING_API void sendLogTo(LogSink sink);

/// Listens to DCMTK's JPEG decoders while the rest of DCMTK's log is off. They warn where coded
/// data is damaged or ends early, make up the samples that are missing, and answer with success:
/// who looks at the picture has to know. Frames then hand such warnings out as remarks. To be
/// called once, when the program starts; it changes loggers of the whole process.
ZRIMAGING_API void collectDecoderWarnings();

}  // namespace zr
