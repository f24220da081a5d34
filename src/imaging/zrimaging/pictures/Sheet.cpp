// SPDX-License-Identifier: BSD-3-Clause
// Contact sheets. Text is in capital letters.
#include "zrimaging/Boundary.h"
#include "zrimaging/Sheets.h"
#include "zrimaging/Text.h"
#include "zrimaging/Thumbnails.h"
#include "zrimaging/pictures/Letters.h"
#include "zrimaging/pictures/SheetLayout.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <map>
#include <numeric>
#include <set>
#include <string_view>
#include <utility>

namespace zr {

namespace {

constexpr Colour kGround = {17, 19, 24};
constexpr Colour kRule = {52, 57, 68};
constexpr Colour kTitle = {236, 239, 244};
constexpr Colour kText = {150, 158, 172};
constexpr Colour kLabel = {206, 212, 222};
constexpr Colour kFaint = {104, 112, 126};
constexpr Colour kNotice = {255, 168, 64};
constexpr std::size_t kLegendGap = 24;

int asInt(std::size_t value) {
  return static_cast<int>(value);  // sheets are at most a few thousand pixels wide
}

std::size_t widthOf(std::string_view text, int scale) {
  return static_cast<std::size_t>(textWidth(text, scale));
}

/// The sheet while it is drawn.
class Sheet {
public:
  explicit Sheet(const SheetLayout& layout)
      : picture_{layout.sheetHeight, layout.sheetWidth, 3, {}} {
    picture_.samples.resize(picture_.rows * picture_.columns * 3);
    for (std::size_t i = 0; i < picture_.samples.size(); ++i) {
      picture_.samples[i] = kGround.at(i % 3);
    }
  }

  Picture take() { return std::move(picture_); }

  void fill(std::size_t x, std::size_t y, std::size_t width, std::size_t height,
            const Colour& colour) {
    for (std::size_t row = y; row < std::min(y + height, picture_.rows); ++row) {
      for (std::size_t column = x; column < std::min(x + width, picture_.columns); ++column) {
        std::copy(colour.begin(), colour.end(), at(column, row));
      }
    }
  }

  void paste(const Picture& tile, std::size_t x, std::size_t y) {
    const std::size_t rowBytes = 3 * tile.columns;
    for (std::size_t row = 0; row < tile.rows; ++row) {
      std::copy_n(&tile.samples[row * rowBytes], rowBytes, at(x, y + row));
    }
  }

  void write(std::string_view text, std::size_t x, std::size_t y, int scale, const Colour& colour) {
    drawText(text, asInt(x), asInt(y), scale, [&](int column, int row) {
      if (column >= 0 && row >= 0 && column < asInt(picture_.columns) &&
          row < asInt(picture_.rows)) {
        std::copy(colour.begin(), colour.end(),
                  at(static_cast<std::size_t>(column), static_cast<std::size_t>(row)));
      }
    });
  }

private:
  unsigned char* at(std::size_t x, std::size_t y) {
    return &picture_.samples[3 * (y * picture_.columns + x)];
  }

