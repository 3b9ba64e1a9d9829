#include "stores/outlook/item_filter.h"

#include "items/item_objects.h"
#include "pim/outlook_manager.h"
#include "platform/com/class_factory.h"
#include "platform/com/edge.h"
#include "platform/com/lists.h"

namespace qv {

std::u16string ItemFilter::FilterText() {
  Bstr text;
  Check(config_.get_FilterRecordData(text.Out()));
  return text.str();
}

HRESULT ItemFilter::Includes(const std::u16string& id, bool& included) {
  included = true;
  if (IsSubItemId(id)) return S_OK;
  if (std::u16string text = FilterText(); text != compiledText_) {
    compiled_ = rule_(text);
    compiledText_ = std::move(text);
  }
  if (!compiled_) return S_OK;
  ComPtr<IItemCommon> item;
  const HRESULT status = Guarded([&] { return read_(id, item); });
  const Calendar* calendar = CalendarOf(item.get());
  if (calendar != nullptr) included = compiled_(*calendar);
  return status;
}

// Without a test for null, as its callers know it; only the write is left out.
HRESULT ItemFilter::IsFilterExsit(BOOL* isExist) noexcept {
  return Slot(Requires(), Outs(isExist), [&] {
    config_.get_SupportFilter(isExist);
    return S_OK;
  });
}

HRESULT ItemFilter::IsInFilter(BSTR sourceUid, BOOL* isInclude) noexcept {
  return Slot(Requires(sourceUid), Outs(isInclude), [&] {
    HandOut(isInclude, kTrue);
    bool included = true;
    const HRESULT status = Includes(std::u16string(View(sourceUid)), included);
    HandOut(isInclude, ToBool(included));
    return status;
  });
}

HRESULT ItemFilter::GetFilteredUids(IUnknown* pIUnkList, IUnknown** ppIVarList) noexcept {
  return Slot(Requires(), Outs(ppIVarList), [&] {
    const auto ids = Query<IVarList>(pIUnkList);
    if (FilterText().empty() || !ids) return S_OK;
    const auto list = CreateInstance<IVarList>(CLSID_VarList);
    HRESULT status = S_OK;
    int32_t count = 0;
    Check(ids->Count(&count));
    for (int32_t i = 0; i < count; ++i) {
      Variant id;
      Check(ids->Item(i, id.Out()));
      bool included = true;
      status = Includes(std::u16string(id.view()), included);
      if (included) Check(list->Add(id.get()));
    }
    HandOut(ppIVarList, ComPtr<IUnknown>(list));
    return status;
  });
}

}  // namespace qv
