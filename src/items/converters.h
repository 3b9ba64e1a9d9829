// The converters between vObject text and item objects.
//
// Every converter has the same operations. `Parse` gives S_OK and a null item for a text that it
// cannot read; a negative status is a real error (null arguments, no memory). `FromText` and
// `ToText` are the same two directions for callers that hold files.
#pragma once

#include "items/item_interfaces.h"

namespace qv {

struct IConverter : IDispatch {
  static constexpr IID kIid = IID_IConverter;
  virtual HRESULT Initialize(IUnknown* pIConfig) noexcept = 0;
  virtual HRESULT Parse(IUnknown* cdata, IUnknown** item) noexcept = 0;
  virtual HRESULT Serialize(IUnknown* item, IUnknown** cdata) noexcept = 0;
  virtual HRESULT FromText(IUnknown* cdata, IUnknown** item) noexcept = 0;
  virtual HRESULT ToText(IUnknown* item, IUnknown** cdata) noexcept = 0;

 protected:
  ~IConverter() = default;
};

// Every converter also answers to `IConverter`.
struct IVCardConverter : IConverter {
  static constexpr IID kIid = IID_IVCardConverter;
  using Parent = IConverter;

 protected:
  ~IVCardConverter() = default;
};

struct IVCalendarConverter : IConverter {
  static constexpr IID kIid = IID_IVCalendarConverter;
  using Parent = IConverter;

 protected:
  ~IVCalendarConverter() = default;
};

struct IVNoteConverter : IConverter {
  static constexpr IID kIid = IID_IVNoteConverter;
  using Parent = IConverter;

 protected:
  ~IVNoteConverter() = default;
};

struct IBookmarkConverter : IConverter {
  static constexpr IID kIid = IID_IBookmarkConverter;
  using Parent = IConverter;

 protected:
  ~IBookmarkConverter() = default;
};

struct IFolderConverter : IConverter {
  static constexpr IID kIid = IID_IFolderConverter;
  using Parent = IConverter;

 protected:
  ~IFolderConverter() = default;
};

}  // namespace qv