  Picture picture_;
};

// The letters that there are: capitals. What is no letter, digit or known sign becomes a blank, a
// letter of several bytes one.
std::string inCapitals(const std::string& text) {
  std::string capitals;
  for (const char letter : text) {
    const auto byte = static_cast<unsigned char>(letter);
    const bool continues = (byte & 0xC0U) == 0x80U;
    if (continues) {
      continue;
    }
    const bool known =
        std::isalnum(byte) != 0 || std::string_view(".-/: ").find(letter) != std::string_view::npos;
    capitals += known ? static_cast<char>(std::toupper(byte)) : letter == '_' ? '-' : ' ';
  }
  return capitals;
}

// As much of the text as fits, with dots where it was cut.
std::string shortened(const std::string& text, std::size_t width, int scale) {
  if (widthOf(text, scale) <= width) {
    return text;
  }
  const std::size_t letters = width / widthOf("A", scale);
  return text.substr(0, letters > 3 ? letters - 3 : 0) + "...";
}

std::string ordinal(std::size_t number) {
  const std::size_t lastTwo = number % 100;
  const bool teen = lastTwo >= 11 && lastTwo <= 13;
  const char* ending = "TH";
  if (!teen && number % 10 >= 1 && number % 10 <= 3) {
    ending = number % 10 == 1 ? "ST" : number % 10 == 2 ? "ND" : "RD";
  }
  return std::to_string(number) + ending;
}

// Frames look as their pixels are in the body: pixels need not be square.
SheetNeeds sheetNeedsOf(const FrameTraits& traits, const SheetContent& content, bool legend) {
  SheetNeeds needs;
  needs.frames = content.frames.size();
  needs.frameWidth = static_cast<double>(traits.columns);
  needs.frameHeight = static_cast<double>(traits.rows);
  const double aspect = content.pixelAspect;
  (aspect > 1 ? needs.frameHeight : needs.frameWidth) *= aspect > 1 ? aspect : 1 / aspect;
  needs.wantedColumns = content.columns;
  needs.headerLines = legend ? 2 : 1;
  return needs;
}

std::string plainNumber(double value) {
  return shortest(static_cast<float>(value));
}

std::string subtitleOf(const FrameTraits& traits, const SheetContent& content) {
  const std::size_t count = content.frames.size();
  const std::string unit = content.inVolume ? "slice" : "frame";
  std::string text = content.details + std::to_string(count) + " " + unit +
                     (count == 1 ? "" : "s") + " of " + std::to_string(traits.columns) + " x " +
                     std::to_string(traits.rows);
  if (content.display && !content.display->uniform()) {
    text += " - windows by frame";
  } else if (content.display && content.display->frame(0).table) {
    text += " - table " + content.display->frame(0).table->explanation.utf8;
  } else if (content.display) {
    const Window& window = content.display->frame(0).window;
    text += " - window " + plainNumber(window.centre) + " / " + plainNumber(window.width);
  }
  return text;
}

void drawHeader(Sheet& sheet, const SheetLayout& layout, const SheetContent& content,
                const std::string& subtitle, const std::vector<unsigned>& groups) {
  const int scale = layout.titleScale;
  const std::size_t lineHeight = static_cast<std::size_t>(7 * scale + 8);
  const std::size_t width = layout.sheetWidth - 2 * SheetLayout::kMargin;
  std::size_t y = SheetLayout::kMargin;
  const auto line = [&](const std::string& text, const Colour& colour) {
    sheet.write(shortened(inCapitals(text), width, scale), SheetLayout::kMargin, y, scale, colour);
    y += lineHeight;
  };
  line(content.title, kTitle);
  line(subtitle, kText);
  if (layout.every > 1) {
    line("EVERY " + ordinal(layout.every) + " FRAME IS SHOWN: " + std::to_string(layout.shown) +
             " OF " + std::to_string(content.frames.size()),
         kNotice);
  }
  std::size_t x = SheetLayout::kMargin;
  for (const unsigned group : groups) {
    char name[24];
    (void)std::snprintf(name, sizeof name, "OVERLAY %04X", group & 0xFFFFU);  // always fits
    const auto letter = static_cast<std::size_t>(7 * scale);
    sheet.fill(x, y, letter, letter, overlayColour(group));
    const std::size_t nameAt = x + letter + static_cast<std::size_t>(4 * scale);
    sheet.write(name, nameAt, y, scale, kText);
    x = nameAt + widthOf(name, scale) + kLegendGap;
  }
}

/// The overlays of each frame that has any.
using OverlaysOfFrames = std::multimap<int, int>;

OverlaysOfFrames overlaysByFrame(const FramesRecord& record) {
  OverlaysOfFrames byFrame;
  if (record.overlays.isNotNull()) {
    for (int index = 0; index < record.overlays->count(); ++index) {
      byFrame.emplace(record.overlays->frame(index), index);
    }
  }
  return byFrame;
}

void drawFrameNumber(Sheet& sheet, const SheetLayout& layout, std::size_t place, std::size_t frame,
                     bool inVolume) {
  const int scale = layout.textScale;
  const std::size_t x = layout.left(place % layout.columns);
  const std::size_t y = layout.top(place / layout.columns) + layout.tileHeight + 5;
  const std::string number = std::to_string(frame);
  sheet.write(number, x, y, scale, kLabel);
  const std::string slice = "SLICE " + std::to_string(place * layout.every);
  const std::size_t width = widthOf(slice, scale) - static_cast<std::size_t>(scale);
  if (inVolume && widthOf(number, scale) + 6 + width <= layout.tileWidth) {
    sheet.write(slice, x + layout.tileWidth - width, y, scale, kFaint);
  }
}

}  // namespace

std::vector<unsigned> overlayGroups(const FramesRecord& record,
                                    const std::vector<std::size_t>& frames) {
  return atBoundary([&]() -> std::vector<unsigned> {
    const std::set<std::size_t> wanted(frames.begin(), frames.end());
    std::set<unsigned> groups;
    for (const auto& [frame, index] : overlaysByFrame(record)) {
      if (wanted.count(static_cast<std::size_t>(frame)) != 0) {
        groups.insert(record.overlays->group(index));
      }
    }
    return {groups.begin(), groups.end()};
  });
}

Picture drawContactSheet(Frames& frames, const SheetContent& content, SheetLayout& layout) {
  return atBoundary([&] {
    const FramesRecord& record = frames.record();
    const FrameTraits& traits = record.traits;
    const std::vector<unsigned> groups = overlayGroups(record, content.frames);
    layout = layOutSheet(sheetNeedsOf(traits, content, !groups.empty()));
    Thumbnailer thumbnailer(traits.layout(1), layout.tileWidth, layout.tileHeight);
    const FrameDisplay* shownThrough = nullptr;
    const OverlaysOfFrames overlays = overlaysByFrame(record);

    Sheet sheet(layout);
    drawHeader(sheet, layout, content, subtitleOf(traits, content), groups);
    for (std::size_t place = 0; place < layout.shown; ++place) {
      const std::size_t frame = content.frames[place * layout.every];
      const FrameDisplay* const display =
          content.display ? &content.display->frame(frame) : nullptr;
      if (display != nullptr && (shownThrough == nullptr || *display != *shownThrough)) {
        thumbnailer.showThrough(Greys(traits, *display));
        shownThrough = display;
      }
      Picture tile = thumbnailer.render(frames.frame(frame));
      const auto [first, end] = overlays.equal_range(static_cast<int>(frame));
      for (auto overlay = first; overlay != end; ++overlay) {
        thumbnailer.drawOverlay(tile, *record.overlays, overlay->second);
      }
      const std::size_t x = layout.left(place % layout.columns);
      const std::size_t y = layout.top(place / layout.columns);
      sheet.fill(x - 1, y - 1, layout.tileWidth + 2, layout.tileHeight + 2, kRule);
      sheet.paste(tile, x, y);
      drawFrameNumber(sheet, layout, place, frame, content.inVolume);
      if (content.tileDrawn) {
        content.tileDrawn(place + 1, layout.shown);
      }
    }
    return sheet.take();
  });
}

}  // namespace zr
