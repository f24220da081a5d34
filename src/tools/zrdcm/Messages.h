// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace zrdcm {

/// `text` with everything that could play tricks on a terminal replaced: one line, no control
/// characters. Texts from files pass through here before they are shown.
std::string printable(const std::string& text);

/// Whether the user wants to see messages and progress on stderr (yes, when the program starts).
void showMessages(bool shown);
bool messagesShown();

/// Tells the user one line on stderr, if messages are wanted.
void complain(const std::string& line);

/// Writes the line to stdout; the main program notices when stdout could not take it.
void say(const std::string& line);

/// Prints JSON on stdout, indented. Bytes that are no UTF-8 become replacement characters.
void sayJson(const nlohmann::ordered_json& value);

/// Switches the log of DCMTK and of the library on or off (off when the program starts).
/// They tell of every oddity in a file, which would drown the one line that says what is wrong.
void showLibraryLog(bool shown);

}  // namespace zrdcm
