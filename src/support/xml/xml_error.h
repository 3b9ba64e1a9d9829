// What can be wrong with XML, by number and by text. Numbers and texts are persisted contract.
#pragma once

#include <cstdint>
#include <string_view>

namespace qv {

enum class XmlError : int32_t {
  None,
  MissingEnd,
  NoTag,
  Empty,
  MissingName,
  MissingEndName,
  UnmatchedEnd,
  UnclosedClear,
  UnexpectedToken,
  NoElements,
  FileNotFound,
  RootNotFound,
  UnknownEntity,
  CodeAbove255,
  CannotConvert,
  CannotOpen,
  CannotWrite,
  Base64Length,
  Base64Truncated,
  Base64Character,
  Base64Buffer,
};

// "Unknown" for any other number.
std::u16string_view XmlErrorText(XmlError error);

}  // namespace qv
