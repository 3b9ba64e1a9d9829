// The two list objects that travel through the store interfaces.
//
// Both keep insertion order. `Item` and `Remove` take an index from 0; one out of range gives
// E_INVALIDARG and, for `Item`, a null or empty out.
//
// Lists hold lists to any depth, as the trees of snapshots do. The last reference on the outermost
// one lets go of all of them in a loop: a chain of a hundred thousand does not fill the stack.
#pragma once

#include <vector>

#include "platform/com/com_object.h"
#include "platform/com/component_ids.h"
#include "platform/com/edge.h"

namespace qv {

struct IUnkList : IDispatch {
  static constexpr IID kIid = IID_IUnkList;
  virtual HRESULT Count(int32_t* count) noexcept = 0;
  virtual HRESULT Item(int32_t index, IUnknown** item) noexcept = 0;  // one reference more
  virtual HRESULT Add(IUnknown* item) noexcept = 0;                   // null is E_POINTER
  virtual HRESULT Remove(int32_t index) noexcept = 0;

 protected:
  ~IUnkList() = default;
};

struct IVarList : IDispatch {
  static constexpr IID kIid = IID_IVarList;
  virtual HRESULT Count(int32_t* count) noexcept = 0;
  virtual HRESULT Item(int32_t index, VARIANT* item) noexcept = 0;  // a copy
  virtual HRESULT Add(VARIANT item) noexcept = 0;                   // copied
  virtual HRESULT Remove(int32_t index) noexcept = 0;

 protected:
  ~IVarList() = default;
};

class UnkList final : public ComObject<IUnkList> {
 public:
  ~UnkList() override;
  HRESULT Count(int32_t* count) noexcept override;
  HRESULT Item(int32_t index, IUnknown** item) noexcept override;
  HRESULT Add(IUnknown* item) noexcept override;
  HRESULT Remove(int32_t index) noexcept override;

 private:
  std::vector<ComPtr<IUnknown>> items_;
};

class VarList final : public ComObject<IVarList> {
 public:
  ~VarList() override;
  HRESULT Count(int32_t* count) noexcept override;
  HRESULT Item(int32_t index, VARIANT* item) noexcept override;
  HRESULT Add(VARIANT item) noexcept override;
  HRESULT Remove(int32_t index) noexcept override;

 private:
  std::vector<Variant> items_;
};

// The members of a list as `T`; members without that interface are passed over. Throws StatusError.
template <class T>
std::vector<ComPtr<T>> Members(IUnkList& list) {
  std::vector<ComPtr<T>> members;
  int32_t count = 0;
  Check(list.Count(&count));
  members.reserve(static_cast<size_t>(count));
  for (int32_t i = 0; i < count; ++i) {
    ComPtr<IUnknown> item;
    Check(list.Item(i, item.Out()));
    if (ComPtr<T> member = Query<T>(item)) members.push_back(std::move(member));
  }
  return members;
}

}  // namespace qv
