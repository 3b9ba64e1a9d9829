// `ContentData`: a text as narrow bytes.
#pragma once

#include "items/item_objects.h"

namespace qv {

class ContentData final : public ComObject<IContentData> {
 public:
  ContentData() = default;
  explicit ContentData(std::string_view bytes) : bytes_(bytes) {}

  HRESULT GetLength(int32_t* length) noexcept override;
  HRESULT GetText(char* buffer, int32_t size) noexcept override;
  HRESULT SetText(const char* bytes, int32_t size) noexcept override;

 private:
  std::string bytes_;
};

}  // namespace qv
