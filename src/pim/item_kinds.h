// What the PC side must know of each kind of item: one row a kind.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "pim/outlook_manager.h"

namespace qv {

// What is stored of one item.
struct PackedItem {
  std::string content;     // the same bytes for the same content
  std::u16string keyText;  // empty where none is compared, or where `keyNow` makes it
  std::u16string name;     // for a person
};

struct ItemKind {
  OlObjectClass kind;
  const char* noun;            // for messages
  const char16_t* folderName;  // of the folder that every profile has
  // False for an object that is no item of this kind.
  bool (*pack)(IUnknown* item, PackedItem& packed);
  // The key text of a content, where it follows the zone that holds when it is asked for; null
  // where the one that was packed holds for good.
  std::u16string (*keyNow)(std::string_view content);
  // A new item; null, with the reason, for content that is damaged.
  ComPtr<IItemCommon> (*unpack)(std::string_view content, std::string& why);
};

std::span<const ItemKind> ItemKinds();
// Null for a kind that is not kept.
const ItemKind* FindItemKind(OlObjectClass kind);

}  // namespace qv
