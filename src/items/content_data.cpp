#include "items/content_data.h"

#include <algorithm>
#include <limits>

#include "platform/com/edge.h"

namespace qv {
namespace {

// A length that the interface cannot say is a failure, not another length.
bool Fits(const std::string& bytes) {
  return bytes.size() <= static_cast<size_t>(std::numeric_limits<int32_t>::max());
}

}  // namespace

HRESULT ContentData::GetLength(int32_t* length) noexcept {
  return Slot(Requires(), Outs(length), [&] {
    if (!Fits(bytes_)) return E_FAIL;
    return HandOut(length, static_cast<int32_t>(bytes_.size()));
  });
}

HRESULT ContentData::GetText(char* buffer, int32_t size) noexcept {
  if (buffer == nullptr) return E_POINTER;
  if (size < 0 || static_cast<size_t>(size) < bytes_.size()) return E_INVALIDARG;
  std::copy(bytes_.begin(), bytes_.end(), buffer);
  return S_OK;
}

HRESULT ContentData::SetText(const char* bytes, int32_t size) noexcept {
  return Slot(Requires(bytes), Outs(), [&] {
    if (size < 0) return E_INVALIDARG;
    bytes_.assign(bytes, static_cast<size_t>(size));
    return S_OK;
  });
}

ComPtr<IContentData> MakeContentData(std::string_view bytes) {
  return MakeObject<ContentData>(bytes);
}

std::string ContentBytes(IUnknown* cdata) {
  const ComPtr<IContentData> content = Query<IContentData>(cdata);
  if (!content) throw StatusError(E_FAIL);
  int32_t length = 0;
  Check(content->GetLength(&length));
  if (length < 0) throw StatusError(E_FAIL);
  std::string bytes(static_cast<size_t>(length), '\0');
  Check(content->GetText(bytes.data(), length));
  return bytes;
}

}  // namespace qv
