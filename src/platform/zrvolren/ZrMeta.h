// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// What a volume knows about data that accompanies it: whether it is kept with the volume, and
/// whether it can be made again from the volume's own samples.
///
/// A small value, usually a temporary that a container copies.
class ZrMeta {
public:
  /// @param isStored the data is written along with the volume
  /// @param isDerived the data was taken out of the volume's samples (embedded overlays are)
  ZrMeta(bool isStored, bool isDerived) : isStored_(isStored), isDerived_(isDerived) {}

  [[nodiscard]] bool isStored() const { return isStored_; }
  [[nodiscard]] bool isDerived() const { return isDerived_; }

private:
  bool isStored_;
  bool isDerived_;
};
