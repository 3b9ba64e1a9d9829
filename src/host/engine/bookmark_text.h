// The phone's bookmarks as the PC side can take them: there a title is the name of a file.
#pragma once

#include <string>
#include <string_view>

#include "host/engine/model.h"
#include "items/item_interfaces.h"

namespace qv {

// A title, or a folder's name, in the form that it has once it is a file's name. "+" stands for
// signs and control characters that no name may hold, and for the "." of a ".url" within, behind
// which the PC side would not find the bookmark again.
std::u16string PcTitle(std::u16string_view title);

// The title of a bookmark or the name of a folder; empty for anything else. Throws StatusError.
std::u16string TitleOf(IItemCommon& item);
// The address of a bookmark.
std::u16string UrlOf(IItemCommon& item);

// The text with such a title; one without a title gets the name of its file. A text that is no
// bookmark, and one whose title fits, come back as they are.
std::string ForPc(std::string_view text, std::string_view fileName);

// `pcText` with the properties of `phoneText` that the PC side has no place for.
std::string WithExtrasOf(std::string_view phoneText, std::string_view pcText);

// `text` with another title, or another address, where they are not null.
std::string WithParts(std::string_view text, const std::u16string* title,
                      const std::u16string* url);

// Throws ItemError when the checksum service fails.
Meaning MeaningOf(std::u16string_view title, std::u16string_view url);
// Of a text in the form that the PC side takes; what is not known for one that is no bookmark.
Meaning MeaningOf(std::string_view text);

// Without the numbers at its end that a name gets where it is taken.
std::u16string_view WithoutNumbers(std::u16string_view name);

// Why a text that is a bookmark cannot be one of the PC's; empty for one that can.
std::string BookmarkFault(std::string_view text);

// A folder document of this name; and the name that a folder of the phone has on the PC.
std::string FolderText(std::u16string_view name);
std::u16string PcNameOfFolder(const PhoneItem& folder);

}  // namespace qv
