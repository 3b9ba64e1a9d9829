#include "support/xml/xml_tree.h"

#include <algorithm>

#include "support/xml/xml_nodes.h"

namespace qv {
namespace {

enum Kind { kChild, kText, kClear };

bool Is(const XmlContent& piece, Kind kind) {
  return kind == kChild ? piece.IsChild() : kind == kText ? piece.IsText() : piece.IsClear();
}

// Where the n-th piece of a kind stands in the content, which has so many.
size_t PlaceOf(const XmlNode& node, Kind kind, int32_t index) {
  XmlNode::Cursor& at = node.cursors[kind];
  while (at.index > index) at.index -= Is(node.content[--at.place], kind);
  while (at.index < index || !Is(node.content[at.place], kind)) {
    at.index += Is(node.content[at.place++], kind);
  }
  return at.place;
}

const XmlContent& Nth(const XmlNode& node, Kind kind, int32_t index) {
  return node.content[PlaceOf(node, kind, index)];
}

}  // namespace

XmlTreeNode XmlTreeNode::CreateTop(std::u16string_view name, bool isDeclaration) {
  auto tree = std::make_shared<XmlTree>(std::u16string());
  XmlNode* node = tree->NewNode(tree->Keep(name), nullptr);
  node->isDeclaration = isDeclaration;
  return {std::move(tree), node};
}

std::u16string_view XmlTreeNode::Name() const {
  return node_ == nullptr ? std::u16string_view() : node_->name;
}

bool XmlTreeNode::IsDeclaration() const {
  return node_ != nullptr && node_->isDeclaration;
}

XmlTreeNode XmlTreeNode::Parent() const {
  if (node_ == nullptr || node_->parent == nullptr) return {};
  return {tree_, node_->parent};
}

int32_t XmlTreeNode::ChildCount() const {
  return node_ == nullptr ? 0 : node_->children;
}
int32_t XmlTreeNode::TextCount() const {
  return node_ == nullptr ? 0 : node_->texts;
}
int32_t XmlTreeNode::ClearCount() const {
  return node_ == nullptr ? 0 : node_->clears;
}
int32_t XmlTreeNode::AttributeCount() const {
  return node_ == nullptr ? 0 : static_cast<int32_t>(node_->attributes.size());
}

XmlTreeNode XmlTreeNode::Child(int32_t index) const {
  if (index < 0 || index >= ChildCount()) return {};
  return {tree_, Nth(*node_, kChild, index).node};
}

std::u16string_view XmlTreeNode::Text(int32_t index) const {
  if (index < 0 || index >= TextCount()) return {};
  return Nth(*node_, kText, index).value;
}

XmlClear XmlTreeNode::Clear(int32_t index) const {
  if (index < 0 || index >= ClearCount()) return {};
  const XmlContent& piece = Nth(*node_, kClear, index);
  return {piece.value, piece.marks->open, piece.marks->close};
}

std::u16string_view XmlTreeNode::AttributeName(int32_t index) const {
  if (index < 0 || index >= AttributeCount()) return {};
  return node_->attributes[static_cast<size_t>(index)].name;
}

std::u16string_view XmlTreeNode::AttributeValue(int32_t index) const {
  if (index < 0 || index >= AttributeCount()) return {};
  return node_->attributes[static_cast<size_t>(index)].value;
}

XmlTreeNode XmlTreeNode::Child(std::u16string_view name, size_t& position) const {
  if (node_ == nullptr) return {};
  while (position < node_->content.size()) {
    XmlNode* const child = node_->content[position++].node;
    if (child != nullptr && child->name == name) return {tree_, child};
  }
  return {};
}

std::optional<std::u16string_view> XmlTreeNode::Attribute(std::u16string_view name,
                                                          size_t& position) const {
  if (node_ == nullptr) return std::nullopt;
  while (position < node_->attributes.size()) {
    const XmlAttribute& attribute = node_->attributes[position++];
    if (attribute.name == name) return attribute.value;
  }
  return std::nullopt;
}

XmlTreeNode XmlTreeNode::Child(std::u16string_view name) const {
  size_t position = 0;
  return Child(name, position);
}

std::optional<std::u16string_view> XmlTreeNode::Attribute(std::u16string_view name) const {
  size_t position = 0;
  return Attribute(name, position);
}

XmlTreeNode XmlTreeNode::AddChild(std::u16string_view name, int32_t position, bool isDeclaration) {
  if (node_ == nullptr) return {};
  XmlContent piece;
  piece.node = tree_->NewNode(tree_->Keep(name), node_);
  piece.node->isDeclaration = isDeclaration;
  if (position < 0 || position >= node_->children) {
    node_->Add(piece);
  } else {
    const auto place = static_cast<ptrdiff_t>(PlaceOf(*node_, kChild, position));
    node_->content.insert(node_->content.begin() + place, piece);
    ++node_->children;
    node_->ForgetPlaces();
  }
  return {tree_, piece.node};
}

void XmlTreeNode::AddText(std::u16string_view text) {
  if (node_ == nullptr) return;
  XmlContent piece;
  piece.value = tree_->Keep(text);
  node_->Add(piece);
}

void XmlTreeNode::AddAttribute(std::u16string_view name, std::u16string_view value) {
  if (node_ != nullptr) node_->attributes.push_back({tree_->Keep(name), tree_->Keep(value)});
}

void XmlTreeNode::AddClear(const XmlClear& clear) {
  if (node_ == nullptr || clear.open.empty()) return;
  XmlContent piece;
  piece.value = tree_->Keep(clear.value);
  piece.marks = tree_->KeepMarks(clear);
  node_->Add(piece);
}

void XmlTreeNode::DeleteChild(const XmlTreeNode& child) {
  if (node_ == nullptr || child.node_ == nullptr) return;
  const auto found = std::ranges::find(node_->content, child.node_, &XmlContent::node);
  if (found == node_->content.end()) return;
  node_->content.erase(found);
  --node_->children;
  node_->ForgetPlaces();
  child.node_->parent = nullptr;
}

}  // namespace qv
