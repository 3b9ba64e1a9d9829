// `VCardConverter`: the component in front of ParseVCard and WriteVCard.
#pragma once

#include "items/converters.h"
#include "platform/com/com_object.h"

namespace qv {

class VCardConverter final : public ComObject<IVCardConverter> {
 public:
  HRESULT Initialize(IUnknown* pIConfig) noexcept override;
  HRESULT Parse(IUnknown* cdata, IUnknown** item) noexcept override;
  HRESULT Serialize(IUnknown* item, IUnknown** cdata) noexcept override;
  HRESULT FromText(IUnknown* cdata, IUnknown** item) noexcept override;
  HRESULT ToText(IUnknown* item, IUnknown** cdata) noexcept override;
};

}  // namespace qv
