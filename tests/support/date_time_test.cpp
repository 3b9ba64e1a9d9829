#include "support/date_time.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "kit/platform_fakes.h"
#include "support/text.h"

namespace qv {
namespace {

const DateTimeValue kInvalid(40000.0, DateStatus::Invalid);
const DateTimeValue kNull = DateTimeValue::Null();
constexpr double kSecond = 1.0 / 86400;

DateTimeValue Moment(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  DateTimeValue date;
  EXPECT_EQ(date.SetDateTime(year, month, day, hour, minute, second), DateStatus::Valid);
  return date;
}

TEST(DateTime, ArithmeticIsLinearBefore1900Too) {
  const DateTimeSpan sixHours(0, 6, 0, 0);
  EXPECT_EQ((DateTimeValue(-1.75) + sixHours).value, 0.0);  // 18:00 on the day before day 0
  EXPECT_EQ((DateTimeValue(0.0) - sixHours).value, -1.75);
  EXPECT_EQ((DateTimeValue(-2.0) - sixHours).value, -3.75);
  EXPECT_EQ((DateTimeValue(40606.0) + DateTimeSpan(1, 12, 0, 0)).value, 40607.5);
  EXPECT_EQ((kNull + sixHours).status, DateStatus::Null);
  EXPECT_EQ((kInvalid + sixHours).status, DateStatus::Invalid);
  EXPECT_EQ((DateTimeValue(1.0) + DateTimeSpan(3615898, 0, 0, 0)).status, DateStatus::Invalid);
  EXPECT_EQ((Moment(9999, 12, 31) + DateTimeSpan(1, 0, 0, 0)).status, DateStatus::Invalid);
  EXPECT_EQ((Moment(100, 1, 1) - sixHours).status, DateStatus::Invalid);
  EXPECT_EQ((Moment(100, 1, 2) - sixHours).GetHour(), 18);
  EXPECT_EQ(DateTimeSpan(0, std::nan(""), 0, 0).status, DateStatus::Invalid);
}

TEST(DateTime, Ordering) {
  EXPECT_TRUE(DateTimeValue(-1.25) < DateTimeValue(-1.75));  // 06:00 and 18:00 of one day
  EXPECT_TRUE(DateTimeValue(-0.5) == DateTimeValue(0.5));
  EXPECT_TRUE(DateTimeValue(2.0) >= DateTimeValue(2.0));
  EXPECT_TRUE(kNull == kNull && kNull <= kNull && kNull >= kNull);
  EXPECT_FALSE(kNull < kNull || kNull > kNull);
  EXPECT_FALSE(kInvalid == kInvalid || kInvalid <= kInvalid || kInvalid >= kInvalid);
  const DateTimeValue valid(kInvalid.value);
  EXPECT_FALSE(valid == kInvalid || valid < kNull || valid > kNull || kNull <= valid);
}

TEST(DateTime, CompareEqualsComparingThePrintedTexts) {
  const double infinity = std::numeric_limits<double>::infinity();
  std::vector<DATE> dates = {1e300, -1e300, infinity, -infinity, std::nan("")};
  for (const DATE day : {0.0, -1.0, -2.0, 40606.5, 2958465.5, 2958466.0, -657434.0, -657435.0}) {
    for (const double part : {0.0, 0.1, -0.25, -0.75, 0.1 * kSecond, 0.6 * kSecond, kSecond}) {
      dates.insert(dates.end(), {day + part, day - part});
    }
  }
  const auto print = [](DATE date) {
    std::u16string text = FormatCompactDateTime(date);
    text.erase(text.find(u'T'), 1);
    return text;
  };
  for (const DATE a : dates) {
    for (const DATE b : dates) {
      const int order = print(a).compare(print(b));
      EXPECT_EQ(CompareDateTime(a, b), order == 0 ? 0 : (order > 0 ? 1 : -1)) << a << ' ' << b;
    }
  }
  EXPECT_EQ(CompareDateTime(40606.5, 40606.5 + 0.1 * kSecond), 0);
  EXPECT_EQ(CompareDateTime(40606.5 + kSecond, 40606.5), 1);
}

TEST(DateTime, Formats) {
  const DateTimeValue date = Moment(2011, 3, 4, 5, 6, 7);
  EXPECT_EQ(date.GetDayOfWeek(), 6);
  EXPECT_EQ(DateTimeValue().SetDateTime(2011 + 65536, 6, 1, 0, 0, 0), DateStatus::Invalid);
  EXPECT_EQ(FormatDateTime(date), u"2011-03-04 05:06:07");
  EXPECT_EQ(FormatDateTimeMinutes(date), u"2011-03-04 05:06");
  EXPECT_EQ(FormatCompactDateTime(date), u"20110304T050607");
  EXPECT_EQ(FormatDateTime(Moment(100, 1, 1)), u"0100-01-01 00:00:00");
  for (const DateTimeValue& none : {DateTimeValue(), kNull, kInvalid}) {
    EXPECT_EQ(FormatDateTime(none), u"");
    EXPECT_EQ(FormatDateTimeMinutes(none), u"");
  }
  EXPECT_EQ(FormatCompactDateTime(kNull), u"-001-1-1T-1-1-1");
  EXPECT_EQ(FormatCompactDateTime(0.0), u"18991230T000000");
}

// A dump of a parsed date: its text, or its status.
std::string Dump(const DateTimeValue& date) {
  if (date.status == DateStatus::Null) return "null";
  if (date.status == DateStatus::Invalid) return "invalid";
  return date.value == 0.0 ? "0.0" : ToUtf8(FormatDateTime(date));
}

TEST(ParseDateTime, ReadsByPosition) {
  const struct {
    std::u16string_view text;
    std::string_view dump;
  } cases[] = {
      {u"2011-03-04 05:06:07", "2011-03-04 05:06:07"},
      {u"2011x03x04x05x06x07xyz", "2011-03-04 05:06:07"},
      {u"2011-03-04", "2011-03-04 00:00:00"},
      {u"2011-03-04 05:0", "2011-03-04 05:00:00"},
      {u"2011- 3- 4  5: 6: 7", "2011-03-04 05:06:07"},
      {u"2011-03-04 24:00:00", "2011-03-05 00:00:00"},
      {u"2011-12-31 24:10:11", "2012-01-01 00:10:11"},
      {u"2079-06-04 24:00:00", "2079-06-05 00:00:00"},
      {u"1899-12-29 24:00:00", "0.0"},
      {u"9999-12-31 24:00:00", "invalid"},
      {u"2011-03-04 25:00:00", "invalid"},
      {u"2011-06-31 00:00:00", "invalid"},
      {u"2011-00-04 00:00:00", "invalid"},
      {u"2011-03--4 00:00:00", "invalid"},
      {u"2011", "invalid"},
      {u"rubbish", "invalid"},
      {u"", "null"},
  };
  for (const auto& [text, dump] : cases) {
    EXPECT_EQ(Dump(ParseDateTime(text)), dump) << ToUtf8(text);
    const DATE column = dump[0] == 'i' || dump[0] == 'n' ? 0.0 : ParseDateTime(text).value;
    EXPECT_EQ(ParseDateColumn(text), column) << ToUtf8(text);
  }
  EXPECT_EQ(ParseDateTime(u"2079-06-04 24:00:00").value, 65536.0);
}

TEST(ParseLooseDateTime, ReadsWhatPeopleWrite) {
  const struct {
    std::u16string_view text;
    std::string_view dump;
  } cases[] = {
      {u"2011-03-04", "2011-03-04 00:00:00"},
      {u"20110304", "2011-03-04 00:00:00"},
      {u"20110304T101500", "2011-03-04 10:15:00"},
      {u"2011/03/04 9:05", "2011-03-04 09:05:00"},
      {u"2011-03-04 9:5:7", "2011-03-04 09:05:07"},
      {u"2011-03-04 9:5:7:30", "2011-03-04 09:05:07"},
      {u"2011-03-04 10:15:307", "2011-03-04 10:15:30"},
      {u"2011-03-04 10:15:30.25 Z", "2011-03-04 10:15:30"},
      {u"2011-03-04 9", "2011-03-04 00:00:00"},
      {u"2011-03-04 09:5", "2011-03-04 09:00:00"},
      {u"2011-03-04 24:00", "2011-03-05 00:00:00"},
      {u"on 2:0:1:1, 03. of 04, at :7:", "2011-03-04 07:00:00"},
      {u"\uFF12\uFF10\uFF11\uFF11", "null"},  // digits of another script are none
      {u"2011-03", "null"},
      {u"2011/3/4", "null"},
      {u"0000-03-04", "null"},
      {u"2011-13-04", "null"},
      {u"2011-03-32", "null"},
      {u"2011-03-04 25", "null"},
      {u"2011-03-04 10:60", "null"},
      {u"2011-03-04 10:15:60", "null"},
      {u"", "null"},
      {u"2011-06-31", "invalid"},
      {u"0099-01-01", "invalid"},
  };
  for (const auto& [text, dump] : cases) {
    EXPECT_EQ(Dump(ParseLooseDateTime(text)), dump) << ToUtf8(text);
  }
}

TEST(DateTime, NowAndSecondsSince1970) {
  test::FakeClock clock(1'299'215'167, 3600);
  const ScopedService<Clock> use(clock);
  EXPECT_EQ(Dump(GetCurrentUtc()), "2011-03-04 05:06:07");
  EXPECT_EQ(Dump(GetCurrentDateTime()), "2011-03-04 06:06:07");
  EXPECT_EQ(GetCurrentUtc().value, Moment(2011, 3, 4, 5, 6, 7).value);
  for (const int64_t seconds :
       {int64_t{0}, int64_t{-1}, int64_t{-2'300'000'000}, clock.UtcSeconds()}) {
    EXPECT_EQ(UnixSecondsFromDate(DateFromUnixSeconds(seconds)), seconds);
  }
  EXPECT_EQ(DateFromUnixSeconds(INT64_MAX), 0.0);
  EXPECT_EQ(DateFromUnixSeconds(INT64_MIN), 0.0);
  EXPECT_EQ(UnixSecondsFromDate(std::nan("")), 0);
}

}  // namespace
}  // namespace qv
