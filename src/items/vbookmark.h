// vBookmark 1.0 text (IrMC) from and to bookmarks.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "items/bookmark.h"

namespace qv {

// The first whole bookmark of the text; nothing when there is none, or when it holds more
// properties than any bookmark has. A UTF-16 text needs its mark. Line breaks and tabs are no part
// of a URL and fall away, as does the blank that folds one. The item's times are local, those of
// the text UTC. Linear in the text's size; never throws on its account.
std::optional<Bookmark> ParseVBookmark(std::string_view text);

// CR LF line ends, UTF-8. Extras are written back.
std::string WriteVBookmark(const Bookmark& bookmark);

// The bookmarks of a text, one view each from BEGIN to the line end behind END.
std::vector<std::string_view> VBookmarksIn(std::string_view text);

}  // namespace qv
