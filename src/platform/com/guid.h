// Identifiers of classes and interfaces.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qv {

struct GUID {
  uint32_t data1 = 0;
  uint16_t data2 = 0;
  uint16_t data3 = 0;
  std::array<uint8_t, 8> data4{};

  friend constexpr bool operator==(const GUID&, const GUID&) = default;
  friend constexpr auto operator<=>(const GUID&, const GUID&) = default;
};

using CLSID = GUID;
using IID = GUID;

namespace detail {
constexpr int HexDigit(char32_t c) {
  if (c >= U'0' && c <= U'9') return static_cast<int>(c - U'0');
  if (c >= U'a' && c <= U'f') return static_cast<int>(c - U'a') + 10;
  if (c >= U'A' && c <= U'F') return static_cast<int>(c - U'A') + 10;
  return -1;
}

template <class Char>
constexpr std::optional<GUID> ParseGuid(std::basic_string_view<Char> text) {
  if (text.size() != 38 || text[0] != Char('{') || text[37] != Char('}')) return std::nullopt;
  std::array<uint8_t, 16> bytes{};
  size_t at = 1;
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) {
      if (text[at++] != Char('-')) return std::nullopt;
    }
    const int high = HexDigit(static_cast<char32_t>(text[at]));
    const int low = HexDigit(static_cast<char32_t>(text[at + 1]));
    if (high < 0 || low < 0) return std::nullopt;
    bytes[i] = static_cast<uint8_t>(high * 16 + low);
    at += 2;
  }
  GUID guid;
  guid.data1 = static_cast<uint32_t>(bytes[0]) << 24 | static_cast<uint32_t>(bytes[1]) << 16 |
               static_cast<uint32_t>(bytes[2]) << 8 | bytes[3];
  guid.data2 = static_cast<uint16_t>(bytes[4] << 8 | bytes[5]);
  guid.data3 = static_cast<uint16_t>(bytes[6] << 8 | bytes[7]);
  for (size_t i = 0; i < 8; ++i) guid.data4[i] = bytes[8 + i];
  return guid;
}
}  // namespace detail

// Reads exactly "{8-4-4-4-12}", hexadecimal digits of either case; nothing else.
constexpr std::optional<GUID> ParseGuid(std::u16string_view text) {
  return detail::ParseGuid(text);
}

// A literal for tables: fails to compile when the text is no identifier.
consteval GUID operator""_guid(const char* text, size_t length) {
  return detail::ParseGuid(std::string_view(text, length)).value();
}

// The registry form: upper case, with braces.
std::u16string FormatGuid(const GUID& guid);

struct GuidHash {
  size_t operator()(const GUID& guid) const noexcept {
    uint64_t mixed = static_cast<uint64_t>(guid.data1) << 32 |
                     static_cast<uint64_t>(guid.data2) << 16 | guid.data3;
    for (const uint8_t byte : guid.data4) mixed = mixed * 1099511628211ull + byte;
    return static_cast<size_t>(mixed);
  }
};

}  // namespace qv
