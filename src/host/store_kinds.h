// The kinds of data that `qvsync` knows: one row each.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "items/item_interfaces.h"
#include "pim/outlook_manager.h"
#include "platform/com/com_ptr.h"
#include "platform/com/guid.h"

namespace qv {

struct StoreKind {
  std::string_view name;          // on the command line, and the phone's folder
  std::string_view configName;    // the store's name in the bag
  std::u16string_view className;  // whose identifier `init` writes
  std::u16string_view mimeType;
  std::string_view version;    // of the texts
  std::string_view extension;  // of the phone's files
  OlObjectClass pcKind;
  CLSID converter;  // offers IConverter's slots

  // A file of texts: how one begins, in capitals, and the texts, each a view into the file.
  std::string_view opening;
  std::vector<std::string_view> (*split)(std::string_view file);
};

std::span<const StoreKind> StoreKinds();
// Null for an unknown name.
const StoreKind* FindStoreKind(std::string_view name);
// The item of a text, null for one that cannot be read; and the text of an item. Throw StatusError.
ComPtr<IItemCommon> ReadItem(const StoreKind& kind, std::string_view text);
std::string WriteItem(const StoreKind& kind, IItemCommon* item);
// "contacts, ...": for messages.
std::string StoreKindNames();

}  // namespace qv
