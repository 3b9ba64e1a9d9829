#include <algorithm>

#include "platform/system/code_page.h"
#include "platform/system/debug_log.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/text.h"
#include "support/xml/xml_tree.h"

namespace qv {
namespace {

constexpr std::string_view kLowFirst = "\xFF\xFE";
constexpr std::string_view kHighFirst = "\xFE\xFF";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::u16string_view kDeclaration = u"<?xml version=\"1.0\" encoding=\"utf-16\"?>\n";

bool LooksWide(std::string_view bytes) {
  if (bytes.starts_with(kLowFirst) || bytes.starts_with(kHighFirst)) return true;
  const std::string_view head = bytes.substr(0, 256);
  size_t zeros = 0;
  for (size_t i = 1; i < head.size(); i += 2) zeros += head[i] == '\0';
  return zeros * 10 > head.size() / 2;
}

// Nothing for bytes that are not what they say they are.
std::optional<std::u16string> TextOf(std::string_view bytes, bool guessEncoding) {
  if (guessEncoding && LooksWide(bytes)) {
    const bool hasMark = bytes.starts_with(kLowFirst) || bytes.starts_with(kHighFirst);
    return FromUtf16Le(bytes.substr(hasMark ? 2 : 0));
  }
  if (guessEncoding && bytes.starts_with(kUtf8Mark)) {
    std::u16string text;
    if (!AppendUtf8(bytes.substr(kUtf8Mark.size()), text)) return std::nullopt;
    return text;
  }
  return Service<CodePages>::Get().Decode(bytes, kAnsiPage);
}

bool StartsWithDeclaration(const XmlTreeNode& tree) {
  return tree.IsDeclaration() || (tree.Name().empty() && tree.Child(0).IsDeclaration());
}

}  // namespace

XmlTreeNode ParseXmlFile(std::u16string_view path, std::u16string_view expectedRoot,
                         XmlResults& results, bool guessEncoding) {
  results = {};
  const std::optional<std::string> native = ToNativePath(path);
  std::string bytes;
  if (!native || Service<Files>::Get().Read(*native, bytes)) {
    results.error = XmlError::FileNotFound;
    return {};
  }
  std::optional<std::u16string> text = TextOf(bytes, guessEncoding);
  if (!text) {
    results.error = XmlError::CannotConvert;
    return {};
  }
  bytes = {};
  return ParseXmlText(*std::move(text), expectedRoot, results);
}

XmlTreeNode OpenXmlFile(std::u16string_view path, std::u16string_view expectedRoot) {
  XmlResults results;
  XmlTreeNode tree = ParseXmlFile(path, expectedRoot, results);
  if (results.error == XmlError::None) return tree;
  std::u16string body(u"XML Parsing error inside file '");
  body.append(path).append(u"'.\n").append(XmlErrorText(results.error));
  body.append(u"\nAt line ").append(Decimal(results.line));
  body.append(u", column ").append(Decimal(results.column)).append(u".\n");
  if (results.error == XmlError::RootNotFound) {
    body.append(u"First Tag should be '").append(expectedRoot).append(u"'.\n");
  }
  OutputDebugStringW(u"XML Parsing error");
  OutputDebugStringW(body);
  return tree;
}

XmlError XmlTreeNode::WriteFile(std::u16string_view path, bool formatted) const {
  if (node_ == nullptr) return XmlError::None;
  std::string bytes(kLowFirst);
  if (!StartsWithDeclaration(*this)) bytes += ToUtf16Le(kDeclaration);
  bytes += ToUtf16Le(ToText(formatted));
  const std::optional<std::string> native = ToNativePath(path);
  if (!native) return XmlError::CannotOpen;
  Files& files = Service<Files>::Get();
  // Emptied first: whether it was the opening that failed is told apart.
  if (files.Write(*native, {})) return XmlError::CannotOpen;
  return files.Append(*native, bytes) ? XmlError::CannotWrite : XmlError::None;
}

}  // namespace qv
