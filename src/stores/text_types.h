// The types of text that a store takes and gives.
#pragma once

#include <span>
#include <string_view>

#include "items/converters.h"
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

// The item of a text; null for a text or a type that gives none. Both throw StatusError.
ComPtr<IItemCommon> ReadTyped(std::span<const TextType> types, std::u16string_view mimeType,
                              IConverter& converter, IUnknown* cdata);
ComPtr<IUnknown> WriteTyped(const TextType& type, IConverter& converter, IUnknown* item);

// A note as its body alone, in the ANSI code page.
ComPtr<IItemCommon> ReadPlainNote(IUnknown* cdata);
ComPtr<IUnknown> WritePlainNote(IUnknown* item);

inline constexpr TextType kContactTypes[] = {{u"text/x-vCard"}};
inline constexpr TextType kAddressBookTypes[] = {{u"text/x-vCard"}, {u"text/vcard"}};
inline constexpr TextType kCalendarTypes[] = {{u"text/x-vCalendar"}};
inline constexpr TextType kNoteTypes[] = {
    {u"text/vnote"}, {u"text/x-vnote"}, {u"text/plain", ReadPlainNote, WritePlainNote}};

}  // namespace qv
