// The elements and texts of an XML document, one after the other.
//
// It knows elements, references, CDATA sections and what to pass over: the declaration, comments,
// processing instructions, the document type, attributes. It knows no entities of a document's own.
// Tolerant within texts (a '&' that begins no reference is itself), strict about elements: they
// nest, one of them is the root, and there is no text outside it. Linear; views into the text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qv {

enum class XmlEvent {
  Start,  // also of an empty element, whose End follows
  End,
  Text,  // inside the root; a text may come in several pieces
  Finished,
  Broken,  // or nested too deep; there is nothing behind it
};

class XmlReader {
 public:
  // UTF-8 without a mark.
  explicit XmlReader(std::string_view text) : rest_(text) {}

  XmlEvent Next();
  // Of the element that was started or ended, without a prefix.
  std::string_view name() const { return name_; }
  // How many elements are open: 1 behind the Start of the root, 0 behind its End.
  size_t depth() const { return open_.size(); }
  // Appends the Text, references undone. A number that is no character of XML gives U+FFFD, as do
  // bytes that are no UTF-8.
  void AppendText(std::u16string& text) const;

 private:
  bool SkipBehind(std::string_view end, size_t from);
  bool SkipDocumentType();
  bool TakeCdata();
  bool TakeText();
  XmlEvent StartElement();
  XmlEvent EndElement();
  XmlEvent CloseElement();

  std::string_view rest_;
  std::vector<std::string_view> open_;  // full names
  std::string_view name_;
  std::string_view text_;
  bool isCdata_ = false;
  bool isEmptyElement_ = false;  // its End is still to come
  bool hasRoot_ = false;
};

// A character that a document can hold, by itself or as a reference.
constexpr bool IsXmlCharacter(char32_t c) {
  if (c < 0x20) return c == '\t' || c == '\n' || c == '\r';
  return c < 0xD800 || (c > 0xDFFF && c < 0xFFFE) || (c > 0xFFFF && c <= 0x10FFFF);
}
// White space as XML has it.
inline constexpr std::string_view kXmlBlanks = " \t\r\n";

}  // namespace qv
