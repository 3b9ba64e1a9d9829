#include "items/folder_document.h"

#include <algorithm>

#include "items/moment_text.h"
#include "items/xml_reader.h"
#include "platform/system/utf8.h"
#include "support/vobject/lines.h"
#include "support/vobject/marked_text.h"

namespace qv {
namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
constexpr std::string_view kRoot = "Folder";
constexpr std::string_view kName = "name";

struct TimeElement {
  std::string_view name;
  DATE Folder::*time;
};
// In the order of writing.
constexpr TimeElement kTimes[] = {
    {"created", &Folder::created},
    {"modified", &Folder::modified},
    {"accessed", &Folder::accessed},
};

bool IsUnfit(char16_t c) {
  const bool isSurrogate = c >= 0xD800 && c <= 0xDFFF;
  return !isSurrogate && !IsXmlCharacter(c);
}

bool IsBlank(std::u16string_view text) {
  return text.find_first_not_of(u" \t\r\n") == text.npos;
}

DATE TimeOf(std::u16string_view content) {
  const std::string text = ToUtf8(content);
  const size_t begin = std::min(text.find_first_not_of(kXmlBlanks), text.size());
  const size_t end = text.find_last_not_of(kXmlBlanks) + 1;
  if (begin >= end) return 0.0;
  const std::string_view moment = std::string_view(text).substr(begin, end - begin);
  return LocalFromUtc(ParseMoment(moment).value_or(0.0));
}

// Of each element the first that says anything counts.
void TakeElement(std::string_view name, std::u16string_view content, Folder& folder) {
  if (SameWord(name, kName) && folder.name.empty() && !IsBlank(content)) {
    folder.name = content;
    std::ranges::replace_if(folder.name, IsUnfit, u'\uFFFD');
  }
  for (const TimeElement& element : kTimes) {
    DATE& time = folder.*element.time;
    if (SameWord(name, element.name) && time == 0.0) time = TimeOf(content);
  }
}

// A line break as a character would be for other readers to normalise.
void AppendEscaped(std::u16string_view value, std::string& text) {
  std::u16string fit(value);
  std::ranges::replace_if(fit, IsUnfit, u'\uFFFD');
  for (const char c : ToUtf8(fit)) {
    switch (c) {
      case '&':
        text += "&amp;";
        break;
      case '<':
        text += "&lt;";
        break;
      case '>':
        text += "&gt;";
        break;
      case '\r':
        text += "&#13;";
        break;
      case '\n':
        text += "&#10;";
        break;
      default:
        text += c;
    }
  }
}

void AppendTag(std::string_view opening, std::string_view name, std::string& text) {
  text += opening;
  text += name;
  text += '>';
}

}  // namespace

std::optional<Folder> ParseFolderDocument(std::string_view text) {
  std::string buffer;
  XmlReader reader(WithoutMark(text, buffer));
  Folder folder;
  std::u16string content;  // of a child of the root
  for (;;) {
    const XmlEvent event = reader.Next();
    const size_t depth = reader.depth();
    if (event == XmlEvent::Broken) return std::nullopt;
    if (event == XmlEvent::Finished) break;
    if (event == XmlEvent::Start && depth == 1 && !SameWord(reader.name(), kRoot)) {
      return std::nullopt;
    }
    if (event == XmlEvent::Start && depth == 2) content.clear();
    if (event == XmlEvent::Text && depth == 2) reader.AppendText(content);
    if (event == XmlEvent::End && depth == 1) TakeElement(reader.name(), content, folder);
  }
  if (folder.name.empty()) return std::nullopt;
  folder.fields.isFolder = true;
  folder.fields.objModified = folder.modified;
  return folder;
}

std::string WriteFolderDocument(const Folder& folder) {
  std::string text(kDeclaration);
  AppendTag("<", kRoot, text);
  AppendTag("<", kName, text);
  AppendEscaped(folder.name, text);
  AppendTag("</", kName, text);
  for (const TimeElement& element : kTimes) {
    AppendTag("<", element.name, text);
    text += MomentText(UtcFromLocal(folder.*element.time));
    AppendTag("</", element.name, text);
  }
  AppendTag("</", kRoot, text);
  text += '\n';
  return text;
}

}  // namespace qv
