// Where the paths, the disk and the values of the file stores end.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "framework/class_table.h"
#include "items/item_objects.h"
#include "kit/file_size_limit.h"
#include "kit/samples.h"
#include "platform/com/class_factory.h"
#include "stores/file_names.h"
#include "stores/importexport/csv_fields.h"
#include "support/date_time.h"
#include "support/text.h"
#include "syncdb/group_table.h"

namespace qv {
namespace {

struct FileStore {
  const char* className;
  const char* configName;
  const char16_t* type;
  std::string (*text)(int which, const char* uid, const char* modified);
  const char* field;  // of a CSV file
};
constexpr FileStore kCards = {"IEVCard", "IEVCard", u"text/x-vCard", test::Card, ""};
constexpr FileStore kEvents = {"IEVCal", "IEVCal", u"text/x-vCalendar", test::Event, ""};
constexpr FileStore kStores[] = {
    {"IECSVContact", "IECSVContact", u"text/x-vCard", test::Card, "FamilyName"},
    {"IECSVCalendar", "IECSVSchedule", u"text/x-vCalendar", test::Event, "Subject"},
    {"IECSVMemo", "IECSVNote", u"text/vnote", test::VNote, "Memo"},
    kCards,
    kEvents,
};

// One text out into a folder, by a store that is gone afterwards; what `Add` answered.
HRESULT Export(test::StoreBed& s, const FileStore& kind, std::u16string folder,
               const std::string& text) {
  const std::u16string mapping =
      Concat({u"<Msg><Hdr Path=\"", folder, u"\\in.csv\"/><Body><Put><C Data=\"",
              FromUtf8(kind.field), u"\"/></Put></Body></Msg>"});
  s.bag->values = {{u"DataStore.ImportExport.Type", u"2"},
                   {u"DataStore.ImportExport.FolderPath", std::move(folder)},
                   {u"DataStore.ImportExport.CSV.MappingXML", mapping},
                   {u"DataStore." + FromUtf8(kind.configName) + u".MimeType", kind.type}};
  s.store = CreateInstance<IDataStore>(ClassId(u"DataStore" + FromUtf8(kind.className)));
  Check(s.store->Initialize(s.bag.get()));
  Check(s.store->SetDBAccessor(Query<IUnknown>(s.db).get()));
  Bstr id;
  const HRESULT added = s.store->Add(s.Content(text).get(), Bstr(kind.type), nullptr, id.Out());
  s.store.Reset();
  return added;
}

TEST(FileStoreLimits, APathThatIsTooLongIsCutOrRefusedWithAWord) {
  struct Case {
    const FileStore& kind;
    size_t folderLength;  // in the module's form
    const char* file;     // null for none
    HRESULT added = S_OK;
  };
  constexpr char16_t kCardLog[] =
      u"[CDataStoreIEVCard] Save the file name or folder path is too long";
  constexpr char16_t kEventLog[] =
      u"[CDataStoreIEVCal] Save the file name or folder path is too long";
  for (const Case& c : {Case{kCards, 243, "AnnaMuster1.vcf"}, Case{kCards, 244, "AnnaMu.vcf"},
                        Case{kCards, 249, "A.vcf"}, Case{kCards, 250, nullptr, E_FAIL},
                        // One file holds all events, written when all are there.
                        Case{kEvents, 246, "calendar.vcs"}, Case{kEvents, 247, nullptr}}) {
    test::StoreBed s;
    const size_t above = s.folder.ModulePath(u"x").size() - 1;
    ASSERT_LT(above + 110, c.folderLength);
    std::string deep(100, 'd');  // two names, each of which the disk takes
    deep.append("/").append(c.folderLength - above - 101, 'e');
    s.folder.Put(deep + "/x", "");
    std::u16string folder = s.folder.ModulePath(FromUtf8(deep));
    std::replace(folder.begin(), folder.end(), u'/', u'\\');
    ASSERT_EQ(folder.size(), c.folderLength);
    EXPECT_EQ(Export(s, c.kind, folder, c.kind.text(1, "u", nullptr)), c.added);
    std::vector<std::string> expected = {deep + "/x"};
    if (c.file != nullptr) expected.insert(expected.begin(), deep + "/" + c.file);
    std::vector<std::string> names = s.folder.Names();
    std::erase(names, "registry.ini");
    EXPECT_EQ(names, expected) << c.kind.className << c.folderLength;
    EXPECT_EQ(s.log.Count(&c.kind == &kCards ? kCardLog : kEventLog), c.file == nullptr ? 1u : 0u);
  }
}

TEST(FileStoreLimits, AFullDiskLeavesNoHalfFile) {
  for (const FileStore& kind : kStores) {
    std::string text = kind.text(1, "u", nullptr);
    const char* const value = text.find("Muster1") != text.npos ? "Muster1" : " 1\r\n";
    text.insert(text.find(value), std::string(20'000, 'x'));
    for (const bool isFull : {false, true}) {
      test::StoreBed s;
      s.folder.Put("out/x", "");
      std::optional<test::FileSizeLimit> full;
      if (isFull) full.emplace(8'192);
      const HRESULT added = Export(s, kind, s.folder.ModulePath(u"out"), text);
      full.reset();
      const bool writesAtOnce = kind.type == kCards.type && *kind.field == 0;
      EXPECT_EQ(added, isFull && writesAtOnce ? E_FAIL : S_OK) << kind.className;
      std::vector<std::string> names = s.folder.Names();
      std::erase_if(names, [](const std::string& name) { return !name.starts_with("out/"); });
      EXPECT_EQ(names.size(), isFull ? 1u : 2u) << kind.className << " " << names.back();
    }
  }
}

TEST(FileStoreLimits, WhatDoesNotRecurHasNoCellOfARule) {
  Calendar item;
  const DATE until = ParseDateTime(u"2024-06-01 10:00:00").value;
  item.recurrence = {RecurrenceType::Weekly, 2, 64, 5, 31, 12, 9, until};
  const SyncSession session;
  for (const bool recurs : {true, false}) {
    item.isRecurring = recurs;
    int told = 0;
    for (const FieldCell& cell : kCalendarFields.write(
             MakeCalendarItem(item).get(), GroupTable(session, QuoteRule::AsTheyStand))) {
      told += ColumnName(kCalendarFields, cell).starts_with(u"Recurrence");
    }
    EXPECT_EQ(told > 0, recurs) << told;
  }
}

}  // namespace
}  // namespace qv
