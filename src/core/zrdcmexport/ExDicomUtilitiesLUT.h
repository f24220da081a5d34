// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtDArray.h>
#include <ktlib/KtHandle.h>
#include <ktlib/KtLibMD5.h>
#include <zrdcmexport/ZrdcmexportApi.h>
#include <zrvolren/ZrDataAccess.h>

class DcmItem;
class ZrMsg;
namespace Wex {
class Item;
}

namespace ExDicomUtilities {

/// One lookup table: a modality LUT, or the three palette colour LUTs merged into one RGB table.
///
/// A table without entries is the empty table. It stands for "there is no LUT" and is valid.
/// No operation reports errors: what cannot be had leaves the empty table. `std::bad_alloc` passes
/// through; reading from a dataset throws it for the entries as well, so that an image whose table
/// finds no memory does not pass for an image without one.
///
/// Copies are deep. Nothing is locked: `hash()` and `isValid()` fill a cache in a constant object,
/// so one table is used by one thread at a time.
///
/// @see PS3.3 C.11.1 (Modality LUT Module), C.7.6.3.1.5 and C.7.6.3.1.6 (Palette Color LUTs)
class ZRDCMEXPORT_API LUT {
public:
  /// Cached fingerprint; all zero means that it has not been computed yet. See hash().
  mutable KtLib::MD5 hashCache;
  /// The input value that maps to entry 0 (second value of the LUT Descriptor).
  int firstMapped = 0;
  /// The entries: dimensions (number of entries, 1, 1), type U8 or U16, 1 value per entry or 3
  /// (red, green, blue side by side). Null in the empty table. Whoever changes the entries or
  /// `firstMapped` by hand zeroes `hashCache`.
  KtHandle<ZrDataAccess> entries;

  /// A copy of `other`, or the empty table when it is null.
  explicit LUT(const LUT* other = nullptr);
  /// A deep copy; see operator=.
  LUT(const LUT& other);
  /// Becomes a deep copy with entries of its own. The fingerprint is not copied but computed again
  /// on demand. A table may be assigned to itself.
  LUT& operator=(const LUT& other);
  ~LUT() = default;

  /// Becomes the empty table.
  void clear();

  /// Whether the table is empty, or holds entries that can be applied.
  ///
  /// @param nComponents  values per entry that are wanted: 1, 3, or -1 for either. Not asked of the
  ///                     empty table.
  [[nodiscard]] bool isValid(int nComponents) const;

  /// Fingerprint of `firstMapped` and the entries, computed at the first call after a change.
  ///
  /// Equal tables have equal fingerprints. It is stable within one process only.
  [[nodiscard]] KtLib::MD5 hash() const;

  /// Fingerprint of the empty table: the MD5 of no bytes at all.
  [[nodiscard]] static KtLib::MD5 hashOfEmptyLUT();

  /// Becomes a table of the values in one of two arrays, of which either may be empty.
  ///
  /// The array that `prefer16` asks for is used unless only the other one has values. Values that
  /// do not fill a whole entry are dropped. The table is empty afterwards when there is no value,
  /// no whole entry, no component or no memory.
  ///
  /// @param data8        values of 8 bits; those of one entry side by side
  /// @param data16       values of 16 bits, likewise
  /// @param nComponents  values per entry
  /// @param firstMapped  input value that maps to entry 0
  /// @param prefer16     which array wins when both have values: the 16-bit one, or the 8-bit one
  void set(const KtDArray<unsigned char>& data8, const KtDArray<unsigned short>& data16,
           unsigned nComponents, int firstMapped, bool prefer16);

  /// Narrows a 16-bit RGB table to 8 bits by keeping the high byte of each value; any other table
  /// stays as it is. The fingerprint stays the one of the 16-bit table if it was computed before.
  void convertU161616ToU888();

  /// Reads the modality LUT or the palette of an item into `lut`.
  ///
  /// The modality LUT is the first item of the Modality LUT Sequence; the palette is made of the
  /// red, green and blue Palette Color LUTs. Usual defects are repaired: 8-bit entries packed into
  /// 16-bit words, entry counts that disagree with the data (the data counts), 16-bit data in which
  /// the descriptor announces 8 bits. Every descriptor that disagrees with its data writes one
  /// warning, "Modality LUT inconsistent.", to the application log.
  ///
  /// Red's first mapped value counts for the whole palette.
  ///
  /// @param lut          cleared first; empty when there is no LUT or no usable one
  /// @param item         the dataset or item of the image
  /// @param readPalette  false: the modality LUT, 1 value per entry; true: the palette, 3 values
  /// @see PS3.3 C.11.1.1 (LUT Descriptor), C.7.6.3.1.5 (Palette Color LUT Descriptor)
  static void dcmDatasetRead(LUT& lut, DcmItem& item, bool readPalette);
  /// @copydoc dcmDatasetRead(LUT&, DcmItem&, bool)
  static void dcmDatasetRead(LUT& lut, Wex::Item& item, bool readPalette);

  /// Writes a table into an item as Modality LUT Sequence or as Palette Color LUTs, in place of
  /// what stands there.
  ///
  /// The old elements go in any case, and nothing takes their place when the table does not fit: a
  /// modality LUT needs 1 value per entry, a palette 3. Entry counts of 65536 and more are written
  /// as 0, the low 16 bits of `firstMapped` as an unsigned number. Data of an odd number of bytes
  /// gets a padding byte, as every DICOM value. Failures of DCMTK are not reported.
  ///
  /// @param lut           the table; not changed
  /// @param item          the dataset or item of the image
  /// @param writePalette  false: as modality LUT; true: as palette
  /// @see PS3.3 C.11.1.1 (LUT Descriptor), C.7.6.3.1.6 (Palette Color LUT Data)
  static void dcmDatasetWrite(const LUT& lut, DcmItem& item, bool writePalette);
};

/// Sends a table: `firstMapped` as an int, then the entries (or null). The order is a wire format.
ZRDCMEXPORT_API ZrMsg& operator<<(ZrMsg& message, const LUT& lut);
/// Receives what operator<< sent. A malformed stream gives a table without entries.
ZRDCMEXPORT_API ZrMsg& operator>>(ZrMsg& message, LUT& lut);

}  // namespace ExDicomUtilities
