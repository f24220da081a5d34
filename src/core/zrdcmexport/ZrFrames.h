// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ZrSliceImage.h>
#include <zrdcmexport/ZrdcmexportApi.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

class DcmItem;

/// Single frames of an image, by their number in the dataset.
///
/// SliceImage::process is made for whole images: of a range of compressed colour frames it delivers
/// the first frame of the dataset for each, and it counts frames in 16 bits. The functions here
/// take a frame by its number, decode that one and nothing else, and count in full.
namespace Zrg {

/// What decodeFrame() delivers of every frame of an image.
struct FrameFormat {
  std::uint64_t frames = 0;           ///< as numberOfFrames() says
  std::uint32_t columns = 0;          ///< pixels of a row
  std::uint32_t rows = 0;             ///< rows of a frame
  std::uint32_t samplesPerPixel = 0;  ///< 1, or 3 for interleaved RGB
  std::uint32_t bytesPerSample = 0;   ///< 1, 2 or 4 as Bits Allocated says; 1 for RGB
  bool monochrome = false;            ///< MONOCHROME1 or MONOCHROME2; everything else becomes RGB

  /// Bytes of one frame: rows x columns x samples per pixel x bytes per sample, without padding.
  [[nodiscard]] std::uint64_t frameBytes() const {
    return std::uint64_t{columns} * rows * samplesPerPixel * bytesPerSample;  // below 2^36
  }
};

/// Number of Frames as the item has it, in full; 1 when it is missing, empty, 0 or no number. How
/// many frames the pixel data really holds is not looked at. The item is only read.
/// @see PS3.3 C.7.6.6.1.1 (Number of Frames)
[[nodiscard]] ZRDCMEXPORT_API std::uint64_t numberOfFrames(DcmItem& item);

/// Reads what decodeFrame() would deliver, without decoding. The item is only read.
///
/// @param item      the image
/// @param format    receives what frames will be
/// @param errorText what is missing, or which kind of samples is not decoded; empty after success.
/// @return false, `format` unchanged, for an item without image attributes or pixel data, and for
///         samples that are not whole bytes (1 bit a pixel, 12 bits allocated).
/// @see PS3.3 C.7.6.3 (Image Pixel Module)
[[nodiscard]] ZRDCMEXPORT_API bool readFrameFormat(DcmItem& item, FrameFormat& format,
                                                   std::string& errorText);

/// Fills the record of an image with what its attributes say, as SliceImage::process does, without
/// decoding a sample: extent (with all frames), samples per pixel and bytes per sample as
/// decodeFrame() delivers them, lossy flag, rescale, window and spacing. `valid` becomes false;
/// memory and overlays of the record stay as they are. The item is only read.
///
/// @return false, the record unchanged, for the items that readFrameFormat() refuses.
[[nodiscard]] ZRDCMEXPORT_API bool describeImage(DcmItem& item, SliceImage& image,
                                                 std::string& errorText);

/// Memory, in bytes, that decoding the frames `first` to `last` takes at its peak; to be compared
/// with a limit before anything is decoded. It counts, by the attributes alone:
///
/// - monochrome: the containers of these frames, Bits Allocated in whole bytes (two bytes where
///   more than 8 bits are stored). That is what decodeFrame() delivers and what SliceImage::process
///   takes, whether it decodes in place or a range;
/// - colour: these frames as interleaved 8-bit RGB, and for the one frame that is being rendered
///   its containers, a copy of them, and three planes of rendered samples as wide as the
///   containers, two bytes at least for a palette. SliceImage::process holds that for all its
///   frames at once: ask for it with the frames one by one.
///
/// It does not count the compressed data, which is no larger than the file, nor what the caller
/// does with the samples.
///
/// @param item       the image
/// @param first,last 0-based; they need not be there, so that a claim can be judged.
/// @return the largest number when the sum does not fit; nothing when the item does not say how
///         large its frames are, or `last` is below `first`. The item is only read.
[[nodiscard]] ZRDCMEXPORT_API std::optional<std::uint64_t> decodedBytes(DcmItem& item,
                                                                        std::uint64_t first,
                                                                        std::uint64_t last);

/// Decodes one frame into memory of the caller, whatever its photometric interpretation and
/// transfer syntax. No other frame is decoded, and none stays decoded in the dataset: native frames
/// are read from the file alone, of compressed ones nothing but the fragments of this frame is
/// looked at.
///
/// Monochrome samples come as they are stored: containers of `bytesPerSample` bytes in the byte
/// order of the machine, with whatever is beside the stored bits, signed when Pixel Representation
/// says so. ExDicomUtilities::extractSample_applyLUT_makeUnsigned makes of them what
/// SliceImage::process delivers. A compressed stream of at most 8 bits is widened to containers of
/// 16 bits. Everything else comes as interleaved RGB with 8 bits a sample.
///
/// Frames in several fragments are found by the offset table, else by the start of image in each
/// fragment; where neither tells, the function fails rather than guess.
///
/// @param item       the dataset, or an item with pixel data of its own. Afterwards it has a Planar
///                   Configuration (0) when it lacked one and has several samples a pixel.
/// @param frame      0-based number of the frame.
/// @param target     receives frameBytes() of readFrameFormat(); owned by the caller.
/// @param targetSize bytes of `target`.
/// @param errorText  one line that says why, after failure; empty after success.
/// @return false when there is no such frame, when it does not decode as a whole, or when memory
///         runs out ("out of memory"). The target may then hold anything.
/// @see PS3.5 A.4 (encapsulated pixel data), PS3.3 C.7.6.3.1.2 (Photometric Interpretation)
[[nodiscard]] ZRDCMEXPORT_API bool decodeFrame(DcmItem& item, std::uint64_t frame, void* target,
                                               std::uint64_t targetSize, std::string& errorText);

/// Frames of one image by their numbers, in any order, each as decodeFrame() delivers it.
///
/// decodeFrame() reads the attributes and finds out where the frames begin at each call. A reader
/// does so once: to read many frames of one image costs what the frames cost.
///
///     Zrg::FrameReader reader;
///     bool done = reader.open(dataset, error);
///     for (std::uint64_t frame = 0; done && frame < reader.format().frames; ++frame) {
///       done = reader.decode(frame, memory.data(), memory.size(), error);
///     }
///
/// The item must outlive the reader, and its attributes and pixel data stay as they are; that its
/// pixel data is decompressed meanwhile does no harm. A reader is used by one thread at a time, and
/// so is its item. Readers move; one that was moved from has no image.
class ZRDCMEXPORT_API FrameReader {
public:
  /// A reader without an image.
  FrameReader();
  ~FrameReader();
  FrameReader(FrameReader&& other) noexcept;
  FrameReader& operator=(FrameReader&& other) noexcept;
  FrameReader(const FrameReader&) = delete;
  FrameReader& operator=(const FrameReader&) = delete;

