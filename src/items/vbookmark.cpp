#include "items/vbookmark.h"

#include "items/flat_text.h"
#include "items/moment_text.h"
#include "items/nesting.h"

namespace qv {
namespace {

constexpr FlatForm kForm = {.component = "VBKM", .version = "1.0", .wrapper = ""};

// In the order of writing.
constexpr FlatProperty<Bookmark> kProperties[] = {
    {"TITLE", FlatKind::Text, &Bookmark::title},
    {"URL", FlatKind::Url, &Bookmark::url},
};

}  // namespace

std::optional<Bookmark> ParseVBookmark(std::string_view text) {
  std::optional<Bookmark> bookmark = ParseFlat(text, kForm, kProperties);
  if (bookmark) bookmark->fields.objModified = LocalFromUtc(bookmark->fields.objModified);
  return bookmark;
}

std::string WriteVBookmark(const Bookmark& bookmark) {
  return RenderFlat(bookmark, UtcFromLocal(bookmark.fields.objModified), kForm, kProperties);
}

std::vector<std::string_view> VBookmarksIn(std::string_view text) {
  return SplitComponents(text, kForm.component);
}

}  // namespace qv
