// The types of text that a store takes and gives.
#pragma once

#include <span>
#include <string_view>

#include "items/item_interfaces.h"
#include "platform/com/com_ptr.h"

namespace qv {

// On input a type compares without regard to case, on output exactly. Null functions stand for the
// store's converter.
struct TextType {
  std::u16string_view mimeType;
  ComPtr<IItemCommon> (*read)(IUnknown* cdata) = nullptr;
  ComPtr<IUnknown> (*write)(IUnknown* item) = nullptr;
};

// Null for a type that is none of these.
const TextType* FindIncoming(std::span<const TextType> types, std::u16string_view mimeType);
const TextType* FindOutgoing(std::span<const TextType> types, std::u16string_view mimeType);

// A note as its body alone, in the ANSI code page.
ComPtr<IItemCommon> ReadPlainNote(IUnknown* cdata);
ComPtr<IUnknown> WritePlainNote(IUnknown* item);

}  // namespace qv
