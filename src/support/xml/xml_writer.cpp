#include <algorithm>
#include <vector>

#include "support/text.h"
#include "support/xml/xml_markup.h"
#include "support/xml/xml_nodes.h"

namespace qv {
namespace {

// Deeper levels are not indented further: a line would grow with its depth.
constexpr size_t kMaxTabs = 64;

class Writer {
 public:
  Writer(std::u16string& out, bool formatted) : out_(out), formatted_(formatted) {}

  void Write(const XmlNode& node) {
    Open(node);
    while (!levels_.empty()) {
      Level& level = levels_.back();
      if (level.next == level.node->content.size()) {
        Close();
        continue;
      }
      const XmlContent& piece = level.node->content[level.next++];
      if (piece.IsChild()) {
        Open(*piece.node);
        continue;
      }
      StartLine();
      if (piece.IsClear()) {
        out_.append(piece.marks->open).append(piece.value).append(piece.marks->close);
      } else {
        AppendText(piece.value);
      }
      EndLine();
    }
  }

 private:
  struct Level {
    const XmlNode* node;
    size_t next;
    bool inLine;  // the content stands on one line
    size_t tabs;
  };

  size_t Tabs() const { return levels_.empty() ? 0 : levels_.back().tabs; }
  // Whether what is written now stands on a line of its own.
  bool OwnLine() const { return formatted_ && (levels_.empty() || !levels_.back().inLine); }
  void StartLine() {
    if (OwnLine()) out_.append(std::min(Tabs(), kMaxTabs), u'\t');
  }
  void EndLine() {
    if (OwnLine()) out_.push_back(u'\n');
  }

  static bool IsTop(const XmlNode& node) { return node.parent == nullptr && node.name.empty(); }

  void Open(const XmlNode& node) {
    StartLine();
    // White space next to a text would become part of it.
    const bool single = node.content.size() == 1 && !node.content[0].IsChild();
    const bool inLine = !OwnLine() || node.texts > 0 || single;
    if (IsTop(node)) {
      levels_.push_back({&node, 0, inLine, 0});
      return;
    }
    out_.append(node.isDeclaration ? u"<?" : u"<").append(node.name);
    for (const XmlAttribute& attribute : node.attributes) {
      out_.append(u" ").append(attribute.name).append(u"=\"");
      AppendEscaped(attribute.value);
      out_.push_back(u'"');
    }
    if (node.isDeclaration) {
      out_.append(u"?>");
      EndLine();
      // What hangs below it stands behind it.
      if (!node.content.empty()) levels_.push_back({&node, 0, inLine, Tabs()});
      return;
    }
    if (node.content.empty()) {
      out_.append(u"/>");
      EndLine();
      return;
    }
    // A bare <PRE> would begin a stretch that is kept as it stands.
    if (node.name == u"PRE" && node.attributes.empty()) out_.push_back(u' ');
    out_.push_back(u'>');
    if (!inLine) out_.push_back(u'\n');
    levels_.push_back({&node, 0, inLine, Tabs() + 1});
  }

  void Close() {
    const Level level = levels_.back();
    levels_.pop_back();
    if (IsTop(*level.node) || level.node->isDeclaration) return;
    if (!level.inLine) StartLine();
    out_.append(u"</").append(level.node->name).append(u">");
    EndLine();
  }

  // White space alone would be dropped, and a byte-order mark at the start passed over: the first
  // character of such a text stands as its number.
  void AppendText(std::u16string_view text) {
    const bool isMark = out_.empty() && text.starts_with(u'\xFEFF');
    if (!text.empty() && (isMark || std::ranges::all_of(text, IsXmlBlank))) {
      out_.append(u"&#").append(Decimal(text.front())).push_back(u';');
      text.remove_prefix(1);
    }
    AppendEscaped(text);
  }

  void AppendEscaped(std::u16string_view text) {
    size_t done = 0;
    while (true) {
      const size_t next = text.find_first_of(u"&<>\"'", done);
      out_.append(text.substr(done, next - done));
      if (next == text.npos) return;
      for (const XmlEntity& entity : kXmlEntities) {
        if (entity.unit == text[next]) out_.append(entity.text);
      }
      done = next + 1;
    }
  }

  std::u16string& out_;
  const bool formatted_;
  std::vector<Level> levels_;
};

}  // namespace

void WriteXml(const XmlNode& node, bool formatted, std::u16string& out) {
  Writer(out, formatted).Write(node);
}

std::u16string XmlTreeNode::ToText(bool formatted) const {
  std::u16string text;
  if (node_ != nullptr) WriteXml(*node_, formatted, text);
  return text;
}

}  // namespace qv
