#include "host/store_kinds.h"

#include <algorithm>

#include "items/converters.h"
#include "items/item_objects.h"
#include "items/vcard.h"
#include "platform/com/class_factory.h"
#include "platform/com/component_ids.h"

namespace qv {
namespace {

constexpr StoreKind kKinds[] = {
    {.name = "contacts",
     .configName = "DataStore.Contact",
     .className = u"DataStoreContact",
     .mimeType = u"text/x-vCard",
     .version = "2.1",
     .extension = ".vcf",
     .pcKind = olContact,
     .converter = CLSID_VCardConverter,
     .opening = "BEGIN:VCARD",
     .split = SplitVCards},
};

}  // namespace

std::span<const StoreKind> StoreKinds() {
  return kKinds;
}

const StoreKind* FindStoreKind(std::string_view name) {
  const auto found = std::ranges::find(kKinds, name, &StoreKind::name);
  return found == std::end(kKinds) ? nullptr : &*found;
}

ComPtr<IItemCommon> ReadItem(const StoreKind& kind, std::string_view text) {
  const auto converter = CreateInstance<IConverter>(kind.converter);
  ComPtr<IUnknown> item;
  Check(converter->FromText(MakeContentData(text).get(), item.Out()));
  return Query<IItemCommon>(item);
}

std::string WriteItem(const StoreKind& kind, IItemCommon* item) {
  const auto converter = CreateInstance<IConverter>(kind.converter);
  ComPtr<IUnknown> text;
  Check(converter->ToText(item, text.Out()));
  return ContentBytes(text.get());
}

std::string StoreKindNames() {
  std::string names;
  for (const StoreKind& kind : kKinds) {
    if (!names.empty()) names += ", ";
    names += kind.name;
  }
  return names;
}

}  // namespace qv
