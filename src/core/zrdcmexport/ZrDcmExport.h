// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ZrdcmexportApi.h>

#include <memory>
#include <string>

class GxParamBundle;
class ZrDcmExportPrivate;

/// Writes new DICOM files: a caller's pixel buffer and its attributes as text become a file of
/// PS3.10 in Explicit VR Little Endian, uncompressed and with a single frame.
///
/// The writer adds the File Meta Information and the Pixel Data. Everything else (patient, study,
/// series, SOP Class and Instance UID, rows, columns, bits, photometric interpretation and so on)
/// is what the caller set; nothing is derived from the pixel buffer and nothing is checked against
/// it. Directory, file name and attributes stay between calls, so the files of a series need only
/// what changes.
///
/// Failures are a false result, the text of `lastError` and a line in the application log. One
/// object is used by one thread at a time. Should memory run out when the object is built, every
/// later call answers false, and `lastError` is empty.
class ZRDCMEXPORT_API ZrDcmExport {
public:
  ZrDcmExport();
  ~ZrDcmExport();
  ZrDcmExport(const ZrDcmExport&) = delete;
  ZrDcmExport& operator=(const ZrDcmExport&) = delete;

  /// Sets or replaces one attribute of the dataset.
  ///
  /// @param group   group number of the attribute
  /// @param element element number of the attribute
  /// @param value DICOM's text form, several values separated by a backslash; copied. Null fails
  ///              without a message. Whether the text suits the attribute shows when the file is
  ///              written. Attributes of group 0x0002 are accepted here and never written.
  [[nodiscard]] bool setDicomTag(unsigned short group, unsigned short element, const char* value);

  /// Sets the directory of the files to come and creates it when it is missing.
  ///
  /// The path is kept whatever the answer, and files are written into it all the same.
  ///
  /// @return false when the path is not a directory, is read-only or cannot be created: a line in
  ///         the log says so, `lastError` stays as it is.
  [[nodiscard]] bool setOutputBaseDirectory(const char* path);

  /// Sets the name of the next file, relative to the output directory; always true.
  [[nodiscard]] bool setFilename(const char* name);

  /// Writes one file: monochrome, unsigned 16-bit samples exactly as they are in the buffer.
  ///
  /// True means that the operating system took every byte. An existing file of that name is
  /// overwritten; after a failed write it is left behind empty, so that a fragment is not mistaken
  /// for a file.
  ///
  /// @param dim1   positive; usually the columns
  /// @param dim2   positive; usually the rows. Only the product counts: Rows (0028,0010) and
  ///               Columns (0028,0011) are attributes for the caller to set.
  /// @param pixels dim1 x dim2 samples, row by row; read only
  /// @see PS3.10 section 7 (DICOM File Format), PS3.5 annex A.2 (Explicit VR Little Endian)
  [[nodiscard]] bool writeImageAsIs(int dim1, int dim2, unsigned short* pixels);

  /// Text of the last failure; success does not clear it.
  [[nodiscard]] std::string lastError() const;

  /// The attribute that the last call of writeImageAsIs() could not put into the dataset, and why:
  /// "SourceImageSequence[0].ReferencedFrameNumber: Corrupted data". Items count from 0; an
  /// attribute that the dictionary does not know has its numbers for a name, "(0028,0112)". Empty
  /// when the call succeeded or failed for another reason.
  [[nodiscard]] std::string refusedAttribute() const;

  /// Why an attribute cannot be written with this text, as the second half of a sentence that
  /// begins with its name ("has no text form (value representation OW)"); empty when it can. Asks
  /// before anything is set; places in a sequence make no difference.
  ///
  /// @param group   group number of the attribute
  /// @param element element number of the attribute
  /// @param value   DICOM's text form, as for setDicomTag()
  /// @param samplesAreSigned what Pixel Representation (0028,0103) says of the file. The writer
  ///              gives attributes that hold sample values (VR "US or SS", such as Pixel Padding
  ///              Value) the VR of unsigned samples, which signed ones do not allow.
  /// @see PS3.5 section 6.2 (Value Representation), PS3.3 C.7.6.3 (Image Pixel Module)
  [[nodiscard]] static std::string reasonNotWritable(unsigned short group, unsigned short element,
                                                     const std::string& value,
                                                     bool samplesAreSigned);

  /// Sets or replaces attributes from a parameter bundle of the host application.
  ///
  /// Values are parameters named like "G0010-0010" whose text reads "VR: value"; sequences are
  /// bundles named alike, with their items in child bundles "Item_0", "Item_1" and so on (without
  /// "Item_0" the bundle is its own single item). Private groups and other names are passed over.
  /// After a failure the attributes before it stay set.
  [[nodiscard]] bool addParameters(const GxParamBundle* bundle);

private:
  std::unique_ptr<ZrDcmExportPrivate> private_;
};
