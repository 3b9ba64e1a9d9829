// What stands behind the handles: nodes, all in one arena that goes at once.
#pragma once

#include <memory_resource>
#include <string>
#include <string_view>
#include <vector>

#include "support/xml/xml_tree.h"

namespace qv {

struct XmlAttribute {
  std::u16string_view name;
  std::u16string_view value;
};

// One piece of a node's content: a child where `node` is set, a clear stretch where `marks` is,
// else a text.
struct XmlContent {
  XmlNode* node = nullptr;
  const XmlClear* marks = nullptr;  // its open and its close
  std::u16string_view value;

  bool IsChild() const { return node != nullptr; }
  bool IsClear() const { return marks != nullptr; }
  bool IsText() const { return node == nullptr && marks == nullptr; }
};

struct XmlNode {
  XmlNode(std::u16string_view tagName, XmlNode* above, std::pmr::memory_resource* arena)
      : name(tagName), parent(above), attributes(arena), content(arena) {}

  std::u16string_view name;
  XmlNode* parent;
  bool isDeclaration = false;
  std::pmr::vector<XmlAttribute> attributes;
  std::pmr::vector<XmlContent> content;  // children, texts and clear stretches as they stand
  int32_t children = 0;
  int32_t texts = 0;
  int32_t clears = 0;
  // Where the last look for the n-th child, text and clear stretch ended: walks over all of them
  // stay linear, in either direction.
  struct Cursor {
    int32_t index = 0;  // how many of the kind stand before the place
    uint32_t place = 0;
  };
  mutable Cursor cursors[3];
  void ForgetPlaces() {
    for (Cursor& cursor : cursors) cursor = {};
  }

  void Add(const XmlContent& piece) {
    content.push_back(piece);
    Count(piece);
  }
  void Count(const XmlContent& piece) {
    piece.IsChild() ? ++children : piece.IsClear() ? ++clears : ++texts;
  }
};

// Nodes are never destroyed one by one: nothing in them lies outside the arena.
class XmlTree {
 public:
  explicit XmlTree(std::u16string text) : source(std::move(text)) {}

  XmlNode* NewNode(std::u16string_view name, XmlNode* parent) {
    void* room = arena.allocate(sizeof(XmlNode), alignof(XmlNode));
    return new (room) XmlNode(name, parent, &arena);
  }
  const XmlClear* KeepMarks(const XmlClear& clear) {
    void* room = arena.allocate(sizeof(XmlClear), alignof(XmlClear));
    return new (room) XmlClear{{}, Keep(clear.open), Keep(clear.close)};
  }
  std::u16string_view Keep(std::u16string_view text) {
    if (text.empty()) return {};
    auto* copy =
        static_cast<char16_t*>(arena.allocate(text.size() * sizeof(char16_t), alignof(char16_t)));
    text.copy(copy, text.size());
    return {copy, text.size()};
  }

  const std::u16string source;  // what was parsed; names and texts look into it
  std::pmr::monotonic_buffer_resource arena;
};

// The text of a node behind what `out` holds already.
void WriteXml(const XmlNode& node, bool formatted, std::u16string& out);

}  // namespace qv
