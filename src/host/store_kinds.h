// The kinds of data that `qvsync` knows: one row each.
#pragma once

#include <span>
#include <string_view>

#include "pim/outlook_manager.h"
#include "platform/com/guid.h"

namespace qv {

struct StoreKind {
  std::string_view name;          // on the command line, and the phone's folder
  std::string_view configName;    // the store's name in the bag
  std::u16string_view className;  // whose identifier `init` writes
  std::u16string_view mimeType;
  std::string_view extension;  // of the phone's files
  OlObjectClass pcKind;
  CLSID converter;  // offers IConverter's slots
};

std::span<const StoreKind> StoreKinds();
// Null for an unknown name.
const StoreKind* FindStoreKind(std::string_view name);

}  // namespace qv
