#include "framework/class_table.h"

#include <stdexcept>

namespace qv {
namespace {

constexpr ClassRow kClasses[] = {
    {u"DataStore", "{C143978A-DD5A-4EF8-ABCE-41AD22B2B060}"_guid},
    {u"DataStoreManager", "{0B542693-3587-4261-9D18-1064A7CF3B36}"_guid},
    {u"DataStoreCalendar", "{A795248F-F59C-41A5-B0CA-462A831F1CA5}"_guid},
    {u"DataStoreConfig", "{6AD41635-4C91-406D-90DE-C953AE3E4678}"_guid},
    {u"StatusDBItem", "{E5150374-78CE-403A-BDFF-68AE008E7E20}"_guid},
    {u"StatusDBItemTree", "{02DA789E-FBD0-4ED7-BAB7-CE1A8057DF8B}"_guid},
    {u"DataStoreContact", "{E5621430-B7CE-4727-9CED-29F8F3B1BF49}"_guid},
    {u"DataStoreTodo", "{E1D0034F-7883-44CE-B4D8-C3699ED65A8C}"_guid},
    {u"DataStoreNote", "{1E9E1DD1-A456-4245-83CD-7901CD9E2444}"_guid},
    {u"DataStoreBookmark", "{74846B98-CA1D-4DD0-8421-54BB2B50E687}"_guid},
    {u"DataStoreWindowsContact", "{8BB8B886-C619-4E90-BE68-23A50D0DA74E}"_guid},
    {u"DataStoreIECSVContact", "{C6194EB5-8DCE-4094-B321-750005C7338A}"_guid},
    {u"DataStoreIECSVCalendar", "{F27AE09D-5A52-4CDF-B49A-96A18A73ACA3}"_guid},
    {u"DataStoreIECSVMemo", "{480B0D1F-8EC9-4179-A561-610D215B3D5D}"_guid},
    {u"DataStoreIEVCard", "{D1F9F29A-943A-4F2E-9A8E-B425AA403A63}"_guid},
    {u"DataStoreIEVCal", "{FA234A29-EF10-45E8-A191-EA278D2ECE3B}"_guid},
    {u"DataStoreOutlookExp", "{AD6CF5FB-2E73-4CEF-91A4-3DA8A71A0E92}"_guid},
    {u"DataStoreFireFox", "{C4DE6238-EDD9-423E-88DE-9550F8F9C57B}"_guid},
    {u"DataStoreChrome", "{0267FDCD-3D15-41D1-9E99-E1254A970A85}"_guid},
    {u"DataStoreBRCalendar", "{1434FD0D-9A33-471F-A9AF-8869AC807798}"_guid},
    {u"DataStoreBRContact", "{97174731-6AAF-4E2F-986E-786CC18FB151}"_guid},
    {u"DataStoreBRBookmark", "{2B5F5D8A-4070-4936-B0F8-26C7559E1DD6}"_guid},
    {u"DataStoreBRNote", "{2894FC78-9CB3-49B1-B2A0-89D114DB755B}"_guid},
    {u"DataStoreIEContactGrp", "{185853EA-414D-4A10-890F-8B14555E4A14}"_guid},
    {u"DataStoreBRContactGrp", "{CCD86E0A-1FFD-4732-BC17-79C0062304D7}"_guid},
};

constexpr std::u16string_view kPrefix = u"QVSyncDataStore.";
constexpr std::u16string_view kVersion = u".1";
constexpr size_t kLongestVersionedName = 39;

}  // namespace

std::span<const ClassRow> ClassTable() {
  return kClasses;
}

const CLSID& ClassId(std::u16string_view name) {
  for (const ClassRow& row : kClasses) {
    if (row.name == name) return row.clsid;
  }
  throw std::out_of_range("no such class in the table");
}

std::u16string VersionedProgId(const ClassRow& row) {
  std::u16string name(kPrefix);
  name += row.name.substr(0, kLongestVersionedName - kPrefix.size() - kVersion.size());
  return name += kVersion;
}

std::u16string VersionIndependentProgId(const ClassRow& row) {
  return std::u16string(kPrefix).append(row.name);
}

std::u16string ClassDescription(const ClassRow& row) {
  return std::u16string(row.name).append(u" Class");
}

std::optional<CLSID> CLSIDFromProgID(std::u16string_view name) {
  for (const ClassRow& row : kClasses) {
    if (name == VersionedProgId(row) || name == VersionIndependentProgId(row)) return row.clsid;
  }
  return std::nullopt;
}

}  // namespace qv
