// SPDX-License-Identifier: BSD-3-Clause
// What the user reads: lines on stderr, results on stdout, the logs of the libraries.
#include "Messages.h"

#include "zrimaging/Log.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/oflog/appender.h"
#include "dcmtk/oflog/logger.h"
#include "dcmtk/oflog/loglevel.h"
#include "dcmtk/oflog/oflog.h"
#include "dcmtk/oflog/spi/logevent.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdio>
#include <optional>
#include <zrimaging/Output.h>
#include <zrimaging/Text.h>

namespace zrdcm {

namespace {

namespace oflog = dcmtk::log4cplus;
using Json = nlohmann::ordered_json;

constexpr const char* kEscapedKey = "escaped";

bool wantsMessages = true;

void writeLine(const std::string& line) {
  const bool taken = std::fputs(line.c_str(), stdout) >= 0 && std::fputc('\n', stdout) != EOF;
  // The stream remembers other failures; main looks at it once, at the end.
  if (!taken && zr::readerIsGone()) {
    throw zr::ReaderGone();
  }
}

// Calls `take` with every character of a text, or with nothing for a byte that is none.
template <class Take>
void forEachCharacter(const std::string& text, const Take& take) {
  for (std::size_t i = 0; i < text.size();) {
    const std::optional<zr::Utf8Character> character = zr::utf8At(text, i);
    const std::size_t bytes = character ? character->bytes : 1;
    take(character, text.substr(i, bytes));
    i += bytes;
  }
}

/// Escapes the bytes of all texts that are no UTF-8.
/// @return whether the value is such a text, or a list with one: what it belongs to is to say so
bool escapeTexts(Json& value) {
  if (value.is_string()) {
    const auto text = value.get<std::string>();
    std::string escaped = zr::withEscapedBytes(text);
    const bool differs = escaped != text;
    value = std::move(escaped);
    return differs;
  }
  bool anyEscaped = false;
  if (value.is_structured()) {
    for (Json& part : value) {
      anyEscaped = escapeTexts(part) || anyEscaped;
    }
  }
  if (value.is_object() && anyEscaped) {
    value[kEscapedKey] = true;
    return false;
  }
  return anyEscaped;
}

// Libraries log what they found in files, so their lines pass through the filter as all others do.
void showLogLine(const std::string& mark, const std::string& text) {
  (void)std::fprintf(stderr, "%s%s\n", mark.c_str(),
                     printable(text).c_str());  // nowhere else to go
}

/// DCMTK's log on stderr: the first letter of the level and the text, as DCMTK shows them itself.
class PrintableLog : public oflog::Appender {
public:
  PrintableLog() = default;
  PrintableLog(const PrintableLog&) = delete;
  PrintableLog& operator=(const PrintableLog&) = delete;
  ~PrintableLog() override { destructorImpl(); }  // as every appender has to

  void close() override { closed = true; }

protected:
  void append(const oflog::spi::InternalLoggingEvent& event) override {
    const oflog::tstring level = oflog::getLogLevelManager().toString(event.getLogLevel());
    showLogLine(level.substr(0, 1) + ": ", event.getMessage());
  }
};

void showDcmtkLog() {
  OFLog::configure(OFLogger::WARN_LOG_LEVEL);
  oflog::Logger root = oflog::Logger::getRoot();
  root.removeAllAppenders();
  root.addAppender(oflog::SharedAppenderPtr(new PrintableLog));
}

}  // namespace

std::string printable(const std::string& text) {
  std::string clean;
  clean.reserve(text.size());
  forEachCharacter(
      text, [&clean](const std::optional<zr::Utf8Character>& character, const std::string& bytes) {
        if (!character) {
          clean += zr::escapedByte(bytes.front());
        } else if (zr::isUnsafeOnTerminals(character->code)) {
          clean += ' ';
        } else {
          clean += bytes;
        }
      });
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

void complainOfAll(const std::vector<zr::Remark>& remarks) {
  for (const zr::Remark& remark : remarks) {
    complain(remark.file + ": " + remark.text);
  }
}

void say(const std::string& line) {
  writeLine(printable(line));
}

std::string jsonText(const Json& value, int indent) {
  constexpr char32_t kFirstThatJsonLeaves = 0x7F;
  Json shown = value;
  (void)escapeTexts(shown);  // a text that is the whole of it has no object that could tell
  std::string text;
  // Beyond ASCII there is nothing but the texts within quotation marks.
  forEachCharacter(
      shown.dump(indent, ' ', false, Json::error_handler_t::replace),
      [&text](const std::optional<zr::Utf8Character>& character, const std::string& bytes) {
        const char32_t code = character ? character->code : 0;
        if (code >= kFirstThatJsonLeaves && zr::isUnsafeOnTerminals(code)) {
          char escape[8];  // all of them are below U+FFFF
          (void)std::snprintf(escape, sizeof escape, "\\u%04x",
                              static_cast<unsigned>(code & 0xFFFFU));
          text += escape;
        } else {
          text += bytes;
        }
      });
  return text;
}

void sayJson(const Json& value) {
  writeLine(jsonText(value));
}

void sayJsonLine(const Json& value) {
  constexpr int kOneLine = -1;
  writeLine(jsonText(value, kOneLine));
  if (std::fflush(stdout) != 0 && zr::readerIsGone()) {
    throw zr::ReaderGone();
  }
}

void showLibraryLog(bool shown) {
  if (shown) {
    showDcmtkLog();
    zr::sendLogTo(
        [](bool isWarning, const std::string& text) { showLogLine(isWarning ? "W: " : "", text); });
  } else {
    OFLog::configure(OFLogger::OFF_LOG_LEVEL);
    zr::sendLogTo({});
  }
}

}  // namespace zrdcm
