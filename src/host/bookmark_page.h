// Bookmarks as browsers export them: the "NETSCAPE-Bookmark-file-1" page.
//
//   <!DOCTYPE NETSCAPE-Bookmark-file-1>
//   <DL><p>
//     <DT><H3 ADD_DATE="1700000000">News</H3>
//     <DL><p>
//       <DT><A HREF="http://example.org/" ADD_DATE="1700000000">Example</A>
//     </DL><p>
//   </DL><p>
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qv {

struct PageEntry {
  std::string title;  // UTF-8, as it is shown
  std::string url;    // UTF-8; empty for a folder
  bool isFolder = false;
  size_t depth = 0;   // 0 on top; an entry lies in the nearest folder before it of a smaller depth
  int64_t added = 0;  // seconds since 1970, UTC; 0 for unknown
};

// The entries in the order of the page, a folder before its content. Nothing for a text that is no
// such page. What browsers write around and between the entries (descriptions, icons, rules) is
// passed over. Entries without a URL that are no folders, and those of browsers' own schemes
// ("javascript:", "place:", "data:"), are kept like any other. Linear in the page's size.
std::optional<std::vector<PageEntry>> ReadBookmarkPage(std::string_view html);

// UTF-8; read by every browser.
std::string WriteBookmarkPage(const std::vector<PageEntry>& entries);

}  // namespace qv
