#include "stores/importexport/csv_number.h"

#include <algorithm>
#include <limits>

namespace qv {
namespace {

constexpr bool IsBlank(char16_t unit) {
  return unit == u' ' || unit == u'\t';
}
constexpr bool IsDigit(char16_t unit) {
  return unit >= u'0' && unit <= u'9';
}

// Whether a fraction makes the number before it one more.
bool RoundsUp(std::u16string_view fraction, bool isOdd) {
  if (fraction.empty() || fraction[0] < u'5') return false;
  if (fraction[0] > u'5') return true;
  return isOdd || fraction.find_first_not_of(u'0', 1) != fraction.npos;
}

}  // namespace

int32_t CellNumber(std::u16string_view text) {
  constexpr int64_t kMax = std::numeric_limits<int32_t>::max();
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  const bool isNegative = text.starts_with(u'-');
  if (isNegative || text.starts_with(u'+')) text.remove_prefix(1);
  const size_t point = std::min(text.find(u'.'), text.size());
  const auto whole = text.substr(0, point);
  const auto fraction = text.substr(std::min(point + 1, text.size()));
  if (whole.empty() || !std::ranges::all_of(whole, IsDigit) ||
      !std::ranges::all_of(fraction, IsDigit)) {
    return 0;
  }
  int64_t number = 0;
  for (const char16_t digit : whole) number = std::min(number * 10 + (digit - u'0'), kMax + 2);
  if (RoundsUp(fraction, number % 2 != 0)) ++number;
  if (isNegative) number = -number;
  return number > kMax || number < -kMax - 1 ? 0 : static_cast<int32_t>(number);
}

}  // namespace qv
