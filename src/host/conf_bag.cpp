#include "host/conf_bag.h"

#include <utility>

#include "platform/com/edge.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/text.h"

namespace qv {
namespace {

bool IsKey(std::string_view key) {
  return !key.empty() && ConfText::CanHold(key) && key.front() != '#' &&
         key.find('=') == std::string_view::npos;
}

}  // namespace

ConfBag::ConfBag(std::string path, ConfText text)
    : path_(std::move(path)), text_(std::move(text)) {}

HRESULT ConfBag::GetValue(BSTR key, VARIANT* value) noexcept {
  return Slot(Requires(key), Outs(value), [&] {
    const std::string name = ToUtf8(View(key));
    if (const auto held = memory_.find(name); held != memory_.end()) {
      *value = Variant::Text(FromUtf8(held->second)).Detach();
    } else if (const ConfEntry* entry = text_.Find(name)) {
      *value = Variant::Text(FromUtf8(entry->value)).Detach();
    }
    return S_OK;
  });
}

HRESULT ConfBag::SetValue(BSTR key, VARIANT text, BOOL persist) noexcept {
  return Slot(Requires(key), Outs(), [&] {
    const std::string name = ToUtf8(View(key));
    const std::string value = ToUtf8(VariantText(text));
    if (!IsKey(name) || !ConfText::CanHold(value)) return E_INVALIDARG;
    if (persist == kFalse) {
      memory_[name] = value;
      return S_OK;
    }
    const HRESULT status = WriteBack(name, value);
    if (Succeeded(status)) memory_.erase(name);
    return status;
  });
}

HRESULT ConfBag::WriteBack(const std::string& key, const std::string& value) {
  std::string bytes;
  if (Service<Files>::Get().Read(path_, bytes)) return E_FAIL;
  ConfText fresh(bytes);
  const ConfEntry* entry = fresh.Find(key);
  // An absent key reads as empty already.
  const bool same = entry != nullptr ? entry->value == value : value.empty();
  if (!same) {
    fresh.Set(key, value);
    if (Service<Files>::Get().WriteAtomic(path_, fresh.bytes())) return E_FAIL;
  }
  text_ = std::move(fresh);
  return S_OK;
}

}  // namespace qv
