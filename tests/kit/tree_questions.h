// Short questions to a bookmark store, for tests. Outs start poisoned.
#pragma once

#include <gtest/gtest.h>

#include "kit/bookmark_stack.h"
#include "platform/com/lists.h"
#include "platform/com/variant.h"
#include "syncdb/path_map.h"

namespace qv::test {

inline std::vector<std::u16string> Texts(const ComPtr<IUnknown>& list) {
  std::vector<std::u16string> texts;
  const auto all = Query<IVarList>(list);
  int32_t count = 0;
  if (all) Check(all->Count(&count));
  for (int32_t i = 0; i < count; ++i) {
    Variant value;
    Check(all->Item(i, value.Out()));
    texts.emplace_back(value.view());
  }
  return texts;
}

inline std::vector<std::u16string> AllUids(StoreBed& s) {
  ComPtr<IUnknown> list;
  Check(s.store->GetAllUid(list.Out()));
  return Texts(list);
}

// Empty for no list.
inline std::vector<std::u16string> SubUids(StoreBed& s, const std::u16string& uid) {
  ComPtr<IUnknown> list;
  Check(s.store->GetSubUids(Bstr(uid), list.Out()));
  return Texts(list);
}

inline std::u16string ParentOf(StoreBed& s, const std::u16string& uid) {
  Bstr parent(u"poison");
  Check(s.store->GetParentUid(Bstr(uid), parent.Out()));
  return parent.str();
}

inline bool IsFolder(StoreBed& s, const std::u16string& uid) {
  BOOL answer = 7;
  Check(s.store->IsFolder(Bstr(uid), &answer));
  return answer != kFalse;
}

// Empty for a file that is not there.
inline std::string Bytes(BookmarkStack& s, std::u16string_view path) {
  std::string bytes;
  ReadFileBytes(RelativeToAbsolute(s.root, path), bytes);
  return bytes;
}

inline HRESULT Duplicate(StoreBed& s, const TreeText& text, const std::u16string& parent,
                         std::u16string& match, RESV_CONFLTLASTMODIFIED& winner) {
  Bstr matched(u"poison");
  BOOL duplicated = 7;
  winner = RESV_CONFLTLASTMODIFIED_IGNORE;
  const HRESULT result =
      s.store->ProcessDuplication(Bstr(parent), s.Content(text.bytes).get(), Bstr(text.type),
                                  matched.Out(), &winner, &duplicated);
  match = matched.str();
  EXPECT_EQ(duplicated, ToBool(matched.get() != nullptr));
  return result;
}

// The outcome, or the failure.
inline int32_t Conflict(StoreBed& s, const std::u16string& uid, const TreeText& text) {
  auto outcome = RESV_CONFLTLASTMODIFIED_IGNORE;
  const HRESULT result = s.store->ProcessConflictLastModified(s.Content(text.bytes).get(),
                                                              Bstr(text.type), Bstr(uid), &outcome);
  return Failed(result) ? result : outcome;
}

}  // namespace qv::test
