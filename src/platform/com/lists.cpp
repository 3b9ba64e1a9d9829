#include "platform/com/lists.h"

namespace qv {
namespace {

// Lets go of what a list held. Within the death of another list it is left to that one's loop.
template <class Items>
void LetGo(Items&& items) noexcept {
  thread_local std::vector<Items>* waiting = nullptr;
  if (items.empty()) return;
  if (waiting != nullptr) {
    try {
      waiting->push_back(std::move(items));
    } catch (...) {  // no memory: then by the stack
      items.clear();
    }
    return;
  }
  std::vector<Items> own;
  waiting = &own;
  items.clear();
  while (!own.empty()) {
    const Items next = std::move(own.back());
    own.pop_back();
  }
  waiting = nullptr;
}

template <class Items>
bool InRange(const Items& items, int32_t index) {
  return index >= 0 && static_cast<size_t>(index) < items.size();
}

template <class Items>
HRESULT CountOf(const Items& items, int32_t* count) noexcept {
  return Slot(Requires(), Outs(count),
              [&] { return HandOut(count, static_cast<int32_t>(items.size())); });
}

template <class Items>
HRESULT RemoveAt(Items& items, int32_t index) noexcept {
  if (!InRange(items, index)) return E_INVALIDARG;
  items.erase(items.begin() + index);
  return S_OK;
}

}  // namespace

UnkList::~UnkList() {
  LetGo(std::move(items_));
}

HRESULT UnkList::Count(int32_t* count) noexcept {
  return CountOf(items_, count);
}

HRESULT UnkList::Item(int32_t index, IUnknown** item) noexcept {
  return Slot(Requires(), Outs(item), [&] {
    if (!InRange(items_, index)) return E_INVALIDARG;
    return HandOut(item, items_[static_cast<size_t>(index)]);
  });
}

HRESULT UnkList::Add(IUnknown* item) noexcept {
  return Slot(Requires(item), Outs(), [&] {
    items_.emplace_back(item);
    return S_OK;
  });
}

HRESULT UnkList::Remove(int32_t index) noexcept {
  return RemoveAt(items_, index);
}

VarList::~VarList() {
  LetGo(std::move(items_));
}

HRESULT VarList::Count(int32_t* count) noexcept {
  return CountOf(items_, count);
}

HRESULT VarList::Item(int32_t index, VARIANT* item) noexcept {
  return Slot(Requires(), Outs(item), [&] {
    if (!InRange(items_, index)) return E_INVALIDARG;
    *item = Variant(items_[static_cast<size_t>(index)]).Detach();
    return S_OK;
  });
}

HRESULT VarList::Add(VARIANT item) noexcept {
  return Guarded([&] {
    items_.emplace_back(Variant(item));
    return S_OK;
  });
}

HRESULT VarList::Remove(int32_t index) noexcept {
  return RemoveAt(items_, index);
}

}  // namespace qv
