// Small documents of XML as trees in memory: wide text, no namespaces, no DTD.
//
// `XmlTreeNode` is a handle on a node of a shared tree; it keeps the whole tree alive. An empty
// handle is a valid value everywhere: it has no name, no children and no attributes, and nothing
// can be added to it. Names compare exactly. A parsed document has a nameless node on top.
//
// A tree belongs to one thread. Nothing recurses: nesting may be of any depth.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "support/xml/xml_error.h"

namespace qv {

class XmlTree;
struct XmlNode;

// A stretch that is kept as it stands, as a comment or a CDATA section.
struct XmlClear {
  std::u16string_view value;
  std::u16string_view open;
  std::u16string_view close;
};

class XmlTreeNode {
 public:
  XmlTreeNode() = default;
  XmlTreeNode(std::shared_ptr<XmlTree> tree, XmlNode* node) : tree_(std::move(tree)), node_(node) {}

  // The top of a new tree.
  static XmlTreeNode CreateTop(std::u16string_view name, bool isDeclaration = false);

  explicit operator bool() const { return node_ != nullptr; }
  std::u16string_view Name() const;
  bool IsDeclaration() const;
  XmlTreeNode Parent() const;

  // Counts of the four lists, and their entries from 0; empty beyond the end.
  int32_t ChildCount() const;
  int32_t TextCount() const;
  int32_t ClearCount() const;
  int32_t AttributeCount() const;
  XmlTreeNode Child(int32_t index) const;
  std::u16string_view Text(int32_t index = 0) const;
  XmlClear Clear(int32_t index) const;
  std::u16string_view AttributeName(int32_t index) const;
  std::u16string_view AttributeValue(int32_t index) const;

  // The next of this name from `position` on, which is moved behind it; begins with 0.
  XmlTreeNode Child(std::u16string_view name, size_t& position) const;
  std::optional<std::u16string_view> Attribute(std::u16string_view name, size_t& position) const;
  // The first.
  XmlTreeNode Child(std::u16string_view name) const;
  std::optional<std::u16string_view> Attribute(std::u16string_view name) const;

  // `position` counts children, -1 for the end. The handle is empty for an empty parent.
  XmlTreeNode AddChild(std::u16string_view name, int32_t position = -1, bool isDeclaration = false);
  void AddText(std::u16string_view text);
  void AddAttribute(std::u16string_view name, std::u16string_view value);
  void AddClear(const XmlClear& clear);
  // A child of this node; handles on it stay valid.
  void DeleteChild(const XmlTreeNode& child);

  // The node with everything below it; of a nameless top what is below. Formatted: a tab a level
  // (of the first 64), what hangs below a declaration behind it, an element with a text beside
  // other content on one line with all of it, so that reading it again gives the same tree.
  std::u16string ToText(bool formatted) const;
  // UTF-16, low byte first, with mark, and with a declaration unless the tree begins with one. An
  // empty handle writes nothing. CannotOpen leaves a file that was there as it was, CannotWrite
  // does not. Paths are in the module's form.
  XmlError WriteFile(std::u16string_view path, bool formatted) const;

 private:
  std::shared_ptr<XmlTree> tree_;
  XmlNode* node_ = nullptr;
};

struct XmlResults {
  XmlError error = XmlError::None;
  int32_t line = 1;    // from 1, like the column, in 16-bit units
  int32_t column = 1;  // where the trouble begins
};

// The nameless top of what a text says. With `expectedRoot` an element of this name must be among
// its children. Errors and what they mean:
//   Empty             no text at all
//   NoTag             text without any tag (a warning; no tree)
//   NoElements        declarations and clear stretches alone
//   MissingName       "<" or "<?" without a name; MissingEndName: "</>"
//   UnmatchedEnd      an end tag that is not that of the innermost open element
//   UnclosedClear     a comment, CDATA section, DOCTYPE or PRE without its end
//   UnexpectedToken   a tag that is not closed, a quote without its partner, "<" within a tag
//   UnknownEntity     "&" with an unknown name, without ";", or with a number that is no character
//   MissingEnd        the text ends with elements open (a warning: the tree is there)
//   RootNotFound      no element of the expected name
// Texts of white space alone are dropped, all others kept as they stand. An attribute may lack its
// quotes or its value. A byte-order mark before the first tag is passed over. For all but
// MissingEnd the handle is empty. A NUL ends the text.
XmlTreeNode ParseXmlText(std::u16string text, std::u16string_view expectedRoot,
                         XmlResults& results);

// A whole file. UTF-16, low byte first, where it begins with a mark or looks like it; UTF-8 with
// its mark; else the ANSI code page; with `guessEncoding` off always the last. CannotConvert for
// bad UTF-8 behind a mark.
XmlTreeNode ParseXmlFile(std::u16string_view path, std::u16string_view expectedRoot,
                         XmlResults& results, bool guessEncoding = true);
// The same; what goes wrong is told in the debug log.
XmlTreeNode OpenXmlFile(std::u16string_view path, std::u16string_view expectedRoot);

}  // namespace qv
