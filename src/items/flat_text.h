// Texts of one component with a few text properties, an identifier and a time (vNote, vBookmark):
// what reading and writing them have in common.
//
//   text := BEGIN:<component> line* END:<component>
//
// Of each property the first value that is not empty counts, the others are extras, as is a value
// that cannot be decoded and any other component inside.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "items/item.h"

namespace qv {

enum class FlatKind {
  Text,
  Url,  // holds neither tabs, line breaks nor U+0000; the blank of a fold is no part of it
};

template <class Value>
struct FlatProperty {
  std::string_view name;
  FlatKind kind = FlatKind::Text;
  std::u16string Value::*member = nullptr;
};

struct FlatForm {
  std::string_view component;
  std::string_view version;
  std::string_view wrapper;  // a component whose lines are the outer one's; empty for none
};

// A property of the form and where its value goes.
struct FlatSlot {
  std::string_view name;
  FlatKind kind = FlatKind::Text;
  std::u16string* value = nullptr;
};
// The first whole component of the text, read into the slots and the fields, which are cleared.
// False, with both in an unknown state, when there is none. UTC. Never throws on the text's
// account.
bool ReadFlat(std::string_view text, const FlatForm& form, std::span<const FlatSlot> slots,
              ItemFields& fields);

struct FlatValue {
  std::string_view name;
  std::u16string_view value;
};
// Values in their order, behind identifier and time (UTC) and before the fields' extras.
std::string WriteFlat(const FlatForm& form, const ItemFields& fields, DATE modified,
                      std::span<const FlatValue> values);

// The same for a value with `fields`, by the table of its properties.
template <class Value, size_t N>
std::optional<Value> ParseFlat(std::string_view text, const FlatForm& form,
                               const FlatProperty<Value> (&table)[N]) {
  Value value;
  FlatSlot slots[N];
  for (size_t i = 0; i < N; ++i) {
    slots[i] = {table[i].name, table[i].kind, &(value.*table[i].member)};
  }
  if (!ReadFlat(text, form, slots, value.fields)) return std::nullopt;
  return value;
}

template <class Value, size_t N>
std::string RenderFlat(const Value& value, DATE modified, const FlatForm& form,
                       const FlatProperty<Value> (&table)[N]) {
  FlatValue values[N];
  for (size_t i = 0; i < N; ++i) values[i] = {table[i].name, value.*table[i].member};
  return WriteFlat(form, value.fields, modified, values);
}

}  // namespace qv
