// SPDX-License-Identifier: BSD-3-Clause
// What the user reads: lines on stderr, results on stdout, the logs of the libraries.
#include "Messages.h"

#include <ktlib/KtLogFile.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/oflog/oflog.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>

namespace zrdcm {

namespace {

bool wantsMessages = true;

}  // namespace

std::string printable(const std::string& text) {
  std::string clean = text;
  std::replace_if(
      clean.begin(), clean.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
  return clean;
}

void showMessages(bool shown) {
  wantsMessages = shown;
}

bool messagesShown() {
  return wantsMessages;
}

void complain(const std::string& line) {
  if (!wantsMessages) {
    return;
  }
  (void)std::fprintf(stderr, "zrdcm: %s\n", printable(line).c_str());  // nowhere else to go
}

void say(const std::string& line) {
  // The stream remembers failures; main looks at it once, at the end.
  (void)std::fputs(line.c_str(), stdout);
  (void)std::fputc('\n', stdout);
}

void sayJson(const nlohmann::ordered_json& value) {
  say(value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

void showLibraryLog(bool shown) {
  OFLog::configure(shown ? OFLogger::WARN_LOG_LEVEL : OFLogger::OFF_LOG_LEVEL);
  if (shown) {
    getTheLogInstance().setSink({});  // the default: stderr
  } else {
    getTheLogInstance().setSink([](KtLogFile::Level, const std::string&) {});
  }
}

}  // namespace zrdcm
