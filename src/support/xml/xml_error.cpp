#include "support/xml/xml_error.h"

#include <iterator>

namespace qv {
namespace {

constexpr std::u16string_view kTexts[] = {
    u"No error",
    u"Warning: Unmatched end tag",
    u"Warning: No XML tag found",
    u"Error: No XML data",
    u"Error: Missing start tag name",
    u"Error: Missing end tag name",
    u"Error: Unmatched end tag",
    u"Error: Unmatched clear tag end",
    u"Error: Unexpected token found",
    u"Error: No elements found",
    u"Error: File not found",
    u"Error: First Tag not found",
    u"Error: Unknown character entity",
    u"Error: Character code above 255 is forbidden in MultiByte char mode.",
    u"Error: unable to convert between WideChar and MultiByte chars",
    u"Error: unable to open file for writing",
    u"Error: cannot write into file",
    u"Warning: Base64-string length is not a multiple of 4",
    u"Warning: Base64-string is truncated",
    u"Error: Base64-string contains an illegal character",
    u"Error: Base64 decode output buffer is too small",
};

}  // namespace

std::u16string_view XmlErrorText(XmlError error) {
  const auto number = static_cast<size_t>(error);
  return number < std::size(kTexts) ? kTexts[number] : u"Unknown";
}

}  // namespace qv
