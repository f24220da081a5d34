// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>
#include <zrimaging/Frames.h>

namespace zrdcm {

/// `text` as it may go to a terminal: one line of UTF-8, a blank for every character that a
/// terminal would act on (isUnsafeOnTerminals), \xE9 for a byte that is no UTF-8. Whatever the
/// functions below write passes through here, names of files included.
std::string printable(const std::string& text);

/// Whether the user wants to see messages and progress on stderr (yes, when the program starts).
void showMessages(bool shown);
bool messagesShown();

/// Tells the user one line on stderr, if messages are wanted.
void complain(const std::string& line);

/// Tells the user of each remark.
void complainOfAll(const std::vector<zr::Remark>& remarks);

/// Writes the line to stdout, made printable; the main program notices when stdout could not take
/// it.
/// @throws zr::ReaderGone when nobody reads stdout any more
void say(const std::string& line);

/// JSON that a terminal can show: characters that it would act on are written as \u009b. It is on
/// one line when `indent` is -1.
/// Bytes that are no UTF-8 become \xE9; the object whose text holds them, itself or in a list, gets
/// `"escaped": true`.
std::string jsonText(const nlohmann::ordered_json& value, int indent = 2);

/// Prints jsonText on stdout.
void sayJson(const nlohmann::ordered_json& value);

/// The same on one line that is written at once, whoever reads it.
void sayJsonLine(const nlohmann::ordered_json& value);

/// Switches the log of DCMTK and of the library on or off (off when the program starts).
/// They tell of every oddity in a file, which would drown the one line that says what is wrong.
void showLibraryLog(bool shown);

}  // namespace zrdcm
