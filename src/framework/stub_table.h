// Which operations a family of stores has of its own, and what the others answer.
//
// One row per family, one cell per operation. Outs are cleared before a stub answers: a flag is
// false then, a list null, a conflict outcome NONE; `GetParentUid` alone hands out an empty text.
#pragma once

#include <array>
#include <cstddef>

#include "platform/com/types.h"

namespace qv {

enum class StoreFamily : size_t { Pim, Favorites, Chrome, AddressBook, ImportExport, Backup };
inline constexpr size_t kFamilies = 6;

enum class StoreSlot : size_t {
  Replace,
  Delete,
  GetAllUid,
  DeleteAll,
  PrepareSlowSync,
  ProcessDuplication,
  ProcessConflictLastModified,
  OnProcesseSentCmdSuccess,
  IsFolder,
  GetParentUid,
  GetSubUids,
  SetOutlookMgr,
  ProcessConflictSubRecur,
};
inline constexpr size_t kStoreSlots = 13;

struct SlotAnswer {
  bool isReal;             // the store's own hook runs
  HRESULT stub = S_OK;     // otherwise the answer
  bool testsInput = true;  // null identifiers give E_POINTER
};

inline constexpr SlotAnswer kReal{true};
inline constexpr SlotAnswer kRealUntested{true, S_OK, false};
inline constexpr SlotAnswer kStubOk{false, S_OK};
inline constexpr SlotAnswer kStubFail{false, E_FAIL};
inline constexpr SlotAnswer kStubUntested{false, S_OK, false};

// Columns in the order of StoreSlot.
inline constexpr std::array<std::array<SlotAnswer, kStoreSlots>, kFamilies> kStubTable = {{
    // Pim: contacts and notes have no recurrence, their hook answers as the stub does
    {kReal, kReal, kReal, kReal, kReal, kReal, kReal, kReal, kStubOk, kStubOk, kStubOk, kReal,
     kReal},
    // Favorites
    {kReal, kReal, kReal, kReal, kReal, kReal, kReal, kReal, kReal, kReal, kReal, kStubUntested,
     kStubOk},
    // Chrome
    {kReal, kReal, kReal, kStubFail, kReal, kReal, kReal, kReal, kStubOk, kRealUntested, kStubOk,
     kStubUntested, kStubOk},
    // AddressBook
    {kReal, kReal, kReal, kReal, kReal, kReal, kReal, kReal, kStubOk, kReal, kStubOk, kStubUntested,
     kStubOk},
    // ImportExport
    {kStubFail, kStubFail, kStubFail, kStubOk, kStubFail, kStubFail, kStubFail, kStubOk, kStubOk,
     kStubOk, kStubOk, kStubUntested, kStubOk},
    // Backup
    {kStubFail, kStubFail, kReal, kStubOk, kStubFail, kStubFail, kStubFail, kStubOk, kStubOk,
     kStubOk, kStubOk, kStubUntested, kStubOk},
}};

constexpr const SlotAnswer& AnswerOf(StoreFamily family, StoreSlot slot) {
  return kStubTable[static_cast<size_t>(family)][static_cast<size_t>(slot)];
}

}  // namespace qv
