// The bodies of item slots: one template for each shape of property and list.
#pragma once

#include <string>
#include <vector>

#include "items/extra.h"
#include "items/kinds.h"
#include "platform/com/edge.h"

namespace qv {

template <class List>
bool HasIndex(const List& list, int32_t index) {
  return index >= 0 && static_cast<size_t>(index) < list.size();
}

inline HRESULT GetText(const std::u16string& text, BSTR* out) noexcept {
  return Slot(Requires(), Outs(out), [&] { return HandOut(out, text); });
}

inline HRESULT PutText(std::u16string& text, BSTR value) noexcept {
  return Guarded([&] {
    text = View(value);
    return S_OK;
  });
}

template <class Value>
HRESULT GetValue(Value value, Value* out) noexcept {
  return Slot(Requires(), Outs(out), [&] { return HandOut(out, value); });
}

template <class Value>
HRESULT PutValue(Value& member, Value value) noexcept {
  member = value;
  return S_OK;
}

// A view on the first entry of a list: empty without one, and made by the first text written.
template <class List, class TextOf>
HRESULT GetFirst(List& list, TextOf textOf, BSTR* out) noexcept {
  return Slot(Requires(), Outs(out), [&] {
    return HandOut(out, list.empty() ? std::u16string_view() : textOf(list.front()));
  });
}

template <class List, class TextOf>
HRESULT PutFirst(List& list, typename List::value_type made, TextOf textOf, BSTR value) noexcept {
  return Guarded([&] {
    if (list.empty()) {
      if (View(value).empty()) return S_OK;
      list.push_back(std::move(made));
    }
    textOf(list.front()) = View(value);
    return S_OK;
  });
}

template <class List>
HRESULT CountOf(const List& list, int32_t* count) noexcept {
  return Slot(Requires(), Outs(count),
              [&] { return HandOut(count, static_cast<int32_t>(list.size())); });
}

template <class Kind>
HRESULT GetKinded(const std::vector<Kinded<Kind>>& list, int32_t index, int32_t* kind,
                  BSTR* value) noexcept {
  return Slot(Requires(), Outs(kind, value), [&] {
    if (!HasIndex(list, index)) return E_INVALIDARG;
    const Kinded<Kind>& entry = list[static_cast<size_t>(index)];
    HandOut(value, entry.value);
    return HandOut(kind, static_cast<int32_t>(entry.kind));
  });
}

template <class Kind>
HRESULT AddKinded(std::vector<Kinded<Kind>>& list, int32_t kind, BSTR value) noexcept {
  return Guarded([&] {
    if (!IsKind(static_cast<Kind>(kind))) return E_INVALIDARG;
    list.push_back({static_cast<Kind>(kind), std::u16string(View(value))});
    return S_OK;
  });
}

inline HRESULT GetEntry(const std::vector<std::u16string>& list, int32_t index,
                        BSTR* out) noexcept {
  return Slot(Requires(), Outs(out), [&] {
    if (!HasIndex(list, index)) return E_INVALIDARG;
    return HandOut(out, list[static_cast<size_t>(index)]);
  });
}

inline HRESULT AddEntry(std::vector<std::u16string>& list, BSTR text) noexcept {
  return Guarded([&] {
    list.emplace_back(View(text));
    return S_OK;
  });
}

inline HRESULT GetExtraEntry(const std::vector<ExtraProperty>& extras, int32_t index,
                             BSTR* property, BSTR* value) noexcept {
  return Slot(Requires(), Outs(property, value), [&] {
    if (!HasIndex(extras, index)) return E_INVALIDARG;
    const ExtraProperty& extra = extras[static_cast<size_t>(index)];
    HandOut(property, MarkedProperty(extra));
    return HandOut(value, extra.value);
  });
}

inline HRESULT AddExtraEntry(std::vector<ExtraProperty>& extras, BSTR property,
                             BSTR value) noexcept {
  return Guarded([&] {
    extras.push_back(ExtraFromMarked(std::u16string(View(property)), std::u16string(View(value))));
    return S_OK;
  });
}

}  // namespace qv
