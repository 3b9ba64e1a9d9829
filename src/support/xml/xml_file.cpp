#include <algorithm>
#include <bit>
#include <cstring>

#include "platform/system/code_page.h"
#include "platform/system/debug_log.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/text.h"
#include "support/xml/xml_nodes.h"

namespace qv {
namespace {

constexpr std::string_view kLowFirst = "\xFF\xFE";
constexpr std::string_view kHighFirst = "\xFE\xFF";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr char16_t kMark = 0xFEFF;
constexpr std::u16string_view kDeclaration = u"<?xml version=\"1.0\" encoding=\"utf-16\"?>\n";

bool LooksWide(std::string_view bytes) {
  if (bytes.starts_with(kLowFirst) || bytes.starts_with(kHighFirst)) return true;
  const std::string_view head = bytes.substr(0, 256);
  size_t zeros = 0;
  for (size_t i = 1; i < head.size(); i += 2) zeros += head[i] == '\0';
  return zeros * 10 > head.size() / 2;
}

// The text of a file as its pieces come. Wide text, which a large file is, goes at once where it
// stays.
class TextReader {
 public:
  TextReader(uint64_t size, bool guessEncoding) : size_(size), guesses_(guessEncoding) {}

  void Take(std::string_view piece) {
    if (!started_) Start(piece);
    if (!isWide_) {
      bytes_ += piece;
      return;
    }
    // Pieces are of an even size but for the last, whose odd byte is dropped.
    const size_t old = text_.size();
    text_.resize(old + piece.size() / 2);
    std::memcpy(text_.data() + old, piece.data(), piece.size() / 2 * 2);
  }

  // Nothing for bytes that are not what they say they are.
  std::optional<std::u16string> Finish() {
    if (isWide_) return std::move(text_);
    if (!guesses_ || !bytes_.starts_with(kUtf8Mark)) {
      return Service<CodePages>::Get().Decode(bytes_, kAnsiPage);
    }
    std::u16string text;
    if (!AppendUtf8(std::string_view(bytes_).substr(kUtf8Mark.size()), text)) return std::nullopt;
    return text;
  }

 private:
  void Start(std::string_view& piece) {
    started_ = true;
    isWide_ = guesses_ && LooksWide(piece);
    isWide_ ? text_.reserve(size_ / 2) : bytes_.reserve(size_);
    const bool hasMark = piece.starts_with(kLowFirst) || piece.starts_with(kHighFirst);
    if (isWide_ && hasMark) piece.remove_prefix(kLowFirst.size());
  }

  const uint64_t size_;
  const bool guesses_;
  bool started_ = false;
  bool isWide_ = false;
  std::string bytes_;
  std::u16string text_;
};

bool StartsWithDeclaration(const XmlTreeNode& tree) {
  return tree.IsDeclaration() || (tree.Name().empty() && tree.Child(0).IsDeclaration());
}

}  // namespace

XmlTreeNode ParseXmlFile(std::u16string_view path, std::u16string_view expectedRoot,
                         XmlResults& results, bool guessEncoding) {
  results = {};
  const std::optional<std::string> native = ToNativePath(path);
  Files& files = Service<Files>::Get();
  FileInfo info;
  const bool exists = native && !files.Stat(*native, info);
  std::optional<TextReader> reader;
  if (exists) reader.emplace(info.size, guessEncoding);
  const auto take = [&](std::string_view piece) {
    reader->Take(piece);
    return true;
  };
  if (!exists || files.ReadPieces(*native, take)) {
    results.error = XmlError::FileNotFound;
    return {};
  }
  std::optional<std::u16string> text = reader->Finish();
  if (!text) {
    results.error = XmlError::CannotConvert;
    return {};
  }
  reader.reset();
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
  static_assert(std::endian::native == std::endian::little, "the text is written as it lies");
  std::u16string text(1, kMark);
  // About what a document needs that was read; growing would hold it twice.
  if (!Parent()) text.reserve(tree_->source.size() + kDeclaration.size());
  if (!StartsWithDeclaration(*this)) text += kDeclaration;
  WriteXml(*node_, formatted, text);
  const std::string_view bytes(reinterpret_cast<const char*>(text.data()), text.size() * 2);
  const std::optional<std::string> native = ToNativePath(path);
  if (!native) return XmlError::CannotOpen;
  Files& files = Service<Files>::Get();
  // Emptied first: whether it was the opening that failed is told apart.
  if (files.Write(*native, {})) return XmlError::CannotOpen;
  return files.Append(*native, bytes) ? XmlError::CannotWrite : XmlError::None;
}

}  // namespace qv
