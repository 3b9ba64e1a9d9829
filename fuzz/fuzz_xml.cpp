// Any bytes as XML, in every encoding a file may have. A tree must be written so that it is read
// again as the same tree, in either form; where there is none the place must be one of the text.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/text.h"
#include "support/xml/base64.h"
#include "support/xml/xml_tree.h"

namespace {

using qv::XmlError;
using qv::XmlTreeNode;

void Require(bool holds) {
  if (!holds) std::abort();
}

bool SameClears(const qv::XmlClear& a, const qv::XmlClear& b) {
  return a.value == b.value && a.open == b.open && a.close == b.close;
}

void RequireSameNode(const XmlTreeNode& a, const XmlTreeNode& b) {
  Require(a.Name() == b.Name() && a.IsDeclaration() == b.IsDeclaration());
  Require(a.ChildCount() == b.ChildCount() && a.AttributeCount() == b.AttributeCount());
  Require(a.TextCount() == b.TextCount() && a.ClearCount() == b.ClearCount());
  for (int32_t i = 0; i < a.AttributeCount(); ++i) {
    Require(a.AttributeName(i) == b.AttributeName(i));
    Require(a.AttributeValue(i) == b.AttributeValue(i));
  }
  for (int32_t i = 0; i < a.TextCount(); ++i) Require(a.Text(i) == b.Text(i));
  for (int32_t i = 0; i < a.ClearCount(); ++i) Require(SameClears(a.Clear(i), b.Clear(i)));
}

void RequireSameTree(const XmlTreeNode& a, const XmlTreeNode& b) {
  std::vector<std::pair<XmlTreeNode, XmlTreeNode>> pairs{{a, b}};
  while (!pairs.empty()) {
    const auto [left, right] = pairs.back();
    pairs.pop_back();
    RequireSameNode(left, right);
    for (int32_t i = 0; i < left.ChildCount(); ++i) {
      pairs.emplace_back(left.Child(i), right.Child(i));
    }
  }
}

XmlTreeNode Parse(std::u16string text, std::u16string_view root = {}) {
  qv::XmlResults results;
  XmlTreeNode tree = qv::ParseXmlText(std::move(text), root, results);
  Require(results.error == XmlError::None);
  return tree;
}

void CheckRoundTrip(const XmlTreeNode& tree) {
  const std::u16string plain = tree.ToText(false);
  const std::u16string formatted = tree.ToText(true);
  for (const std::u16string& text : {plain, formatted}) {
    const XmlTreeNode again = Parse(text);
    RequireSameTree(again, tree);
    Require(again.ToText(false) == plain);
    Require(again.ToText(true) == formatted);
  }
  // Any node of the top is a root that may be asked for.
  Parse(plain, tree.Child(tree.ChildCount() - 1).Name());
}

void CheckPlace(const qv::XmlResults& results, std::u16string_view text) {
  Require(results.line >= 1 && results.column >= 1);
  for (int32_t line = 1; line < results.line; ++line) {
    const size_t end = text.find(u'\n');
    Require(end != text.npos);
    text.remove_prefix(end + 1);
  }
  const size_t end = std::min(text.find(u'\n'), text.size());
  Require(static_cast<size_t>(results.column) <= end + 1);
}

void CheckResult(const XmlTreeNode& tree, const qv::XmlResults& results) {
  const bool hasTree = results.error == XmlError::None || results.error == XmlError::MissingEnd;
  Require(static_cast<bool>(tree) == hasTree);
  if (tree) CheckRoundTrip(tree);
}

void CheckText(const std::u16string& text) {
  qv::XmlResults results;
  const XmlTreeNode tree = qv::ParseXmlText(text, {}, results);
  CheckPlace(results, text);
  CheckResult(tree, results);
}

// A text and a value may be anything but a NUL, which ends what is read.
void CheckBuilt(std::u16string_view text) {
  text = text.substr(0, text.find(u'\0'));
  XmlTreeNode top = XmlTreeNode::CreateTop({});
  XmlTreeNode root = top.AddChild(u"a");
  root.AddAttribute(u"b", text);
  root.AddText(text);
  for (const bool formatted : {false, true}) {
    const XmlTreeNode again = Parse(top.ToText(formatted), u"a").Child(0);
    Require(again.Attribute(u"b") == text);
    Require(again.Text() == text);
  }
}

// A file in memory, made once.
void CheckFile(std::string_view bytes) {
  static const int fd = memfd_create("a.xml", MFD_CLOEXEC);
  static const std::u16string path = u"\\proc\\self\\fd\\" + qv::Decimal(fd);
  Require(fd >= 0 && ftruncate(fd, 0) == 0);
  Require(pwrite(fd, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
  for (const bool guess : {true, false}) {
    qv::XmlResults results;
    const XmlTreeNode tree = qv::ParseXmlFile(path, {}, results, guess);
    Require(results.error != XmlError::FileNotFound);
    CheckResult(tree, results);
  }
}

std::u16string Base64Of(std::string_view bytes) {
  constexpr std::u16string_view kAlphabet =
      u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::u16string text;
  for (size_t i = 0; i < bytes.size(); i += 3) {
    uint32_t bits = 0;
    for (size_t j = 0; j < 3; ++j) {
      bits = bits << 8 | (i + j < bytes.size() ? static_cast<uint8_t>(bytes[i + j]) : 0u);
    }
    for (const int shift : {18, 12, 6, 0}) text.push_back(kAlphabet[bits >> shift & 63]);
  }
  const size_t missing = (3 - bytes.size() % 3) % 3;
  return text.replace(text.size() - missing, missing, missing, u'=');
}

void CheckBase64(std::u16string_view text, size_t limit) {
  XmlError error = XmlError::Empty;
  const std::string bytes = qv::DecodeBase64(text, error);
  Require(bytes.size() <= text.size() / 4 * 3);
  Require(bytes.empty() || error != XmlError::Base64Character);
  XmlError limitedError = XmlError::Empty;
  const std::string limited = qv::DecodeBase64(text, limitedError, limit);
  if (limitedError == XmlError::Base64Buffer) {
    Require(limited.empty());
    Require(bytes.size() > limit || error == XmlError::Base64Character);
  } else {
    Require(limited == bytes && limitedError == error && bytes.size() <= limit);
  }
}

void CheckEncoded(std::string_view bytes) {
  XmlError error = XmlError::Empty;
  Require(qv::DecodeBase64(Base64Of(bytes), error, bytes.size()) == bytes);
  Require(error == XmlError::None);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::u16string text = qv::FromUtf8(bytes);
  CheckText(text);
  CheckText(qv::FromUtf16Le(bytes));
  CheckBuilt(text);
  CheckFile(bytes);
  CheckBase64(text, size == 0 ? 0 : data[size - 1]);
  CheckEncoded(bytes);
  return 0;
}
