// `IDataStoreFilter` of a store: an interface of the store's own object, answered here.
//
// The filter text is asked for at each call. An exception of a series is always included, and so is
// an item that cannot be read: leaving it out would look like a deletion.
#pragma once

#include <functional>

#include "framework/store_contract.h"
#include "items/item_interfaces.h"
#include "platform/com/com_object.h"
#include "stores/outlook/filter_rules.h"

namespace qv {

class ItemFilter final : public DispatchSlots<IDataStoreFilter> {
 public:
  using Rule = FilterTest (*)(std::u16string_view filterText);
  using ReadItem = std::function<HRESULT(const std::u16string& id, ComPtr<IItemCommon>& item)>;

  // The owner counts the references; it, the configuration and what `read` uses outlive this.
  ItemFilter(IUnknown& owner, IDataStoreConfig& config, Rule rule, ReadItem read)
      : owner_(owner), config_(config), rule_(rule), read_(std::move(read)) {}

  // The status is that of reading the item.
  HRESULT Includes(const std::u16string& id, bool& included);

  HRESULT QueryInterface(const IID& iid, void** out) noexcept override {
    return owner_.QueryInterface(iid, out);
  }
  uint32_t AddRef() noexcept override { return owner_.AddRef(); }
  uint32_t Release() noexcept override { return owner_.Release(); }

  HRESULT IsFilterExsit(BOOL* isExist) noexcept override;
  HRESULT IsInFilter(BSTR sourceUid, BOOL* isInclude) noexcept override;
  // Null without a filter text, and for what is no IVarList of identifiers.
  HRESULT GetFilteredUids(IUnknown* pIUnkList, IUnknown** ppIVarList) noexcept override;

 private:
  std::u16string FilterText();

  IUnknown& owner_;
  IDataStoreConfig& config_;
  Rule rule_;
  ReadItem read_;
  std::u16string compiledText_;
  FilterTest compiled_;
};

}  // namespace qv
