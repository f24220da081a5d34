// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/Compression.h"

#include <zrcodecs/ZrCodecs.h>

#include <gtest/gtest.h>

/// The codecs are registered while such a test runs, and only then.
class WithCodecs : public testing::Test {
protected:
  WithCodecs() {
    support::silenceDcmtk();
    EXPECT_TRUE(zrcodecs::registerCodecs());
  }
  ~WithCodecs() override { zrcodecs::deregisterCodecs(); }
};
