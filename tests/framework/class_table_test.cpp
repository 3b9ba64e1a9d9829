#include "framework/class_table.h"

#include <gtest/gtest.h>

#include "framework/store_contract.h"
#include "syncdb/status_interfaces.h"

namespace qv {
namespace {

TEST(ClassTable, CutsExactlyTheTwoNamesThatAreTooLong) {
  std::vector<std::u16string> cut;
  for (const ClassRow& row : ClassTable()) {
    const std::u16string whole = VersionIndependentProgId(row) + u".1";
    if (VersionedProgId(row) != whole) cut.push_back(VersionedProgId(row));
    EXPECT_EQ(CLSIDFromProgID(VersionedProgId(row)), row.clsid);
    EXPECT_EQ(CLSIDFromProgID(VersionIndependentProgId(row)), row.clsid);
  }
  EXPECT_EQ(cut, (std::vector<std::u16string>{u"QVSyncDataStore.DataStoreWindowsConta.1",
                                              u"QVSyncDataStore.DataStoreIECSVCalenda.1"}));
  EXPECT_FALSE(CLSIDFromProgID(u"QVSyncDataStore.DataStoreIECSVCalendar.1"));
  EXPECT_TRUE(CLSIDFromProgID(u"QVSyncDataStore.DataStoreIECSVCalendar"));
  EXPECT_FALSE(CLSIDFromProgID(u"qvsyncdatastore.datastorecontact"));
}

TEST(ClassTable, HoldsTheIdentifiersThatOtherProgramsUse) {
  const std::vector<std::pair<std::u16string, std::u16string>> expected = {
      {u"DataStore", u"{C143978A-DD5A-4EF8-ABCE-41AD22B2B060}"},
      {u"DataStoreManager", u"{0B542693-3587-4261-9D18-1064A7CF3B36}"},
      {u"DataStoreCalendar", u"{A795248F-F59C-41A5-B0CA-462A831F1CA5}"},
      {u"DataStoreConfig", u"{6AD41635-4C91-406D-90DE-C953AE3E4678}"},
      {u"StatusDBItem", u"{E5150374-78CE-403A-BDFF-68AE008E7E20}"},
      {u"StatusDBItemTree", u"{02DA789E-FBD0-4ED7-BAB7-CE1A8057DF8B}"},
      {u"DataStoreContact", u"{E5621430-B7CE-4727-9CED-29F8F3B1BF49}"},
      {u"DataStoreTodo", u"{E1D0034F-7883-44CE-B4D8-C3699ED65A8C}"},
      {u"DataStoreNote", u"{1E9E1DD1-A456-4245-83CD-7901CD9E2444}"},
      {u"DataStoreBookmark", u"{74846B98-CA1D-4DD0-8421-54BB2B50E687}"},
      {u"DataStoreWindowsContact", u"{8BB8B886-C619-4E90-BE68-23A50D0DA74E}"},
      {u"DataStoreIECSVContact", u"{C6194EB5-8DCE-4094-B321-750005C7338A}"},
      {u"DataStoreIECSVCalendar", u"{F27AE09D-5A52-4CDF-B49A-96A18A73ACA3}"},
      {u"DataStoreIECSVMemo", u"{480B0D1F-8EC9-4179-A561-610D215B3D5D}"},
      {u"DataStoreIEVCard", u"{D1F9F29A-943A-4F2E-9A8E-B425AA403A63}"},
      {u"DataStoreIEVCal", u"{FA234A29-EF10-45E8-A191-EA278D2ECE3B}"},
      {u"DataStoreOutlookExp", u"{AD6CF5FB-2E73-4CEF-91A4-3DA8A71A0E92}"},
      {u"DataStoreFireFox", u"{C4DE6238-EDD9-423E-88DE-9550F8F9C57B}"},
      {u"DataStoreChrome", u"{0267FDCD-3D15-41D1-9E99-E1254A970A85}"},
      {u"DataStoreBRCalendar", u"{1434FD0D-9A33-471F-A9AF-8869AC807798}"},
      {u"DataStoreBRContact", u"{97174731-6AAF-4E2F-986E-786CC18FB151}"},
      {u"DataStoreBRBookmark", u"{2B5F5D8A-4070-4936-B0F8-26C7559E1DD6}"},
      {u"DataStoreBRNote", u"{2894FC78-9CB3-49B1-B2A0-89D114DB755B}"},
      {u"DataStoreIEContactGrp", u"{185853EA-414D-4A10-890F-8B14555E4A14}"},
      {u"DataStoreBRContactGrp", u"{CCD86E0A-1FFD-4732-BC17-79C0062304D7}"},
  };
  std::vector<std::pair<std::u16string, std::u16string>> rows;
  for (const ClassRow& row : ClassTable()) {
    rows.emplace_back(row.name, FormatGuid(row.clsid));
    EXPECT_EQ(ClassDescription(row), std::u16string(row.name) + u" Class");
  }
  EXPECT_EQ(rows, expected);
  const std::pair<IID, const char16_t*> interfaces[] = {
      {IDataStoreMgr::kIid, u"{956DD4D9-40EB-47F3-95FD-3A077AD63262}"},
      {IDataStore::kIid, u"{16FAB4F6-10BD-4AFE-9DEF-357B2E5EF404}"},
      {IDataStoreConfig::kIid, u"{B1FA9615-6118-47BB-84F4-F3C9F0150D6C}"},
      {IStatusDB::kIid, u"{8C9E8889-B297-48FE-B762-E915D91BADBD}"},
      {IStatusDBItemTree::kIid, u"{A036494C-0656-4989-B670-AE0BC0847ED6}"},
      {IStatusDBItem::kIid, u"{CD60F2BE-68F1-4525-8F5E-556311A75D6A}"},
      {IDataStoreFilter::kIid, u"{456C7337-07BF-46E0-86A8-95E7793F1D45}"}};
  for (const auto& [iid, text] : interfaces) EXPECT_EQ(FormatGuid(iid), text);
}

}  // namespace
}  // namespace qv
