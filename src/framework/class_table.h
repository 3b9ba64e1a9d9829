// The module's classes: identifiers and programmatic names. Persisted contract.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/com/guid.h"

namespace qv {

struct ClassRow {
  std::u16string_view name;  // "DataStoreContact"
  CLSID clsid;
};

// All registered names. The first, `DataStore`, is a name without a class: creating it fails.
std::span<const ClassRow> ClassTable();
// The identifier of a row. The name must be in the table.
const CLSID& ClassId(std::u16string_view name);

// "QVSyncDataStore.DataStoreContact.1", cut so that no name is longer than 39 characters, and the
// name without a version, which is never cut.
std::u16string VersionedProgId(const ClassRow& row);
std::u16string VersionIndependentProgId(const ClassRow& row);
// "DataStoreContact Class".
std::u16string ClassDescription(const ClassRow& row);
// By either name, exactly as spelled; nothing for any other text.
std::optional<CLSID> CLSIDFromProgID(std::u16string_view name);

inline constexpr std::u16string_view kThreadingModel = u"Apartment";

// The type library `QVSyncDataStoreLib`.
inline constexpr GUID kTypeLibrary = "{A2D295B6-2DD1-46D3-9443-7494C0CAE235}"_guid;
inline constexpr int kTypeLibraryMajor = 1;
inline constexpr int kTypeLibraryMinor = 0;
inline constexpr uint32_t kTypeLibraryLocale = 0x409;

}  // namespace qv
