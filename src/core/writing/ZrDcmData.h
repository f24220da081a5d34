// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtDArray.h>
#include <ktlib/KtString.h>

class GxParamBase;
class GxParamBundle;
class GxParameter;
class ZrDcmData;

// The content of a file to be written, as text: nodes (`ZrDcmData`: a dataset or a sequence item)
// hold attributes (`ZrDcmTag`) and sequences (`ZrDcmSequence`), whose items are nodes again. The
// tree knows nothing of DCMTK; the export writer turns it into a dataset.
//
// A key names an attribute or sequence: "G%04x-%04x" of group and element, lower-case hexadecimal,
// for example "G0008-0016". Keys are compared as whole texts: "G8-16" is another key, though it
// parses to the same numbers.

/// One attribute: its key, and its value in DICOM's text form (several values separated by a
/// backslash). A plain value.
class ZrDcmTag {
public:
  unsigned int group = 0;    ///< parsed from the key; 0 where the key does not parse
  unsigned int element = 0;  ///< parsed from the key; 0 where the key does not parse
  KtString value;
  KtString key;

  /// Parses the numbers with "G%x-%x"; of "G0002" only the group is read.
  ZrDcmTag(KtString tagKey, KtString tagValue);
};

/// One sequence attribute with its items. A plain value.
class ZrDcmSequence {
public:
  unsigned int group = 0;    ///< parsed from the key as for a tag
  unsigned int element = 0;  ///< parsed from the key as for a tag
  KtString key;
  KtDArray<ZrDcmData> items;  ///< item i becomes DICOM item number i
  ZrDcmData* parent;  ///< node that the sequence was started in; not owned, not followed when
                      ///< that node is copied or moved

  ZrDcmSequence(KtString sequenceKey, ZrDcmData* parentNode);
};

/// One node: a dataset or a sequence item. A plain value that owns all that is below it.
///
/// The same key may be there once among the tags and once among the sequences; nothing checks that.
/// Failures are a false or null result, the node's `lastError` and a log line "ZrDcmData: ...".
class ZrDcmData {
public:
  KtDArray<ZrDcmTag> tags;            ///< in order of insertion
  KtDArray<ZrDcmSequence> sequences;  ///< in order of insertion
  KtString lastError;                 ///< of this node; empty until something failed

  /// Sets or adds an attribute; a replaced one keeps its place in the list.
  ///
  /// @return false when the key exists and `overwrite` is false; the old value stays.
  bool setDicomTag(const KtString& key, const KtString& value, bool overwrite);

  /// Adds a sequence without items, or empties the one that exists.
  ///
  /// @return the sequence, valid until another one is added to this node; null when the key exists
  ///         and `overwrite` is false.
  ZrDcmSequence* startSequence(const KtString& key, bool overwrite);

  /// Value text of the first tag with this key, valid while the node is unchanged; `defaultValue`
  /// itself when there is none.
  const char* dicomTag(const KtString& key, const char* defaultValue) const;

  /// Fills the node from a parameter bundle whose parameters are named by tag keys.
  ///
  /// A parameter "G0010-0010" with text "PN: Doe^John" sets an attribute: the value is all that
  /// follows the first colon and one blank. Without colon or value it is passed over. A
  /// bundle with such a name is a sequence: its child bundles "Item_0", "Item_1", ... up to the
  /// first missing number are the items, or itself when there is no "Item_0". Odd (private) groups
  /// and other names are passed over.
  ///
  /// @return false at the first failure; what was filled in until then stays.
  bool addParameters(const GxParamBundle* bundle, bool overwrite);

  /// Logs an error as "ZrDcmData: ..." and keeps it in `lastError`.
  void setLastError(const KtString& message);

private:
  bool addValue(const KtString& key, const GxParameter* parameter, bool overwrite);
  bool addSequence(const KtString& key, const GxParamBase* parameter, bool overwrite);
  bool addItem(ZrDcmSequence& sequence, const GxParamBundle* bundle, bool overwrite);
};
