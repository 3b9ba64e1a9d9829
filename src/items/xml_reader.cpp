#include "items/xml_reader.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "platform/system/utf8.h"

namespace qv {
namespace {

constexpr size_t kMaxDepth = 100;

constexpr std::string_view kComment = "<!--";
constexpr std::string_view kInstruction = "<?";
constexpr std::string_view kCdata = "<![CDATA[";
constexpr std::string_view kDocumentType = "<!DOCTYPE";
constexpr std::string_view kEndTag = "</";

struct Entity {
  std::string_view reference;
  char32_t character;
};
constexpr Entity kEntities[] = {
    {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''},
};

constexpr bool IsNameStart(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == ':' ||
         static_cast<unsigned char>(c) >= 0x80;
}

constexpr bool IsNameCharacter(char c) {
  return IsNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

bool IsName(std::string_view name) {
  return !name.empty() && IsNameStart(name.front()) && std::ranges::all_of(name, IsNameCharacter);
}

std::string_view WithoutPrefix(std::string_view name) {
  return name.substr(name.rfind(':') + 1);
}

// Where the '>' of the tag at the front stands, npos for nowhere. Quotes hide it.
size_t TagEnd(std::string_view text) {
  for (size_t i = 1; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '>') return i;
    if (c == '<') break;
    if (c == '"' || c == '\'') i = text.find(c, i + 1);
    if (i == text.npos) break;
  }
  return text.npos;
}

void AppendCharacter(char32_t c, std::u16string& text) {
  if (!IsXmlCharacter(c)) c = 0xFFFD;
  if (c > 0xFFFF) {
    c -= 0x10000;
    text += static_cast<char16_t>(0xD800 + (c >> 10));
    c = 0xDC00 + (c & 0x3FF);
  }
  text += static_cast<char16_t>(c);
}

// reference := '&' ("amp" | "lt" | "gt" | "quot" | "apos" | '#' digit+ | "#x" hexDigit+) ';'
//
// The length of the reference at the front, 0 for none.
size_t AppendReference(std::string_view text, std::u16string& out) {
  for (const Entity& entity : kEntities) {
    if (!text.starts_with(entity.reference)) continue;
    AppendCharacter(entity.character, out);
    return entity.reference.size();
  }
  if (!text.starts_with("&#")) return 0;
  const bool isHex = text.substr(2).starts_with('x');
  const char* const end = text.data() + text.size();
  uint32_t number = 0;
  const auto [behind, error] =
      std::from_chars(text.data() + (isHex ? 3 : 2), end, number, isHex ? 16 : 10);
  if (error == std::errc::invalid_argument || behind == end || *behind != ';') return 0;
  AppendCharacter(error == std::errc() ? number : 0xFFFD, out);
  return static_cast<size_t>(behind - text.data()) + 1;
}

}  // namespace

XmlEvent XmlReader::Next() {
  if (isEmptyElement_) return CloseElement();
  while (!rest_.empty()) {
    bool passed = true;
    if (!rest_.starts_with('<')) {
      if (TakeText()) return XmlEvent::Text;
      passed = text_.find_first_not_of(kXmlBlanks) == text_.npos;
    } else if (rest_.starts_with(kComment)) {
      passed = SkipBehind("-->", kComment.size());
    } else if (rest_.starts_with(kInstruction)) {
      passed = SkipBehind("?>", kInstruction.size());
    } else if (rest_.starts_with(kDocumentType)) {
      passed = !hasRoot_ && SkipDocumentType();
    } else if (rest_.starts_with(kCdata)) {
      return TakeCdata() ? XmlEvent::Text : XmlEvent::Broken;
    } else {
      return rest_.starts_with(kEndTag) ? EndElement() : StartElement();
    }
    if (!passed) return XmlEvent::Broken;
  }
  return hasRoot_ && open_.empty() ? XmlEvent::Finished : XmlEvent::Broken;
}

void XmlReader::AppendText(std::u16string& text) const {
  std::string_view rest = text_;
  while (!rest.empty()) {
    size_t used = isCdata_ ? 0 : AppendReference(rest, text);
    if (used == 0) {
      used = isCdata_ ? rest.size() : std::min(rest.find('&', 1), rest.size());
      text += FromUtf8(rest.substr(0, used));
    }
    rest.remove_prefix(used);
  }
}

bool XmlReader::SkipBehind(std::string_view end, size_t from) {
  const size_t at = rest_.find(end, from);
  if (at == rest_.npos) return false;
  rest_.remove_prefix(at + end.size());
  return true;
}

// Declarations, comments and instructions may stand inside, and each may hold a '>'.
bool XmlReader::SkipDocumentType() {
  size_t open = 0;
  while (!rest_.empty()) {
    const char c = rest_.front();
    if (rest_.starts_with(kComment)) {
      if (!SkipBehind("-->", kComment.size())) return false;
    } else if (rest_.starts_with(kInstruction)) {
      if (!SkipBehind("?>", kInstruction.size())) return false;
    } else if (c == '"' || c == '\'') {
      if (!SkipBehind(rest_.substr(0, 1), 1)) return false;
    } else {
      rest_.remove_prefix(1);
      if (c == '<') ++open;
      if (c == '>' && --open == 0) return true;
    }
  }
  return false;
}

bool XmlReader::TakeCdata() {
  const std::string_view section = rest_.substr(kCdata.size());
  constexpr std::string_view kEnd = "]]>";
  if (open_.empty() || !SkipBehind(kEnd, kCdata.size())) return false;
  text_ = section.substr(0, section.size() - rest_.size() - kEnd.size());
  isCdata_ = true;
  return true;
}

// False for one outside the root.
bool XmlReader::TakeText() {
  text_ = rest_.substr(0, rest_.find('<'));
  isCdata_ = false;
  rest_.remove_prefix(text_.size());
  return !open_.empty();
}

XmlEvent XmlReader::StartElement() {
  const size_t end = TagEnd(rest_);
  if (end == rest_.npos || open_.size() == kMaxDepth || (open_.empty() && hasRoot_)) {
    return XmlEvent::Broken;
  }
  std::string_view tag = rest_.substr(1, end - 1);
  rest_.remove_prefix(end + 1);
  isEmptyElement_ = tag.ends_with('/');
  if (isEmptyElement_) tag.remove_suffix(1);
  const std::string_view name = tag.substr(0, tag.find_first_of(kXmlBlanks));
  if (!IsName(name)) return XmlEvent::Broken;
  hasRoot_ = true;
  open_.push_back(name);
  name_ = WithoutPrefix(name);
  return XmlEvent::Start;
}

XmlEvent XmlReader::EndElement() {
  const size_t end = rest_.find('>');
  if (end == rest_.npos || open_.empty()) return XmlEvent::Broken;
  std::string_view name = rest_.substr(kEndTag.size(), end - kEndTag.size());
  name = name.substr(0, name.find_last_not_of(kXmlBlanks) + 1);
  if (name != open_.back()) return XmlEvent::Broken;
  rest_.remove_prefix(end + 1);
  return CloseElement();
}

XmlEvent XmlReader::CloseElement() {
  isEmptyElement_ = false;
  name_ = WithoutPrefix(open_.back());
  open_.pop_back();
  return XmlEvent::End;
}

}  // namespace qv
