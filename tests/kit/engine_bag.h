// An engine's configuration bag in memory.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/com/com_object.h"
#include "platform/com/edge.h"
#include "platform/com/engine_config.h"

namespace qv::test {

class MemoryBag final : public ComObject<IEngineConfig> {
 public:
  MemoryBag() = default;
  explicit MemoryBag(std::map<std::u16string, std::u16string> values) : values(std::move(values)) {}

  HRESULT GetValue(BSTR key, VARIANT* value) noexcept override {
    return Slot(Requires(key), Outs(value), [&]() -> HRESULT {
      const std::u16string name(View(key));
      reads.push_back(name);
      if (name == failingKey) return E_INVALIDARG;
      const auto found = values.find(name);
      if (name == numberKey) {
        value->vt = VT_R8;
        value->dblVal = 1.0;
        return S_OK;
      }
      if (found != values.end()) *value = Variant::Text(found->second).Detach();
      return S_OK;
    });
  }

  HRESULT SetValue(BSTR key, VARIANT text, BOOL persist) noexcept override {
    return Slot(Requires(key), Outs(), [&]() -> HRESULT {
      const std::u16string name(View(key));
      if (name == failingKey) return E_INVALIDARG;
      writes.push_back(name);
      allPersisted = allPersisted && persist == kTrue;
      values[name] = VariantText(text);
      return S_OK;
    });
  }

  std::map<std::u16string, std::u16string> values;
  std::u16string numberKey;   // its value is a number, not a text
  std::u16string failingKey;  // read and write of this key fail with E_INVALIDARG
  std::vector<std::u16string> reads;
  std::vector<std::u16string> writes;
  bool allPersisted = true;
};

}  // namespace qv::test
