// Where the paths and the values of the file stores end.
#include <gtest/gtest.h>

#include <algorithm>

#include "framework/class_table.h"
#include "items/item_objects.h"
#include "kit/samples.h"
#include "platform/com/class_factory.h"
#include "stores/file_names.h"
#include "stores/importexport/csv_fields.h"
#include "support/date_time.h"
#include "support/text.h"
#include "syncdb/group_table.h"

namespace qv {
namespace {

TEST(FileStoreLimits, APathThatIsTooLongIsCutOrRefusedWithAWord) {
  struct Case {
    const char* store;
    const char16_t* type;
    std::string (*text)(int which, const char* uid, const char* modified);
    size_t folderLength;  // in the module's form
    const char* file;     // null for none
    const char16_t* log;  // null for none
  };
  constexpr char16_t kCards[] =
      u"[CDataStoreIEVCard] Save the file name or folder path is too long";
  constexpr char16_t kEvents[] =
      u"[CDataStoreIEVCal] Save the file name or folder path is too long";
  for (const Case& c :
       {Case{"IEVCard", u"text/x-vCard", test::Card, 243, "AnnaMuster1.vcf", nullptr},
        Case{"IEVCard", u"text/x-vCard", test::Card, 244, "AnnaMu.vcf", nullptr},
        Case{"IEVCard", u"text/x-vCard", test::Card, 249, "A.vcf", nullptr},
        Case{"IEVCard", u"text/x-vCard", test::Card, 250, nullptr, kCards},
        Case{"IEVCal", u"text/x-vCalendar", test::Event, 246, "calendar.vcs", nullptr},
        Case{"IEVCal", u"text/x-vCalendar", test::Event, 247, nullptr, kEvents}}) {
    test::StoreBed s;
    const size_t above = s.folder.ModulePath(u"x").size() - 1;
    ASSERT_LT(above + 110, c.folderLength);
    // Two names, each of which the disk takes.
    std::string deep(100, 'd');
    deep.append("/").append(c.folderLength - above - 101, 'e');
    s.folder.Put(deep + "/x", "");
    std::u16string folder = s.folder.ModulePath(FromUtf8(deep));
    std::ranges::replace(folder, u'/', u'\\');
    ASSERT_EQ(folder.size(), c.folderLength);
    const std::u16string name = FromUtf8(c.store);
    s.bag->values = {{u"DataStore.ImportExport.Type", u"2"},
                     {u"DataStore.ImportExport.FolderPath", folder},
                     {u"DataStore." + name + u".MimeType", c.type}};
    s.store = CreateInstance<IDataStore>(ClassId(u"DataStore" + name));
    Check(s.store->Initialize(s.bag.get()));
    Check(s.store->SetDBAccessor(Query<IUnknown>(s.db).get()));
    Bstr id;
    const HRESULT added =
        s.store->Add(s.Content(c.text(1, "u", nullptr)).get(), Bstr(c.type), nullptr, id.Out());
    s.store.Reset();
    std::vector<std::string> made = {deep + "/x"};
    if (c.file != nullptr) made.insert(made.begin(), deep + "/" + c.file);
    std::vector<std::string> names = s.folder.Names();
    std::erase(names, "registry.ini");
    EXPECT_EQ(names, made) << c.store << c.folderLength;
    EXPECT_EQ(added, c.log == kCards ? E_FAIL : S_OK) << "one file holds all events, written later";
    EXPECT_EQ(s.log.Count(kCards) + s.log.Count(kEvents), c.log == nullptr ? 0u : 1u);
  }
}

TEST(FileStoreLimits, WhatDoesNotRecurHasNoCellOfARule) {
  Calendar item;
  item.recurrence = {
      RecurrenceType::Weekly, 2, 64, 5, 31, 12, 9, ParseDateTime(u"2024-06-01 10:00:00").value};
  const SyncSession session;
  for (const bool recurs : {true, false}) {
    item.isRecurring = recurs;
    int told = 0;
    for (const FieldCell& cell : kCalendarFields.write(
             MakeCalendarItem(item).get(), GroupTable(session, QuoteRule::AsTheyStand))) {
      const std::u16string column = ColumnName(kCalendarFields, cell);
      if (column.starts_with(u"Recurrence") && !cell.text.empty()) ++told;
    }
    EXPECT_EQ(told > 0, recurs) << told;
  }
}

}  // namespace
}  // namespace qv
