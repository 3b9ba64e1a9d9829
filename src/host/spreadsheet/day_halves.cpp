#include "host/spreadsheet/day_halves.h"

#include <algorithm>
#include <string>

namespace qv {
namespace {

struct Words {
  std::u16string_view morning;
  std::u16string_view afternoon;
};

// As PlainWord gives them. None stands for one half here and for the other there.
constexpr Words kWords[] = {
    {u"am", u"pm"},             // English, Spanish, Portuguese, and programs everywhere
    {u"a", u"p"},               // English, short
    {u"vm", u"nm"},             // Afrikaans, Dutch
    {u"vorm", u"nachm"},        // German
    {u"fm", u"em"},             // Swedish
    {u"fh", u"eh"},             // Icelandic
    {u"ap", u"ip"},             // Finnish
    {u"dop", u"odp"},           // Czech, Slovak
    {u"dop", u"pop"},           // Slovenian
    {u"de", u"du"},             // Hungarian
    {u"pd", u"md"},             // Albanian
    {u"öö", u"ös"},             // Turkish
    {u"sa", u"ch"},             // Vietnamese
    {u"pg", u"ptg"},            // Malay
    {u"yb", u"yh"},             // Welsh
    {u"rn", u"in"},             // Irish
    {u"priešpiet", u"popiet"},  // Lithuanian
    {u"priekšp", u"pēcp"},      // Latvian
    {u"priekšpusdienā", u"pēcpusdienā"},
    {u"delamañana", u"delatarde"},  // Spanish in words
    {u"damanhã", u"datarde"},       // Portuguese in words
    {u"πμ", u"μμ"},                 // Greek
    {u"дп", u"пп"},                 // Ukrainian, Russian
    {u"проб", u"слоб"},             // Bulgarian
    {u"претпладне", u"попладне"},   // Macedonian
    {u"上午", u"下午"},             // Chinese
    {u"午前", u"午後"},             // Japanese
    {u"오전", u"오후"},             // Korean
    {u"ص", u"م"},                   // Arabic
    {u"قظ", u"بظ"},                 // Persian
    {u"לפנהצ", u"אחהצ"},            // Hebrew
    {u"पूर्वाह्न", u"अपराह्न"},         // Hindi
    {u"পূর্বাহ্ণ", u"অপরাহ্ণ"},         // Bengali
    {u"ก่อนเที่ยง", u"หลังเที่ยง"},       // Thai
};

// Latin-1, Greek and Cyrillic capitals.
char16_t Lower(char16_t unit) {
  const bool isCapital = (unit >= u'A' && unit <= u'Z') || (unit >= 0xC0 && unit <= 0xDE) ||
                         (unit >= 0x391 && unit <= 0x3A9) || (unit >= 0x410 && unit <= 0x42F);
  return isCapital ? static_cast<char16_t>(unit + 0x20) : unit;
}

std::u16string PlainWord(std::u16string_view word) {
  // The last four are blanks that are not broken at, and Hebrew quotes.
  constexpr std::u16string_view kPassedOver = u" .'\"\u00A0\u202F\u05F3\u05F4";
  std::u16string plain;
  for (const char16_t unit : word) {
    if (kPassedOver.find(unit) == kPassedOver.npos) plain.push_back(Lower(unit));
  }
  return plain;
}

}  // namespace

std::optional<DayHalf> DayHalfOf(std::u16string_view word) {
  const std::u16string plain = PlainWord(word);
  if (plain.empty()) return std::nullopt;
  for (const Words& words : kWords) {
    if (plain == words.morning) return DayHalf::Morning;
    if (plain == words.afternoon) return DayHalf::Afternoon;
  }
  return std::nullopt;
}

}  // namespace qv
