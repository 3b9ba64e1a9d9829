// How registry keys, value names and values are spelled in a key file.
//
// Names: a byte that the key file cannot hold, and "%", is "%" and two hexadecimal digits; an empty
// name is a lone "%". Values: a number in decimal, a text between double quotes (so that the kind
// shows and outer blanks stay).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace qv {

using RegistryValue = std::variant<uint32_t, std::u16string>;

// A group: everything printable but [ ] % stands for itself.
std::string SpellKey(std::string_view key);
// A key of a group: letters, digits, "-", "_" and "." stand for themselves.
std::string SpellValueName(std::string_view name);
std::string UnspellName(std::string_view spelled);

// Nothing for a text that UTF-8 or a line of a file cannot hold: lone surrogates and NUL.
std::optional<std::string> SpellValue(const RegistryValue& value);
// Nothing for a value of neither kind, as a person might leave one.
std::optional<RegistryValue> UnspellValue(std::string_view spelled);

}  // namespace qv
