// Any bytes into the converters of bookmarks and folders; which of them the first byte says. What
// was read must be written, read again as the same values, and written as the same bytes.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "extras.h"
#include "items/folder_document.h"
#include "items/vbookmark.h"
#include "marked.h"
#include "platform/system/service.h"
#include "platform/system/time_zone.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

// Near a change of clocks the way to local time and back may end an hour beside.
class Utc final : public qv::TimeZone {
 public:
  qv::TimeZoneRecord GetTimeZoneInformation() override { return {}; }
};

void CheckBookmarks(std::string_view text) {
  for (const std::string_view bookmark : qv::VBookmarksIn(text)) {
    if (IsMarked(bookmark)) continue;
    Require(qv::ParseVBookmark(bookmark).has_value());
    Require(qv::VBookmarksIn(bookmark).size() == 1);
  }
  const std::optional<qv::Bookmark> read = qv::ParseVBookmark(text);
  if (!read) return;
  const std::string written = qv::WriteVBookmark(*read);
  const std::optional<qv::Bookmark> again = qv::ParseVBookmark(written);
  Require(again.has_value());
  Require(read->title == again->title);
  Require(read->url == again->url);
  Require(read->fields.objUid == again->fields.objUid);
  Require(read->fields.objModified == again->fields.objModified);
  Require(Written(read->fields.extras, "VBKM") == Written(again->fields.extras, "VBKM"));
  Require(qv::WriteVBookmark(*again) == written);
}

void CheckFolder(std::string_view text) {
  const std::optional<qv::Folder> read = qv::ParseFolderDocument(text);
  if (!read) return;
  const std::string written = qv::WriteFolderDocument(*read);
  const std::optional<qv::Folder> again = qv::ParseFolderDocument(written);
  Require(again.has_value());
  Require(read->name == again->name);
  Require(read->created == again->created);
  Require(read->modified == again->modified);
  Require(read->accessed == again->accessed);
  Require(qv::WriteFolderDocument(*again) == written);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Utc utc;
  const qv::ScopedService<qv::TimeZone> zone(utc);
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const bool isDocument = text.starts_with('<');
  if (isDocument || IsMarked(text)) CheckFolder(text);
  if (!isDocument) CheckBookmarks(text);
  return 0;
}
