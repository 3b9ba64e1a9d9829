#include <gtest/gtest.h>

#include "kit/platform_fakes.h"

namespace qv {
namespace {

TEST(DebugLog, StandardErrorGetsTheExactLine) {
  testing::internal::CaptureStderr();
  OutputDebugStringW(u"Zoë 100% \U0001F600 ");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Zoë 100% \U0001F600 \n");
}

TEST(Identifiers, FreshOnesAreRandomOfVersion4) {
  const GUID first = GuidSource::Default().New();
  const GUID second = GuidSource::Default().New();
  EXPECT_NE(first, second);
  EXPECT_EQ(first.data3 >> 12, 4);
  EXPECT_EQ(first.data4[0] >> 6, 2);
}

TEST(Clock, LocalTimeFollowsTheEnvironment) {
  const auto secondsIn = [](const char* zone) {
    const test::ScopedEnvironment use("TZ", zone);
    const std::optional<DATE> date = SystemTimeToVariantTime(Clock::Default().LocalTime());
    return VariantTimeToSeconds(date.value()).value();
  };
  const int64_t utc = secondsIn("UTC0");
  const int64_t east = secondsIn("XXX-5:30");
  EXPECT_NEAR(static_cast<double>(east - utc), 19800, 10);
  EXPECT_NEAR(static_cast<double>(utc - 25569 * 86400LL),
              static_cast<double>(Clock::Default().UtcSeconds()), 10);
}

}  // namespace
}  // namespace qv
