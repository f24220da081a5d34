// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dicom/Result.h"
#include "streams/Jpeg2000Cursor.h"
#include "streams/Jpeg2000Stream.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

/// The headers of a JPEG 2000 image, each kind read in a file of its own. What is read here has
/// passed the checks that the head of Jpeg2000Stream.cpp lists.
namespace Zrg::Jpeg2000 {

inline constexpr unsigned int kStartOfTilePart = 0xFF90;
inline constexpr unsigned int kStartOfData = 0xFF93;

inline constexpr unsigned int kMostComponents = 4;
inline constexpr unsigned int kMostLevels = 32;

inline constexpr FailureText kCutHeader{"JPEG 2000 headers are damaged or cut short"};
inline constexpr FailureText kBadTiles{"JPEG 2000 stream has no tiles or too many for its size"};
inline constexpr FailureText kBadCoding{"JPEG 2000 stream has a coding style that does not exist"};

/// A rectangle of the reference grid: columns x0 to x1 - 1, rows y0 to y1 - 1.
struct Area {
  uint64_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;
};

/// Size of the image and of its tiles, as SIZ says it.
struct Sizes {
  Area image;
  uint32_t tileWidth = 0, tileHeight = 0, tilesX = 0, tilesY = 0;
  uint64_t tilesAcross = 0, tilesDown = 0;  ///< how many tiles there are; worked out
};

/// How the samples of one component are coded.
struct ComponentCoding {
  unsigned int levels = 0;
  unsigned int blockWidth = 0;  // exponents
  unsigned int blockHeight = 0;
  bool isHighThroughput = false;
  std::array<uint8_t, kMostLevels + 1> precincts{};
};

/// How a tile is coded.
struct Coding {
  uint64_t layers = 0;  // 0: not said yet
  std::array<ComponentCoding, kMostComponents> components{};
};

/// Where the codestream is in the bytes of a frame.
struct Codestream {
  std::size_t begin = 0;
  std::size_t end = 0;
  /// Its end marker; `end` where it has none. Behind it a container may have put a byte to make its
  /// length even.
  std::size_t endMarker = 0;
};

/// What the headers of a codestream say.
struct Headers {
  Sizes sizes;
  std::vector<Jpeg2000Component> components;
  Coding coding;                       ///< of the main header
  std::map<uint32_t, Coding> ofTiles;  ///< of each tile, from its tile-parts
};

/// Finds the codestream, which may be in a box of a JP2 file, and its first marker.
[[nodiscard]] Result<Codestream> findCodestream(const uint8_t* bytes, std::size_t size);

/// Reads SIZ, which is next in the stream.
[[nodiscard]] std::optional<FailureText> readSizes(Cursor& stream, const Jpeg2000Frame& frame,
                                                   Headers& headers);

/// Reads segments up to the marker that ends a main or tile-part header, which is taken.
[[nodiscard]] std::optional<FailureText> readSegments(Cursor& stream, unsigned int lastMarker,
                                                      std::size_t components, Coding& coding);

/// Reads the headers of the tile-parts, the first of whose markers has been taken. Behind the last
/// of them an end marker may be missing, and bytes of the container may follow.
///
/// @return the byte behind the last tile-part
[[nodiscard]] Result<std::size_t> readTileParts(Cursor& stream, const Codestream& codestream,
                                                const Jpeg2000Frame& frame, Headers& headers);

/// Counts packets and code-blocks, and holds them against the bytes of the stream and the samples
/// of the image.
[[nodiscard]] std::optional<FailureText> checkCounts(const Headers& headers,
                                                     const Jpeg2000Frame& frame, std::size_t size);

}  // namespace Zrg::Jpeg2000
