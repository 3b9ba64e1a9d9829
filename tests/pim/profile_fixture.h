// A PC side in a folder of its own, with a clock and a zone that a test can move.
#pragma once

#include <gtest/gtest.h>

#include "kit/platform_fakes.h"
#include "pim/outlook_manager.h"

namespace qv::test {

inline constexpr int64_t kMorning = 1'700'000'000;  // 2023-11-14 22:13:20 UTC

class ProfileFixture : public testing::Test {
 protected:
  ProfileFixture() {
    TheOutlookSettings() = {files.File("pim/deep"), true, true};
    Open(outlook);
  }
  ~ProfileFixture() override { TheOutlookSettings() = {}; }

  static void Open(OutlookManager& manager, const char16_t* profile = u"") {
    ASSERT_EQ(manager.initialize(profile), 1) << manager.lastError();
  }

  TempFolder files;
  FakeClock clock{kMorning};
  ScopedService<Clock> useClock{clock};
  FixedZone zone{"CET-1CEST,M3.5.0,M10.5.0/3"};
  ScopedService<TimeZone> useZone{zone};
  OutlookManager outlook;
};

}  // namespace qv::test
