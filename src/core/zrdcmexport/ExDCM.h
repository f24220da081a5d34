// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ZrdcmexportApi.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctag.h"
#include "dcmtk/dcmdata/dctagkey.h"

#include <string>

class DcmDataset;
class DcmOtherByteOtherWord;
class GlobalDcmDataDictionary;

/// Private data elements and small services around DCMTK datasets.
///
/// Three subjects: entries for private data elements in a DCMTK data dictionary, binary values as
/// text, and the order of the images of a series.
namespace ExDCM {

/// Keys of this product's own data elements: group 0x0071, block 0x10, private creator "Zorlan"
/// (PS3.5 7.8.1, Private Data Element Tags).
///
/// The constants are the rows of <zrdcmexport/PrivateElements.def>, a table of names, element
/// numbers, VRs and VMs. The keys carry the full element number (0x10xx). They are filled when the
/// library is loaded; static objects of other libraries must not read them while they are being
/// initialised. To put one of these elements into a dataset, use zorlanTag(), and write the private
/// creator into (0071,0010).
namespace PrivateTag {

/// Private creator text, "Zorlan".
ZRDCMEXPORT_API extern const char* const CreatorZorlan;
/// Group of the private block, 0x0071.
ZRDCMEXPORT_API extern const Uint16 CreatorGroupZorlan;

// One constant for each row of the table.
#define ZRDCMEXPORT_PRIVATE_ELEMENT(name, element, vr, vm) \
  ZRDCMEXPORT_API extern const DcmTagKey name;
#include <zrdcmexport/PrivateElements.def>

}  // namespace PrivateTag

/// Adds the private entries to DCMTK's process-wide dictionary, `dcmDataDict`.
///
/// The first call does the work, later calls return at once. May be called from any thread, but not
/// while the calling thread holds a lock on the dictionary.
///
/// @see addPrivateTagsToDict()
ZRDCMEXPORT_API void registerPrivateDicomTags();

/// Adds the private entries to `dict`, once per dictionary.
///
/// The entries are elements of other vendors, the own ones (PrivateTag) and internal ones of group
/// 0x0006, which never reach a file; `zrdcm dict` lists them. An entry that is already there with
/// the same key and private creator is replaced. Datasets that were loaded before are not changed.
/// May be called from any thread, but not while the calling thread holds a lock on the dictionary.
///
/// @param dict dictionary to extend, not owned; null means `dcmDataDict`. It is remembered by its
///             address for the life of the process: another dictionary that is later created at the
///             same address counts as extended.
/// @throws std::bad_alloc when memory runs out; entries added until then stay, the locks are
///             released and a later call adds the full set.
ZRDCMEXPORT_API void addPrivateTagsToDict(GlobalDcmDataDictionary* dict);

/// Tag of an own element: `key` bound to the private creator "Zorlan".
///
/// DCMTK thereby finds VR and name of the element once the entries are registered; before that, and
/// for keys that are not in PrivateTag, the VR of the tag is unknown.
///
/// @param key one of PrivateTag
[[nodiscard]] ZRDCMEXPORT_API DcmTag zorlanTag(const DcmTagKey& key);

/// Text that a file stored under an unknown VR, typically a private element of a dataset in
/// implicit VR that was read without its dictionary entry (PS3.5 6.2.2, Unknown (UN) Value
/// Representation).
///
/// Looks up the VR that the dictionary knows for the element's tag and private creator. When that
/// is a text VR (AS, CS, DA, DS, DT, IS, LO, LT, PN, SH, ST, TM, UI, UT; not AE), the value is
/// text. An element whose VR is known already is looked up only when it has a private creator.
///
/// @param element must not be null; its VR becomes the one that was looked up, whatever the result,
///                except SQ, which a byte element cannot be
/// @param text    the bytes of the value as they are, padding included and character set as stored;
///                empty when the result is false
/// @return false when the dictionary has no text VR for the element, or the value is empty or
///         cannot be read as bytes
[[nodiscard]] ZRDCMEXPORT_API bool getOFStringFromUN(DcmOtherByteOtherWord* element,
                                                     std::string& text);

/// Value of a word element (OW) as numbers separated by backslashes.
///
/// | `valueType` | the value is read as | printed as |
/// |---|---|---|
/// | 0 | unsigned 16-bit | decimal |
/// | 1 | signed 16-bit | decimal |
/// | 2 | 32-bit float | six significant digits, fixed or scientific, whichever is shorter |
/// | 3 | 64-bit float | as type 2 |
/// | 4 | signed 32-bit | decimal |
///
/// Types 2 to 4 take the 16-bit words of the value one after the other as they lie in memory. Bytes
/// at the end that do not fill a number are ignored.
///
/// @param element   must not be null; its value is loaded when it is still in the file
/// @param valueType what the value is read as, 0 to 4
/// @param text    the numbers; empty when the value is shorter than one number (the result is true
///                then), and when the result is false
/// @return false for another `valueType`, and when the value cannot be read as 16-bit words: OB,
///         UN, encapsulated pixel data, or a file that is gone
[[nodiscard]] ZRDCMEXPORT_API bool getOFStringFromOBOW(DcmOtherByteOtherWord* element,
                                                       int valueType, std::string& text);

/// Order of two images of a series: which of them comes first.
///
/// The first of these criteria that tells the datasets apart decides; those with a switch are only
/// looked at when it is true:
///
/// 1. Image Type (0008,0008), when both datasets have it and are of the same series;
/// 2. `byEchoTime`: Echo Time (0018,0081), differences up to 0.01 ms do not count;
/// 3. `byVendorIndices`: private integers (2005,1412), then (2005,1413);
/// 4. `byTemporalPosition`: Temporal Position Identifier (0020,0100);
/// 5. `byRpeakDelay`: PctRpeakDelay (0045,1033);
/// 6. Slice Thickness (0018,0050), when both datasets have it; 0.001 mm do not count;
/// 7. `byCardiacPhase`: ToshibaCardiacPhase (7005,1005);
/// 8. `byVolumeUID`: ToshibaVolumeUID (7005,1016), as text;
/// 9. Instance Number (0020,0013).
///
/// Private elements are found by their numbers, whoever created the block. Absent numbers count as
/// 0, an absent Echo Time or cardiac phase as -1; an attribute that is present but empty counts as
/// 0.
///
/// This is not a strict weak ordering and must not be handed to std::sort: with `byVendorIndices`,
/// an absent (2005,1413) counts as 0 in the first dataset and as -1 in the second, so that two
/// datasets without it come out positive in either order; and the tolerances make equality
/// intransitive.
///
/// Neither dataset is changed, but DCMTK moves a cursor inside of both: datasets must not be used
/// by another thread at the same time.
///
/// @param first, second      must not be null; may be the same
/// @param byVendorIndices    switch of criterion 3
/// @param byTemporalPosition switch of criterion 4
/// @param byRpeakDelay       switch of criterion 5
/// @param byEchoTime         switch of criterion 2
/// @param byVolumeUID        switch of criterion 8
/// @param byCardiacPhase     switch of criterion 7
/// @return negative when `first` comes first, positive when `second` does, 0 when nothing decides;
///         only the sign means something
[[nodiscard]] ZRDCMEXPORT_API int compare(DcmDataset* first, DcmDataset* second,
                                          bool byVendorIndices, bool byTemporalPosition,
                                          bool byRpeakDelay, bool byEchoTime, bool byVolumeUID,
                                          bool byCardiacPhase);

}  // namespace ExDCM
