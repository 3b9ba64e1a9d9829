#include <algorithm>

#include "support/text.h"
#include "support/xml/xml_markup.h"
#include "support/xml/xml_nodes.h"

namespace qv {
namespace {

// A sign that ends a name in a tag.
constexpr bool EndsName(char16_t unit) {
  return unit <= u'>' && (IsXmlBlank(unit) || unit == u'=' || unit == u'/' || unit == u'>' ||
                          unit == u'<' || unit == u'"' || unit == u'\'');
}

struct Failure {
  XmlError error;
  size_t at;
};

class Parser {
 public:
  explicit Parser(XmlTree& tree)
      : tree_(tree), text_(tree.source), top_(tree.NewNode({}, nullptr)), open_(top_) {
    starts_.push_back(0);
  }

  // Throws Failure.
  XmlNode* Parse() {
    if (text_.empty()) throw Failure{XmlError::Empty, 0};
    if (text_.front() == 0xFEFF) at_ = 1;
    while (at_ < text_.size()) text_[at_] == u'<' ? TakeMarkup() : TakeText();
    isComplete_ = open_ == top_;
    while (open_ != nullptr) CloseElement();
    const bool hasElement = std::ranges::any_of(top_->content, [](const XmlContent& piece) {
      return piece.IsChild() && !piece.node->isDeclaration;
    });
    if (!hasElement) throw Failure{sawTag_ ? XmlError::NoElements : XmlError::NoTag, 0};
    return top_;
  }

  bool IsComplete() const { return isComplete_; }

 private:
  std::u16string_view Rest() const { return text_.substr(at_); }

  void Put(const XmlContent& piece) {
    pending_.push_back(piece);
    open_->Count(piece);
  }
  void TakeOver(XmlNode& node) {
    node.attributes.assign(attributes_.begin(), attributes_.end());
    attributes_.clear();
  }
  void CloseElement() {
    const auto from = pending_.begin() + static_cast<ptrdiff_t>(starts_.back());
    open_->content.assign(from, pending_.end());
    pending_.erase(from, pending_.end());
    starts_.pop_back();
    open_ = open_->parent;
  }

  void TakeText() {
    const size_t end = std::min(text_.find(u'<', at_), text_.size());
    const std::u16string_view text = text_.substr(at_, end - at_);
    if (!std::ranges::all_of(text, IsXmlBlank)) {
      XmlContent piece;
      piece.value = Decoded(at_, end);
      Put(piece);
    }
    at_ = end;
  }

  void TakeMarkup() {
    sawTag_ = true;
    for (const XmlClear& clear : kXmlClears) {
      if (Rest().starts_with(clear.open)) return TakeClear(clear);
    }
    if (Rest().starts_with(u"</")) return TakeEndTag();
    TakeTag();
  }

  void TakeClear(const XmlClear& clear) {
    const size_t from = at_ + clear.open.size();
    const size_t end = text_.find(clear.close, from);
    if (end == text_.npos) throw Failure{XmlError::UnclosedClear, at_};
    XmlContent piece;
    piece.value = text_.substr(from, end - from);
    piece.marks = &clear;
    Put(piece);
    at_ = end + clear.close.size();
  }

  void TakeEndTag() {
    const size_t start = at_;
    at_ += 2;
    const std::u16string_view name = TakeName();
    if (name.empty()) throw Failure{XmlError::MissingEndName, start};
    SkipBlanks();
    if (at_ >= text_.size() || text_[at_] != u'>') throw Failure{XmlError::UnexpectedToken, start};
    if (open_ == top_ || open_->name != name) throw Failure{XmlError::UnmatchedEnd, start};
    CloseElement();
    ++at_;
  }

  void TakeTag() {
    const size_t start = at_++;
    const bool isDeclaration = at_ < text_.size() && text_[at_] == u'?';
    at_ += isDeclaration ? 1 : 0;
    const std::u16string_view name = TakeTagName(isDeclaration);
    if (name.empty()) throw Failure{XmlError::MissingName, start};
    XmlContent piece;
    piece.node = tree_.NewNode(name, open_);
    piece.node->isDeclaration = isDeclaration;
    while (true) {
      SkipBlanks();
      if (at_ >= text_.size() || text_[at_] == u'<') {
        throw Failure{XmlError::UnexpectedToken, start};
      }
      if (isDeclaration ? Take(u"?>") : Take(u"/>")) break;
      if (!isDeclaration && Take(u">")) {
        TakeOver(*piece.node);
        Put(piece);
        open_ = piece.node;
        starts_.push_back(pending_.size());
        return;
      }
      TakeAttribute(isDeclaration);
    }
    TakeOver(*piece.node);
    Put(piece);
  }

  bool Take(std::u16string_view sign) {
    if (!Rest().starts_with(sign)) return false;
    at_ += sign.size();
    return true;
  }

  void TakeAttribute(bool isDeclaration) {
    const size_t start = at_;
    XmlAttribute attribute;
    attribute.name = TakeTagName(isDeclaration);
    if (attribute.name.empty()) throw Failure{XmlError::UnexpectedToken, start};
    SkipBlanks();
    if (Take(u"=")) {
      SkipBlanks();
      attribute.value = TakeValue(isDeclaration);
    }
    attributes_.push_back(attribute);
  }

