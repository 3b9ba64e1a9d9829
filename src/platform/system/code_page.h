// Code pages: narrow text from and to UTF-16.
//
// Pages 0 and 3 are the one settable ANSI page, windows-1252 unless set; 65001 is UTF-8; any other
// number is the page "CPnnn" of the C library's iconv, or plain ASCII where iconv has none. The
// process locale never decides.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qv {

inline constexpr uint32_t kAnsiPage = 0;
inline constexpr uint32_t kThreadAnsiPage = 3;
inline constexpr uint32_t kUtf8Page = 65001;

class CodePages {
 public:
  virtual ~CodePages() = default;

  // By iconv name ("windows-1251", "EUC-KR"). False, and no change, for a name iconv lacks.
  virtual bool SetAnsiPage(std::string_view name) = 0;
  virtual std::string AnsiPage() = 0;
  // Characters the page lacks become "?".
  virtual std::string Encode(std::u16string_view text, uint32_t page) = 0;
  // Bad bytes become U+FFFD.
  virtual std::u16string Decode(std::string_view bytes, uint32_t page) = 0;
  // A text that comes in pieces: appends what its whole characters say and returns how many bytes
  // these took. What is left is the beginning of a character, a few bytes at most.
  virtual size_t DecodePart(std::string_view bytes, uint32_t page, std::u16string& text) = 0;
  // By charset name in any letter case, as texts carry it. Nothing for a name iconv lacks.
  virtual std::optional<std::u16string> DecodeNamed(std::string_view bytes,
                                                    std::string_view charset) = 0;

  static CodePages& Default();
};

}  // namespace qv
