#include "host/engine/bookmark_text.h"

#include <algorithm>

#include "host/engine/errors.h"
#include "items/folder_document.h"
#include "items/vbookmark.h"
#include "platform/com/com_ptr.h"
#include "platform/com/status_error.h"
#include "platform/system/service.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr std::u16string_view kTail = u".url";

// The file's name without extension.
std::u16string StemOf(std::string_view fileName) {
  const std::string_view base = BaseOfName(fileName);
  return FromUtf8(base.substr(0, base.rfind('.')));
}

void BreakTails(std::u16string& title) {
  for (size_t at = 0; at + kTail.size() <= title.size(); ++at) {
    if (EqualsIgnoreCase(std::u16string_view(title).substr(at, kTail.size()), kTail)) {
      title[at] = u'+';
    }
  }
}

}  // namespace

std::u16string PcTitle(std::u16string_view title) {
  std::u16string name(title);
  SanitizeFileName(name);
  std::ranges::replace_if(
      name, [](char16_t c) { return c < u' '; }, u'+');
  BreakTails(name);
  if (IsDotName(name)) std::ranges::replace(name, u'.', u'+');
  return name;
}

std::u16string TitleOf(IItemCommon& item) {
  Bstr title;
  if (const auto bookmark = Query<IBookmarkItem>(&item)) Check(bookmark->GetTitle(title.Out()));
  if (const auto folder = Query<IFolderItem>(&item)) Check(folder->GetName(title.Out()));
  return title.str();
}

std::u16string UrlOf(IItemCommon& item) {
  Bstr url;
  if (const auto bookmark = Query<IBookmarkItem>(&item)) Check(bookmark->GetURL(url.Out()));
  return url.str();
}

std::string ForPc(std::string_view text, std::string_view fileName) {
  std::optional<Bookmark> bookmark = ParseVBookmark(text);
  if (!bookmark) return std::string(text);
  std::u16string title = PcTitle(bookmark->title.empty() ? StemOf(fileName) : bookmark->title);
  if (title == bookmark->title) return std::string(text);
  bookmark->title = std::move(title);
  return WriteVBookmark(*bookmark);
}

std::string WithExtrasOf(std::string_view phoneText, std::string_view pcText) {
  std::optional<Bookmark> phone = ParseVBookmark(phoneText);
  std::optional<Bookmark> pc = ParseVBookmark(pcText);
  if (!phone || !pc || phone->fields.extras.empty()) return std::string(pcText);
  pc->fields.extras = std::move(phone->fields.extras);
  return WriteVBookmark(*pc);
}

std::string WithParts(std::string_view text, const std::u16string* title,
                      const std::u16string* url) {
  std::optional<Bookmark> bookmark = ParseVBookmark(text);
  if (!bookmark || (title == nullptr && url == nullptr)) return std::string(text);
  if (title != nullptr) bookmark->title = *title;
  if (url != nullptr) bookmark->url = *url;
  return WriteVBookmark(*bookmark);
}

Meaning MeaningOf(std::u16string_view title, std::u16string_view url) {
  const auto sum = [](std::u16string_view part) {
    const auto digest = Service<Md5Provider>::Get().Digest(ToUtf8(part));
    if (!digest) throw ItemError("the checksum service failed");
    return *digest;
  };
  return {sum(title), url.empty() ? Md5Digest() : sum(url)};
}

Meaning MeaningOf(std::string_view text) {
  const std::optional<Bookmark> bookmark = ParseVBookmark(text);
  return bookmark ? MeaningOf(bookmark->title, bookmark->url) : Meaning();
}

std::u16string_view WithoutNumbers(std::u16string_view name) {
  while (name.ends_with(u')')) {
    const size_t open = name.find_last_not_of(u"0123456789", name.size() - 2);
    if (open == 0 || open == name.npos || name[open] != u'(' || open + 2 == name.size()) break;
    name = name.substr(0, open);
  }
  return name;
}

std::string BookmarkFault(std::string_view text) {
  const std::optional<Bookmark> bookmark = ParseVBookmark(text);
  return bookmark && bookmark->url.empty() ? "it holds no address (URL)" : std::string();
}

std::string FolderText(std::u16string_view name) {
  Folder folder;
  folder.name = name;
  return WriteFolderDocument(folder);
}

std::u16string PcNameOfFolder(const PhoneItem& folder) {
  std::string_view name = BaseOfName(folder.name);
  name.remove_suffix(1);
  return PcTitle(FromUtf8(name));
}

}  // namespace qv
