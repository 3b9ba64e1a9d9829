#include "framework/class_table.h"

#include <gtest/gtest.h>

#include "framework/store_contract.h"
#include "platform/system/utf8.h"
#include "support/text.h"
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

// Pinned as a whole: whatever this prints must be what it was.
TEST(ClassTable, HoldsTheIdentifiersThatOtherProgramsUse) {
  std::u16string all;
  for (const ClassRow& row : ClassTable()) {
    EXPECT_EQ(ClassDescription(row), std::u16string(row.name) + u" Class");
    all.append(row.name).append(FormatGuid(row.clsid)).append(u"\n");
  }
  for (const IID& iid :
       {IDataStoreMgr::kIid, IDataStore::kIid, IDataStoreConfig::kIid, IStatusDB::kIid,
        IStatusDBItemTree::kIid, IStatusDBItem::kIid, IDataStoreFilter::kIid, kTypeLibrary}) {
    all.append(FormatGuid(iid)).append(u"\n");
  }
  EXPECT_EQ(ComputeMd5(all), u"d166687e667860d44776604fe16e4d69") << ToUtf8(all);
}

}  // namespace
}  // namespace qv
