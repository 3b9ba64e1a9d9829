#include "framework/class_table.h"

#include <gtest/gtest.h>

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

TEST(ClassTable, HoldsEachIdentifierOnce) {
  EXPECT_EQ(ClassTable().size(), 25u);
  for (const ClassRow& a : ClassTable()) {
    for (const ClassRow& b : ClassTable()) {
      EXPECT_EQ(&a == &b, a.clsid == b.clsid);
    }
  }
  EXPECT_EQ(FormatGuid(ClassId(u"DataStoreContact")), u"{E5621430-B7CE-4727-9CED-29F8F3B1BF49}");
}

}  // namespace
}  // namespace qv