  /// Reads what there is to know before decoding. The image that the reader had before is let go.
  ///
  /// @param item      the dataset, or an item with pixel data of its own.
  /// @param errorText cleared; on failure as readFrameFormat() says.
  /// @return false, and the reader has no image, for the items that readFrameFormat() refuses and
  ///         when memory runs out.
  [[nodiscard]] bool open(DcmItem& item, std::string& errorText);

  /// What decode() delivers of every frame; without an image all of it is 0.
  [[nodiscard]] FrameFormat format() const;

  /// Judges a frame without decoding it, so that memory is taken only for what can be there:
  ///
  ///     if (reader.check(0, error)) {
  ///       memory.resize(reader.format().frameBytes());
  ///     }
  ///
  /// A frame passes when there is such a number; compressed, when its fragments are found and what
  /// they hold leads the decoder to a frame of this size and not out of bounds; native, when the
  /// pixel data reaches to its end (of colour, which is shown as far as it is there: to its
  /// beginning). Samples that pass may be damaged all the same, and then decode() fails.
  ///
  /// @param frame     0-based number of the frame
  /// @param errorText cleared; on failure one line that says why
  /// @return false when decode() would fail for one of these reasons, and for a reader without an
  ///         image. The item stays as it is; fragments are loaded as decode() does.
  [[nodiscard]] bool check(std::uint64_t frame, std::string& errorText);

  /// Decodes one frame; parameters, changes of the item and failures are those of decodeFrame(). A
  /// reader without an image fails.
  [[nodiscard]] bool decode(std::uint64_t frame, void* target, std::uint64_t targetSize,
                            std::string& errorText);

  /// Decodes one frame of compressed data and leaves it as it comes from the decoder, for those who
  /// make other colours of it than decode() does, or keep its depth.
  ///
  /// @param frame      0-based number of the frame.
  /// @param target     receives containerBytes(): containers of Bits Allocated in the byte order of
  ///                   the machine, in the order that Planar Configuration says; owned by the
  ///                   caller.
  /// @param targetSize bytes of `target`.
  /// @param photometricInterpretation receives what the samples are now: decoders turn YBR_FULL_422
  ///                   and YBR_RCT, say, into RGB.
  /// @param errorText  one line that says why, after failure; empty after success.
  /// @return false as decode() does, and for data that is not compressed. The target may then hold
  ///         anything.
  /// @see PS3.3 C.7.6.3.1.2 (Photometric Interpretation), C.7.6.3.1.3 (Planar Configuration)
  [[nodiscard]] bool decodeContainers(std::uint64_t frame, void* target, std::uint64_t targetSize,
                                      std::string& photometricInterpretation,
                                      std::string& errorText);

  /// Bytes of a frame in containers of Bits Allocated, for all samples of its pixels; without an
  /// image 0.
  [[nodiscard]] std::uint64_t containerBytes() const;

private:
  class State;
  std::unique_ptr<State> state_;
};

/// Fragments `first` to `last` of encapsulated pixel data, both included; fragment 0 is the Basic
/// Offset Table.
struct FragmentRange {
  unsigned long first;
  unsigned long last;
};

/// Which fragments of encapsulated pixel data hold which frame, whoever decodes them: by the Basic
/// or Extended Offset Table, because there are as many fragments as frames, or by what fragments of
/// the transfer syntax begin frames with. Each is found once, in one pass over the headers of the
/// fragments; their bytes are not loaded.
///
/// The item must outlive the index, and its pixel data stays as it is. An index is used by one
/// thread at a time.
/// @see PS3.5 A.4 (Transfer Syntaxes For Encapsulation of Encoded Pixel Data)
class ZRDCMEXPORT_API FrameFragmentIndex {
public:
  /// @param item with the pixel data; one without encapsulated pixel data has an index without
  ///             frames.
  /// @throws std::bad_alloc
  explicit FrameFragmentIndex(DcmItem& item);
  ~FrameFragmentIndex();
  FrameFragmentIndex(FrameFragmentIndex&& other) noexcept;
  FrameFragmentIndex& operator=(FrameFragmentIndex&& other) noexcept;
  FrameFragmentIndex(const FrameFragmentIndex&) = delete;
  FrameFragmentIndex& operator=(const FrameFragmentIndex&) = delete;

  /// The fragments of a frame; nothing when it is not known where it begins or ends.
  /// @param frame 0-based
  /// @throws std::bad_alloc
  [[nodiscard]] std::optional<FragmentRange> fragmentsOf(std::uint64_t frame);

private:
  class State;
  std::unique_ptr<State> state_;
};

}  // namespace Zrg
