// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <filesystem>
#include <zrimaging/Error.h>
#include <zrimaging/MemoryBudget.h>

namespace zrdcm {

/// All that `zrdcm info` knows about a file, as one JSON object.
///
/// | key                 | value                                                                |
/// |---------------------|----------------------------------------------------------------------|
/// | file                | the path as given                                                    |
/// | ok, error, reason   | whether its image decodes, or it needs none; why not; zr::Reason of it |
/// | sopClass, patient, ... | what the object is, see addFacts()                            |
/// | image               | {columns, rows, frames, bytesPerSample, samplesPerPixel, lossy,        |
/// |                     | sampleOffset, frameSpacing in mm, and what `frameValues` names: rescale,  |
/// |                     | rescaleUnit, voiWindow, windows, pixelSpacing, position, orientation,     |
/// |                     | space, with those that differ between frames under perFrame}              |
/// | overlays            | [{group, frame, origin [x, y], size [w, h]}]: embedded in the samples |
/// | splitting           | {splittable, reason, reversed, pointer, pointerKind, timeSlots, rrIntervals, |
/// |                     | volumes [[frame numbers in slice order]]}                            |
///
/// Absent values are null. A file that cannot be read has null in everything but `file`, `ok`,
/// `error` and `reason`. Nothing is thrown for a bad file, lack of memory included.
nlohmann::ordered_json reportFile(const std::filesystem::path& path,
                                  const zr::MemoryBudget& memory);

/// The report on a file that cannot be read, for a reason that is known.
nlohmann::ordered_json reportError(const std::filesystem::path& path, const zr::Error& error);

}  // namespace zrdcm
