// Internet shortcuts: `.url` files.
//
//   [InternetShortcut]
//   URL=http://example.org/
//
// The URL stands behind the first "URL=" that follows the first "[InternetShortcut]", up to the
// line end and without blanks around it. What writes such files by hand or as any other INI file
// is read too: "url = ...", "[internetshortcut]", and UTF-16 with a mark or without. The bytes are
// UTF-8 where they can be, else of the ANSI code page; new ones are written in that page.
// A URL that the page cannot hold has a second line beside this one in the section
// "[InternetShortcut.W]", in UTF-7. It counts as long as the plain line says the same in the signs
// that it can hold, and both are kept in step.
// Everything else in a file belongs to whoever wrote it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/system/file_system.h"

namespace qv {

// A stretch of the file's bytes.
struct UrlRange {
  size_t begin = 0;
  size_t length = 0;
};
// Nothing for bytes without the section, or without a URL line behind it. Linear.
std::optional<UrlRange> FindUrlRange(std::string_view bytes);

// A whole new file with this URL and nothing else. Control characters are percent-encoded.
std::string ShortcutBytes(std::u16string_view url);
// The URL of a file's bytes; empty for none.
std::u16string ShortcutUrl(std::string_view bytes);

// One file on its way from and to the disk. `SetURL` replaces the URL's stretch, in the manner of
// the file, and keeps every other byte; where there is none it appends section and URL, and a file
// of nothing but zeros becomes a new one.
class InternetShortcut {
 public:
  SystemError Load(std::u16string_view path);
  // The text as it is given, but for control characters. `flags` is accepted and not acted on.
  // False, and no byte changes, when the file says this already.
  bool SetURL(std::u16string_view url, uint32_t flags);
  SystemError Save(std::u16string_view path) const;

 private:
  std::string bytes_;
};

}  // namespace qv
