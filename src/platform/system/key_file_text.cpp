#include "platform/system/key_file_text.h"

#include <charconv>

#include "platform/system/utf8.h"

namespace qv {
namespace {

constexpr char kDigits[] = "0123456789ABCDEF";

bool IsAlphanumeric(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

template <class Test>
std::string Spell(std::string_view name, Test isPlain) {
  if (name.empty()) return "%";
  std::string spelled;
  spelled.reserve(name.size());
  for (const char c : name) {
    if (isPlain(c)) {
      spelled.push_back(c);
    } else {
      const auto byte = static_cast<uint8_t>(c);
      spelled.append({'%', kDigits[byte >> 4], kDigits[byte & 0xF]});
    }
  }
  return spelled;
}

}  // namespace

std::string SpellKey(std::string_view key) {
  return Spell(key,
               [](char c) { return c >= ' ' && c <= '~' && c != '[' && c != ']' && c != '%'; });
}

std::string SpellValueName(std::string_view name) {
  return Spell(name, [](char c) { return IsAlphanumeric(c) || c == '-' || c == '_' || c == '.'; });
}

std::string UnspellName(std::string_view spelled) {
  std::string name;
  if (spelled == "%") return name;
  for (size_t at = 0; at < spelled.size(); ++at) {
    uint8_t byte = 0;
    const char* const digits = spelled.data() + at + 1;
    if (spelled[at] == '%' && at + 2 < spelled.size() &&
        std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
      name.push_back(static_cast<char>(byte));
      at += 2;
    } else {
      name.push_back(spelled[at]);
    }
  }
  return name;
}

std::optional<std::string> SpellValue(const RegistryValue& value) {
  if (const uint32_t* number = std::get_if<uint32_t>(&value)) return std::to_string(*number);
  const std::u16string& text = std::get<std::u16string>(value);
  if (!IsWellFormed(text) || text.find(u'\0') != text.npos) return std::nullopt;
  return '"' + ToUtf8(text) + '"';
}

std::optional<RegistryValue> UnspellValue(std::string_view spelled) {
  if (spelled.size() >= 2 && spelled.front() == '"' && spelled.back() == '"') {
    return FromUtf8(spelled.substr(1, spelled.size() - 2));
  }
  uint32_t number = 0;
  const char* const end = spelled.data() + spelled.size();
  const auto [stop, error] = std::from_chars(spelled.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

}  // namespace qv
