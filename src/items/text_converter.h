// The converter components: `IConverter` in front of a kind's two functions.
#pragma once

#include <optional>

#include "items/converters.h"
#include "items/item_objects.h"
#include "platform/com/com_object.h"
#include "platform/com/edge.h"

namespace qv {

// `parse` and `write` convert between a text and the values of an item, `make` and `valuesOf`
// between those and its object.
template <class Interface, auto parse, auto write, auto make, auto valuesOf>
class TextConverter final : public ComObject<Interface> {
 public:
  // No key of the bag bears on the texts.
  HRESULT Initialize(IUnknown* pIConfig) noexcept override {
    return Slot(Requires(pIConfig), Outs(), [] { return S_OK; });
  }

  HRESULT Parse(IUnknown* cdata, IUnknown** item) noexcept override {
    return Slot(Requires(cdata), Outs(item), [&] {
      auto values = parse(ContentBytes(cdata));
      return values ? HandOut(item, make(*std::move(values))) : S_OK;
    });
  }

  HRESULT Serialize(IUnknown* item, IUnknown** cdata) noexcept override {
    return Slot(Requires(item), Outs(cdata), [&] {
      const auto* values = valuesOf(item);
      return values == nullptr ? E_FAIL : HandOut(cdata, MakeContentData(write(*values)));
    });
  }

  HRESULT FromText(IUnknown* cdata, IUnknown** item) noexcept override {
    return Parse(cdata, item);
  }
  HRESULT ToText(IUnknown* item, IUnknown** cdata) noexcept override {
    return Serialize(item, cdata);
  }
};

}  // namespace qv
