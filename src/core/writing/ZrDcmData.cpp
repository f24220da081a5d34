// SPDX-License-Identifier: BSD-3-Clause
// The attributes of a file to be written, as a tree of texts: setting and finding them one by one,
// and taking over a parameter bundle of the host application. What the texts mean in DICOM is left
// to the writer.
#include "writing/ZrDcmData.h"

#include <gx/GxParamBase.h>
#include <gx/GxParamBundle.h>
#include <gx/GxParameter.h>
#include <ktlib/KtLogFile.h>

#include <cstdio>
#include <cstring>
#include <optional>
#include <utility>

namespace {

// In order of occurrence. Deliberate: a sequence that may not be replaced reports the message of
// the tag operation. Test: ZrDcmData.RefusesToRestartASequence
constexpr const char* kOverwriteDisabled =
    "[setDicomTag] Overwrite of existing DICOM tags disabled.";
constexpr const char* kNoInputBundle = "[addParameters] No input bundle.";
constexpr const char* kSetDicomTagFailed = "[addParameters] setDicomTag failed.";
constexpr const char* kNoBundle = "[addParameters] dynamic_cast to GxParamBundle * failed.";
constexpr const char* kStartSequenceFailed = "[addParameters] startSequence failed.";
constexpr const char* kItemFailed = "[addParameters] item->addParameters failed.";

/// Reads group and element from a key; what does not parse stays as it is.
void parseNumbers(const KtString& key, unsigned int& group, unsigned int& element) {
  // How much was read does not matter: the callers' numbers begin as 0.
  (void)std::sscanf(key.c_str(), "G%x-%x", &group, &element);
}

/// First node of the list with this key; null when there is none.
template <class Node>
Node* findByKey(Node* begin, Node* end, const KtString& key) {
  for (Node* node = begin; node != end; ++node) {
    if (node->key == key) {
      return node;
    }
  }
  return nullptr;
}

/// Whether a parameter of this name is an attribute that may be taken over: a whole key of an even
/// group. Private attributes mean nothing without their creator, which the tree does not hold.
bool isPublicTagKey(const KtString& name) {
  unsigned int group = 0;
  unsigned int element = 0;
  const int numbersRead = std::sscanf(name.c_str(), "G%04x-%04x", &group, &element);
  return numbersRead == 2 && group % 2 == 0;
}

/// Value of a parameter text "VR: value"; nothing when the text is null or has no value.
std::optional<KtString> valueBehindColon(const char* text) {
  const char* colon = text == nullptr ? nullptr : std::strchr(text, ':');
  if (colon == nullptr) {
    return std::nullopt;
  }
  // One blank belongs to the notation, further ones to the value.
  const char* value = colon[1] == ' ' ? colon + 2 : colon + 1;
  if (*value == '\0') {
    return std::nullopt;
  }
  return KtString(value);
}

KtString itemName(int number) {
  return KtString::printf("Item_%d", number);
}

}  // namespace

ZrDcmTag::ZrDcmTag(KtString tagKey, KtString tagValue)
    : value(std::move(tagValue)), key(std::move(tagKey)) {
  parseNumbers(key, group, element);
}

ZrDcmSequence::ZrDcmSequence(KtString sequenceKey, ZrDcmData* parentNode)
    : key(std::move(sequenceKey)), parent(parentNode) {
  parseNumbers(key, group, element);
}

bool ZrDcmData::setDicomTag(const KtString& key, const KtString& value, bool overwrite) {
  ZrDcmTag tag(key, value);
  ZrDcmTag* existing = findByKey(tags.begin(), tags.end(), key);
  if (existing == nullptr) {
    tags.append(std::move(tag));
    return true;
  }
  if (!overwrite) {
    setLastError(kOverwriteDisabled);
    return false;
  }
  *existing = std::move(tag);
  return true;
}

ZrDcmSequence* ZrDcmData::startSequence(const KtString& key, bool overwrite) {
  ZrDcmSequence* existing = findByKey(sequences.begin(), sequences.end(), key);
  if (existing == nullptr) {
    return &sequences.append(ZrDcmSequence(key, this));
  }
  if (!overwrite) {
    setLastError(kOverwriteDisabled);
    return nullptr;
  }
  existing->items.clear();
  return existing;
}

const char* ZrDcmData::dicomTag(const KtString& key, const char* defaultValue) const {
  const ZrDcmTag* tag = findByKey(tags.begin(), tags.end(), key);
  return tag == nullptr ? defaultValue : tag->value.c_str();
}

bool ZrDcmData::addParameters(const GxParamBundle* bundle, bool overwrite) {
  if (bundle == nullptr) {
    setLastError(kNoInputBundle);
    return false;
  }
  for (int i = 0; i < bundle->count(); ++i) {
    const GxParamBase* parameter = bundle->param(i);
    if (parameter == nullptr || !isPublicTagKey(parameter->name())) {
      continue;
    }
    const bool added =
        parameter->isBundle()
            ? addSequence(parameter->name(), parameter, overwrite)
            : addValue(parameter->name(), dynamic_cast<const GxParameter*>(parameter), overwrite);
    if (!added) {
      return false;
    }
  }
  return true;
}

void ZrDcmData::setLastError(const KtString& message) {
  getTheLogInstance().printf("ZrDcmData: %s", message.c_str());
  lastError = message;
}

bool ZrDcmData::addValue(const KtString& key, const GxParameter* parameter, bool overwrite) {
  const char* text = parameter == nullptr ? nullptr : parameter->getString();
  const std::optional<KtString> value = valueBehindColon(text);
  if (!value) {
    return true;
  }
  if (!setDicomTag(key, *value, overwrite)) {
    setLastError(kSetDicomTagFailed);
    return false;
  }
  return true;
}

bool ZrDcmData::addSequence(const KtString& key, const GxParamBase* parameter, bool overwrite) {
  const auto* bundle = dynamic_cast<const GxParamBundle*>(parameter);
  if (bundle == nullptr) {
    setLastError(kNoBundle);
    return false;
  }
  ZrDcmSequence* sequence = startSequence(key, overwrite);
  if (sequence == nullptr) {
    setLastError(kStartSequenceFailed);
    return false;
  }
  const GxParamBundle* child = bundle->childBundle(itemName(0).c_str());
  if (child == nullptr) {
    return addItem(*sequence, bundle, overwrite);
  }
  for (int next = 1; child != nullptr; ++next) {
    if (!addItem(*sequence, child, overwrite)) {
      return false;
    }
    child = bundle->childBundle(itemName(next).c_str());
  }
  return true;
}

bool ZrDcmData::addItem(ZrDcmSequence& sequence, const GxParamBundle* bundle, bool overwrite) {
  ZrDcmData& item = sequence.items.append(ZrDcmData());
  if (!item.addParameters(bundle, overwrite)) {
    setLastError(kItemFailed);
    return false;
  }
  return true;
}