  std::u16string_view TakeValue(bool isDeclaration) {
    const size_t start = at_;
    if (at_ < text_.size() && (text_[at_] == u'"' || text_[at_] == u'\'')) {
      const size_t end = text_.find(text_[at_], at_ + 1);
      if (end == text_.npos) throw Failure{XmlError::UnexpectedToken, start};
      at_ = end + 1;
      return Decoded(start + 1, end);
    }
    while (at_ < text_.size() && !EndsValue(isDeclaration)) ++at_;
    return Decoded(start, at_);
  }

  // Of a value without quotes.
  bool EndsValue(bool isDeclaration) const {
    const char16_t unit = text_[at_];
    return IsXmlBlank(unit) || unit == u'>' || unit == u'<' ||
           Rest().starts_with(isDeclaration ? u"?>" : u"/>");
  }

  std::u16string_view TakeName() {
    const size_t start = at_;
    while (at_ < text_.size() && !EndsName(text_[at_])) ++at_;
    return text_.substr(start, at_ - start);
  }

  std::u16string_view TakeTagName(bool isDeclaration) {
    if (!isDeclaration) return TakeName();
    const size_t start = at_;
    while (at_ < text_.size() && !EndsName(text_[at_]) && !Rest().starts_with(u"?>")) ++at_;
    return text_.substr(start, at_ - start);
  }

  void SkipBlanks() {
    while (at_ < text_.size() && IsXmlBlank(text_[at_])) ++at_;
  }

  // A text or value with its entities resolved; a look into the source where it has none.
  std::u16string_view Decoded(size_t from, size_t end) {
    const std::u16string_view raw = text_.substr(from, end - from);
    size_t next = raw.find(u'&');
    if (next == raw.npos) return raw;
    std::u16string decoded;
    decoded.reserve(raw.size());
    size_t done = 0;
    while (next != raw.npos) {
      decoded.append(raw, done, next - done);
      done = next + AppendEntity(raw.substr(next), from + next, decoded);
      next = raw.find(u'&', done);
    }
    return tree_.Keep(decoded.append(raw, done));
  }

  // Returns how much of the text the entity takes.
  static size_t AppendEntity(std::u16string_view text, size_t at, std::u16string& out) {
    if (text.size() > 1 && text[1] == u'#') return AppendNumber(text, at, out);
    for (const XmlEntity& entity : kXmlEntities) {
      if (!EqualsIgnoreCase(text.substr(0, entity.text.size()), entity.text)) continue;
      out.push_back(entity.unit);
      return entity.text.size();
    }
    throw Failure{XmlError::UnknownEntity, at};
  }

  static size_t AppendNumber(std::u16string_view text, size_t at, std::u16string& out) {
    constexpr uint32_t kLastCode = 0x10FFFF;
    const bool isHex = text.size() > 2 && (text[2] | 0x20) == u'x';
    const size_t first = isHex ? 3 : 2;
    uint32_t code = 0;
    size_t i = first;
    for (; i < text.size() && text[i] != u';'; ++i) {
      const int digit = DigitOf(text[i], isHex);
      if (digit < 0) throw Failure{XmlError::UnknownEntity, at};
      code = std::min(code * (isHex ? 16u : 10u) + static_cast<uint32_t>(digit), kLastCode + 1);
    }
    if (i >= text.size() || code == 0 || code > kLastCode) {
      throw Failure{XmlError::UnknownEntity, at};
    }
    if (code > 0xFFFF) {
      out.push_back(static_cast<char16_t>(0xD7C0 + (code >> 10)));
      code = 0xDC00 | (code & 0x3FF);
    }
    out.push_back(static_cast<char16_t>(code));
    return i + 1;
  }

  static int DigitOf(char16_t unit, bool isHex) {
    if (unit >= u'0' && unit <= u'9') return unit - u'0';
    const int letter = (unit | 0x20) - u'a';
    return isHex && unit < 0x80 && letter >= 0 && letter < 6 ? letter + 10 : -1;
  }

  XmlTree& tree_;
  std::u16string_view text_;
  XmlNode* top_;
  XmlNode* open_;  // the innermost open element
  // What the open elements hold so far, each behind the one above it. It goes into the tree when an
  // element is closed and its size is known: room that a growing list leaves behind in the arena is
  // never given back.
  std::vector<XmlContent> pending_;
  std::vector<size_t> starts_;
  std::vector<XmlAttribute> attributes_;  // of the tag that is read
  size_t at_ = 0;
  bool sawTag_ = false;
  bool isComplete_ = false;
};

void Report(XmlError error, std::u16string_view text, size_t at, XmlResults& results) {
  const std::u16string_view before = text.substr(0, at);
  const size_t lineStart = before.rfind(u'\n') + 1;  // 0 where there is none
  results.error = error;
  results.line = static_cast<int32_t>(std::ranges::count(before, u'\n')) + 1;
  results.column = static_cast<int32_t>(at - lineStart) + 1;
}

}  // namespace

XmlTreeNode ParseXmlText(std::u16string text, std::u16string_view expectedRoot,
                         XmlResults& results) {
  results = {};
  text.resize(std::min(text.find(u'\0'), text.size()));
  const auto tree = std::make_shared<XmlTree>(std::move(text));
  Parser parser(*tree);
  try {
    const XmlTreeNode top(tree, parser.Parse());
    if (!expectedRoot.empty() && !top.Child(expectedRoot)) {
      throw Failure{XmlError::RootNotFound, 0};
    }
    if (!parser.IsComplete()) {
      Report(XmlError::MissingEnd, tree->source, tree->source.size(), results);
    }
    return top;
  } catch (const Failure& failure) {
    Report(failure.error, tree->source, failure.at, results);
    return {};
  }
}

}  // namespace qv
