// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "writing/ZrDcmData.h"

#include <ktlib/KtPrimType.h>
#include <ktlib/KtString.h>

#include <string>

class DcmDataset;
class DcmFileFormat;
class DcmItem;
class DcmMetaInfo;

/// Implementation of the export writer, and the root node of the attributes that it writes.
///
/// Everything that fails here answers false, keeps its message for `lastError()` and logs it as
/// "Reformat: ...", after the first use of the writer, which readers of logs look for. What fails
/// in the tree is logged twice, by the tree and by the writer.
class ZrDcmExportPrivate : public ZrDcmData {
public:
  KtString outputBaseDirectory;        ///< directory of the files; its existence is not required
  KtString filename;                   ///< relative to the directory
  KtString implementationVersionName;  ///< (0002,0013)
  KtString implementationClassUID;     ///< (0002,0012), below `uidRoot`
  KtString uidRoot;                    ///< our root in the tree of object identifiers

  ZrDcmExportPrivate();

  /// Sets or replaces an attribute of the dataset.
  bool setDicomTag(const KtString& key, const KtString& value);

  /// Keeps the path, then checks that it is a writable directory or creates it. Failures go to the
  /// log alone and leave `lastError()` as it is.
  bool setOutputBaseDirectory(const char* path);

  /// Keeps the name; always true.
  bool setFilename(const char* name);

  /// Fills the dataset from a parameter bundle, replacing what is there.
  bool addParameters(const GxParamBundle* bundle);

  /// Writes one file from the tree and a pixel buffer.
  ///
  /// @param dim1   positive, as is `dim2`; only the product counts. It is taken in 32 bits.
  /// @param dim2   see `dim1`
  /// @param pixels dim1 x dim2 x samplesPerPixel samples, written as they are
  /// @param type   U8, S16 or U16; with any other type the file gets no Pixel Data
  bool writeImageAsIs(int dim1, int dim2, void* pixels, KtPrimType type, int samplesPerPixel);

  /// Puts a node's attributes and sequences into a DCMTK item, recursively. File meta attributes
  /// are left out; the attributes that have the VR "US or SS" and speak of sample values take
  /// theirs from `type`. Sets no message; the attribute that cannot be put is `refusedAttribute`.
  ///
  /// @param flag handed down unchanged; it has no effect
  /// @return false at the first attribute that cannot be put (unknown VR, unreadable number)
  bool writeDicomTags(DcmItem* item, const ZrDcmData* node, KtPrimType type, bool flag);

  /// Why an attribute cannot be in a file of the face, whose samples are unsigned words; empty when
  /// it can.
  static std::string reasonNotWritable(unsigned int group, unsigned int element,
                                       const std::string& value, bool samplesAreSigned);

  /// The attribute that the last file could not have, with its place in the tree and the reason.
  std::string refusedAttribute() const { return refusedAttribute_; }

  /// Copy of the writer's last error; success does not clear it. Hides the tree's.
  std::string lastError() const;

  /// Logs an error as "Reformat: ..." and keeps it.
  void setLastError(const KtString& message);

private:
  bool fail(const KtString& message);
  [[nodiscard]] bool fillMetaInfo(DcmFileFormat& file) const;
  bool writeFile(DcmMetaInfo& metaInfo, DcmDataset& dataset);

  KtString lastError_;
  std::string refusedAttribute_;
};
