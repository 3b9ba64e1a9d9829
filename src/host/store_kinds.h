// The kinds of data that `qvsync` knows: one row each.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "items/item_interfaces.h"
#include "pim/outlook_manager.h"
#include "platform/com/com_ptr.h"
#include "platform/com/guid.h"

namespace qv {

// The items of one text, which may hold any number. The text must outlive it, and have no mark.
class ItemTexts {
 public:
  virtual ~ItemTexts() = default;
  virtual size_t Count() const = 0;
  // A view into the text.
  virtual std::string_view At(size_t index) const = 0;
  // Null for one that cannot be read. Throws StatusError.
  virtual ComPtr<IItemCommon> Read(size_t index) const = 0;
  // What was taken for something else in what was read so far, for a person; empty for nothing.
  virtual std::string Doubts() const { return {}; }
};

struct StoreKind {
  std::string_view name;          // on the command line, and the phone's folder
  std::string_view items;         // what many of them are called
  std::string_view configName;    // the store's name in the bag
  std::u16string_view className;  // whose identifier `init` writes
  std::u16string_view mimeType;
  std::string_view version;    // of the texts
  std::string_view extension;  // of the phone's files
  OlObjectClass pcKind;        // of a kind that the PC profile keeps
  CLSID converter;             // offers IConverter's slots

  // How a text of this kind begins, in capitals: what a file without any item lacks.
  std::string_view opening;
  std::unique_ptr<ItemTexts> (*open)(const StoreKind& kind, std::string_view text);
  // Whether an item that the converter gives is one of this kind.
  bool (*takes)(IItemCommon& item);
  // The items lie in the user's Favorites folder, in folders of their own, and go by their title.
  bool isTree = false;
};

std::span<const StoreKind> StoreKinds();
// Null for an unknown name.
const StoreKind* FindStoreKind(std::string_view name);
// The first item of a text, null for one that cannot be read; and the text of an item. Throw
// StatusError.
ComPtr<IItemCommon> ReadItem(const StoreKind& kind, std::string_view text);
std::string WriteItem(const StoreKind& kind, IItemCommon* item);
// How many items a text holds; it may have a mark.
size_t CountItems(const StoreKind& kind, std::string_view text);
// The kind that an item read as one of `kind` is of: `kind` itself, or one that shares its texts.
const StoreKind& KindOf(const StoreKind& kind, IItemCommon& item);
// "contacts, ...": for messages.
std::string StoreKindNames();

}  // namespace qv
