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

TEST(Identifiers, Md5OfKnownBytes) {
  const Md5Digest nothing{0xD4, 0x1D, 0x8C, 0xD9, 0x8F, 0x00, 0xB2, 0x04,
                          0xE9, 0x80, 0x09, 0x98, 0xEC, 0xF8, 0x42, 0x7E};
  EXPECT_EQ(Md5Provider::Default().Digest(""), nothing);
  const Md5Digest abc{0x90, 0x01, 0x50, 0x98, 0x3C, 0xD2, 0x4F, 0xB0,
                      0xD6, 0x96, 0x3F, 0x7D, 0x28, 0xE1, 0x7F, 0x72};
  EXPECT_EQ(Md5Provider::Default().Digest("abc"), abc);
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
