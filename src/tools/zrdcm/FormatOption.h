// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>
#include <zrimaging/Formats.h>

namespace CLI {
class App;
}

namespace zrdcm {

using FormatList = std::vector<const zr::OutputFormat*>;

/// The endings in words: ".npy, .nrrd or .raw".
std::string endingsInWords(const FormatList& formats);

/// The names, for a choice.
std::vector<std::string> namesOf(const FormatList& formats);

/// The names with something between them: "nrrd|npy".
std::string namesJoined(const FormatList& formats, const std::string& between);

/// What the help says of each format: its ending, and what is written.
std::string formatTable(const FormatList& formats);

/// The option --compress for formats that leave the choice.
void addCompressOption(CLI::App& command, bool& compressed);

/// @throws UsageError when `compressed` is asked of a format that does not leave the choice
void refuseCompressionOf(const zr::OutputFormat& format, bool compressed);

/// The formats that pictures are written in.
FormatList pictureFormats();

/// What is wrong with a name for a picture, as a check of CLI11; empty when its ending is that of a
/// picture.
std::string checkPictureName(const std::string& name);

/// The ending of pictures whose names are made here.
std::string pictureEnding();

/// What stands for the name of a picture in help texts.
constexpr const char* kPictureTypeName = "PICTURE";

}  // namespace zrdcm
