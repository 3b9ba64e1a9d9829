// The stores that put files in the place of a data source.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "framework/class_table.h"
#include "kit/samples.h"
#include "platform/com/class_factory.h"
#include "platform/com/lists.h"
#include "stores/file_names.h"
#include "support/text.h"
#include "syncdb/status_item.h"

namespace qv {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

struct FileStore {
  const char* name;
  std::u16string_view className;
  std::u16string_view configName;
  std::u16string_view mimeType;
  std::u16string_view refusedType;  // `Get` answers E_FAIL; empty where no other type is refused
  bool refusesOthers;
  std::string (*text)(int which, const char* uid, const char* modified);
  const char* field;         // of a CSV file
  const char* file;          // that an import reads
  const char16_t* emptyLog;  // null for none
  // When text 1 is added with item 2 in the cache: what a file's name and content hold, and do not.
  const char* fromBoth;
  const char* fromNeither;
};

const FileStore kStores[] = {
    {"CsvContact", u"DataStoreIECSVContact", u"DataStore.IECSVContact", u"text/x-vCard", u"", false,
     test::Card, "FamilyName", "h\r\nA\r\nB\r\n", u"[QVSyncEngine] No contact data synchronized",
     "Muster2", "Muster1"},
    {"CsvCalendar", u"DataStoreIECSVCalendar", u"DataStore.IECSVSchedule", u"text/x-vCalendar", u"",
     false, test::Event, "Subject", "h\r\nA\r\nB\r\n",
     u"[QVSyncEngine] No calendar data synchronized", "Meeting 2", "Meeting 1"},
    {"CsvMemo", u"DataStoreIECSVMemo", u"DataStore.IECSVNote", u"text/vnote", u"text/x-vCard", true,
     test::VNote, "Memo", "h\r\nA\r\nB\r\n", u"[QVSyncEngine] No memo data synchronized", "Note 2",
     "Note 1"},
    {"VCard", u"DataStoreIEVCard", u"DataStore.IEVCard", u"text/x-vCard", u"text/vcard", false,
     test::Card, nullptr, "BEGIN:VCARD\r\nN:A\r\nEND:VCARD\r\nBEGIN:VCARD\r\nN:B\r\nEND:VCARD\r\n",
     nullptr, "AnnaMuster2.vcfBEGIN:VCARD\r\nX-QVVERSION:2.0\r\nVERSION:2.1\r\nN:Muster1",
     "N:Muster2"},
    {"VCal", u"DataStoreIEVCal", u"DataStore.IEVCal", u"text/x-vCalendar", u"text/vcalendar", false,
     test::Event, nullptr,
     "BEGIN:VEVENT\r\nSUMMARY:A\r\nEND:VEVENT\r\nBEGIN:VEVENT\r\nSUMMARY:B\r\nEND:VEVENT",
     u"[QVSyncEngine] No vcal data synchronized", "Meeting 1", "Meeting 2"},
};

const BSTR kPoison = reinterpret_cast<BSTR>(0x10);

class FileStoreBed : public test::StoreBed {
 public:
  explicit FileStoreBed(const FileStore& store) : kind(store) {
    bag->values[Key(u".MimeType")] = kind.mimeType;
    Set(u"FolderPath", folder.ModulePath(u"out"));
    Set(u"FileNames", u"in.dat");
    folder.Put("out/in.dat", kind.file);
    if (kind.field != nullptr) MapTo({kind.field});
  }
  ~FileStoreBed() { Release(); }

  std::u16string Key(std::u16string_view suffix) const {
    return std::u16string(kind.configName) + std::u16string(suffix);
  }
  void Set(std::u16string_view key, std::u16string value) {
    bag->values[u"DataStore.ImportExport." + std::u16string(key)] = std::move(value);
  }
  void MapTo(const std::vector<std::string>& fields) {
    std::string xml =
        "<Msg><Hdr Path=\"" + ToUtf8(folder.ModulePath(u"out\\in.dat")) + "\"/><Body><Put>";
    for (const std::string& field : fields) xml += "<C Data=\"" + field + "\"/>";
    Set(u"CSV.MappingXML", FromUtf8(xml + "</Put></Body></Msg>"));
  }
  HRESULT Open(const char16_t* type) {
    Set(u"Type", type);
    auto made = CreateInstance<IDataStore>(ClassId(kind.className));
    const HRESULT result = made->Initialize(bag.get());
    Check(made->SetDBAccessor(Query<IUnknown>(db).get()));
    store = made;
    this->status = Query<IStatusDB>(store);
    return result;
  }
  void Start(const char16_t* type) {
    Check(Open(type));
    Check(status->Initialize());
  }
  void Release() {
    status.Reset();
    store.Reset();
  }
  HRESULT Add(const std::string& text, std::u16string* uid = nullptr) {
    BSTR created = kPoison;
    const HRESULT result = store->Add(Content(text).get(), Bstr(kind.mimeType), nullptr, &created);
    EXPECT_NE(created, kPoison);
    if (uid != nullptr) *uid = View(created);
    SysFreeString(created);
    return result;
  }
  // The status and what came out.
  HRESULT Get(const char16_t* uid, std::string* text, std::u16string* objUid = nullptr) {
    BSTR type = kPoison;
    BSTR parent = kPoison;
    auto* item = reinterpret_cast<IUnknown*>(kPoison);
    auto* content = item;
    const HRESULT result = store->Get(Bstr(uid), kFalse, &type, &parent, &item, &content);
    const ComPtr<IUnknown> ownedItem = ComPtr<IUnknown>::Adopt(item);
    const ComPtr<IUnknown> ownedContent = ComPtr<IUnknown>::Adopt(content);
    EXPECT_EQ(parent, nullptr);
    EXPECT_EQ(View(type), ownedContent ? kind.mimeType : u"");
    EXPECT_EQ(!ownedItem, !ownedContent);
    SysFreeString(type);
    if (text != nullptr) *text = ownedContent ? ContentBytes(ownedContent.get()) : "";
    if (objUid != nullptr && ownedItem) *objUid = FieldsOf(ownedItem.get())->objUid;
    return result;
  }
  std::vector<std::string> Made() const {
    std::vector<std::string> names = folder.Names();
    std::erase_if(names, [](const std::string& name) {
      return !name.starts_with("out/") || name == "out/in.dat";
    });
    return names;
  }
  std::optional<uint32_t> ExportEmpty() { return registry.ReadNumber(kSyncKey, "ExportEmpty"); }

  const FileStore& kind;
};

class ImportExport : public testing::TestWithParam<FileStore> {
 protected:
  std::string Text(int which) const { return GetParam().text(which, "u", "20240101T000000Z"); }

  FileStoreBed s{GetParam()};
};

TEST_P(ImportExport, AJobThatCannotBeDoneIsRefusedAtOnce) {
  const char16_t* kTypes[] = {u"1", u"2"};
  for (const char16_t* type : kTypes) {
    for (const char16_t* folder : {u"", u"out\\none", u"out\\in.dat"}) {
      s.Set(u"FolderPath", *folder == 0 ? u"" : s.folder.ModulePath(folder));
      EXPECT_EQ(s.Open(type), E_FAIL);
      EXPECT_EQ(s.status->Initialize(), E_FAIL);
    }
  }
  s.Set(u"FolderPath", s.folder.ModulePath(u"out"));
  s.bag->failingKey = s.Key(u".MimeType");
  EXPECT_EQ(s.Open(u"2"), E_INVALIDARG);
  s.bag->failingKey.clear();
  s.Set(u"FileNames", u"");
  EXPECT_EQ(s.Open(u"1"), E_FAIL);
  s.Release();
  EXPECT_THAT(s.Made(), IsEmpty());
  EXPECT_NE(s.ExportEmpty(), 1u) << "a store that was never ready exports nothing";
  EXPECT_EQ(s.Open(u"2"), S_OK);
  EXPECT_EQ(s.store->Initialize(s.bag.get()), DS_S_ALREADY_INITIALIZED);
}

TEST_P(ImportExport, AnImportIsASourceOfNewItems) {
  s.Start(u"1");
  ComPtr<IStatusDBItemTree> tree;
  ASSERT_EQ(s.status->GetBackupStatusDB(tree.Out()), S_OK);
  ComPtr<IUnknown> children;
  Check(tree->get_SubItemTree(children.Out()));
  EXPECT_FALSE(children);
  ASSERT_EQ(s.status->GetCurrentStatusDB(tree.Out()), S_OK);
  Check(tree->get_SubItemTree(children.Out()));
  std::vector<std::u16string> rows;
  for (const auto& node : Members<IStatusDBItemTree>(*Query<IUnkList>(children))) {
    ComPtr<IStatusDBItem> item;
    Check(node->get_Item(item.Out()));
    const StatusRow row = ReadStatusItem(*item);
    rows.push_back(row.sourceUid + u" " + row.parentUid + u" " + FormatDateTime(row.modified) +
                   (row.isFolder ? u" folder" : u""));
  }
  EXPECT_THAT(rows, ElementsAre(u"0 / 2024-03-05 06:07:08", u"1 / 2024-03-05 06:07:08"));

  std::string first;
  std::string second;
  EXPECT_EQ(s.Get(u"0", &first), S_OK);
  EXPECT_EQ(s.Get(u"1", &second), S_OK);
  EXPECT_THAT(first, HasSubstr(":A"));
  EXPECT_THAT(second, HasSubstr(":B"));
  EXPECT_EQ(s.Get(u"abc", &second), S_OK) << "no number is 0";
  EXPECT_THAT(second, HasSubstr(":A"));
  for (const char16_t* uid : {u"2", u"-1", u"99999999999"}) EXPECT_EQ(s.Get(uid, nullptr), E_FAIL);
  Check(s.status->Initialize());
  EXPECT_EQ(s.Get(u"2", nullptr), E_FAIL) << "read anew, not twice";
  s.Release();
  EXPECT_THAT(s.Made(), IsEmpty());
}

TEST_P(ImportExport, TheConfiguredTypeDecidesWhatGetGives) {
  const std::pair<std::u16string_view, HRESULT> kOthers[] = {
      {GetParam().refusedType, GetParam().refusedType.empty() ? S_OK : E_FAIL},
      {u"text/other", GetParam().refusesOthers ? E_FAIL : S_OK},
      {u"", GetParam().refusesOthers ? E_FAIL : S_OK},
  };
  for (const auto& [type, result] : kOthers) {
    s.bag->values[s.Key(u".MimeType")] = type;
    s.Start(u"1");
    std::string text = "poison";
    EXPECT_EQ(s.Get(u"0", &text), result) << ToUtf8(type);
    EXPECT_EQ(text, "");
  }
}

TEST_P(ImportExport, AnExportWritesWhatWasAddedAndTellsWhenNothingWas) {
  s.Start(u"2");
  EXPECT_EQ(s.ExportEmpty(), 0u);
  std::u16string uid;
  EXPECT_EQ(s.Add(Text(1), &uid), S_OK);
  EXPECT_EQ(uid, u"1");
  EXPECT_EQ(s.Add("rubbish"), E_FAIL);
  Bstr created;
  for (const char16_t* type : {u"application/vnd.omads-folder+xml", u"text/calendar", u""}) {
    EXPECT_EQ(s.store->Add(s.Content(Text(1)).get(), Bstr(type), nullptr, created.Out()), E_FAIL);
  }
  Check(s.store->CachParseData(nullptr, Bstr(GetParam().mimeType), s.Content(Text(2)).get()));
  EXPECT_EQ(s.Add(Text(2), &uid), S_OK);
  EXPECT_EQ(uid, u"2");
  s.Release();
  EXPECT_THAT(s.Made(), Not(IsEmpty()));
  EXPECT_EQ(s.ExportEmpty(), 0u);

  const size_t made = s.Made().size();
  s.Start(u"2");
  s.Release();
  EXPECT_EQ(s.Made().size(), made);
  EXPECT_EQ(s.ExportEmpty(), 1u);
  if (GetParam().emptyLog != nullptr) {
    EXPECT_EQ(s.log.Count(GetParam().emptyLog), 1u);
  }
  s.Start(u"2");
  EXPECT_EQ(s.ExportEmpty(), 0u);
}

TEST_P(ImportExport, TheCachedItemIsTakenAndTheTextIsTheOneThatCame) {
  s.Start(u"2");
  EXPECT_EQ(s.store->CachParseData(nullptr, Bstr(GetParam().mimeType), s.Content("x").get()),
            E_FAIL);
  Check(s.store->CachParseData(nullptr, Bstr(GetParam().mimeType), s.Content(Text(2)).get()));
  ComPtr<IUnknown> cached;
  EXPECT_EQ(s.store->GetCachedParseData(cached.Out()), S_OK);
  EXPECT_TRUE(cached);
  EXPECT_EQ(s.Add(Text(1)), S_OK);
  EXPECT_EQ(s.store->UnCachParseData(), S_OK);
  s.Release();
  ASSERT_EQ(s.Made().size(), 1u);
  const std::string file = s.Made()[0] + s.folder.Get(s.Made()[0]).value_or("");
  EXPECT_THAT(file, HasSubstr(GetParam().fromBoth));
  EXPECT_THAT(file, Not(HasSubstr(GetParam().fromNeither)));
}

TEST_P(ImportExport, OnlyAnExportTakesAndOnlyAnImportReads) {
  for (const char16_t* type : {u"1", u"3", u""}) {
    s.Start(type);
    EXPECT_EQ(s.Add(Text(1)), E_FAIL) << ToUtf8(type);
    EXPECT_EQ(s.Get(u"0", nullptr), *type == u'1' ? S_OK : E_FAIL);
    s.Release();
  }
  EXPECT_THAT(s.Made(), IsEmpty());
  EXPECT_NE(s.ExportEmpty(), 1u);
  s.Stop(true);
  EXPECT_EQ(s.Open(u"1"), S_OK);
  EXPECT_EQ(s.status->Initialize(), E_FAIL) << "the user does not want it";
}

INSTANTIATE_TEST_SUITE_P(Stores, ImportExport, testing::ValuesIn(kStores),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(CsvStoreTest, AnImportFollowsTheMapping) {
  FileStoreBed s(kStores[0]);
  s.MapTo({"FamilyName", "No such field", "FamilyName", "Mobile"});
  s.folder.Put("out/in.dat", "a,b,c,d\nA,x,Z,\"\"1\"\",too many\n,x,Y\n\nB\n");
  s.Start(u"1");
  EXPECT_EQ(s.log.Count(u"[QVSyncEngine] csv file does not match the header and data"), 1u);
  std::string text;
  ASSERT_EQ(s.Get(u"0", &text), S_OK);
  EXPECT_THAT(text, HasSubstr("N:A;"));
  EXPECT_THAT(text, HasSubstr("TEL;CELL:1\r\n"));
  ASSERT_EQ(s.Get(u"1", &text), S_OK) << "a row without a cell that counts is an item";
  EXPECT_THAT(text, Not(HasSubstr("Y")));
  std::u16string first;
  std::u16string again;
  ASSERT_EQ(s.Get(u"0", &text, &first), S_OK);
  s.clock.Advance(60);
  EXPECT_EQ(s.Get(u"2", nullptr), S_OK);
  ASSERT_EQ(s.Get(u"0", &text, &again), S_OK);
  EXPECT_EQ(first, again) << "the same item";
  EXPECT_THAT(text, HasSubstr("REV:20240305T060708Z"));
  EXPECT_EQ(s.Get(u"3", nullptr), E_FAIL);

  for (const char16_t* mapping :
       {u"", u"no xml", u"<Msg><Hdr Path='x'/><Body><Put><C Data='Mobile'/>",
        u"<Msg><Hdr Path='x'/><Body/></Msg>", u"<Msg><Body><Put/></Body></Msg>",
        u"<Msg><Hdr Path='C:\\none.csv'/><Body><Put/></Body></Msg>"}) {
    s.Set(u"CSV.MappingXML", mapping);
    EXPECT_EQ(s.status->Initialize(), 1) << ToUtf8(mapping);
    EXPECT_EQ(s.Get(u"0", nullptr), E_FAIL);
  }
}

TEST(CsvStoreTest, ColumnsStandInTheOrderOfFirstUseAndNamesAreNumbered) {
  FileStoreBed s(kStores[0]);
  const auto card = [](const char* lines) {
    return std::string("BEGIN:VCARD\r\nVERSION:2.1\r\n") + lines + "END:VCARD\r\n";
  };
  const char* kFiles[] = {"out/Deskhub_contact_20240305T060708.csv",
                          "out/Deskhub_contact_20240305T060708_1.csv"};
  for (const char* file : kFiles) {
    s.Start(u"2");
    s.Add(card("N:A\r\nTEL;HOME:1\r\nTEL;CELL:2\r\nTEL;HOME:3\r\n"));
    s.Add(card("NOTE:=x\r\nTEL;WORK:4\r\n"));
    s.Release();
    EXPECT_EQ(s.folder.Get(file),
              "\"FamilyName\",\"Home Telephone_1\",\"Mobile_1\",\"Home Telephone_2\",\"Note\","
              "\"Work Telephone_1\"\r\n"
              "\"A\",\"\"\"1\"\"\",\"\"\"2\"\"\",\"\"\"3\"\"\",\"\",\"\"\r\n"
              "\"\",\"\",\"\",\"\",\"=x\",\"\"\"4\"\"\"\r\n");
  }
}

TEST(VCardFileTest, ManyFilesAreReadInOrderAndGroupsFound) {
  FileStoreBed s(kStores[3]);
  s.db->Run(u"INSERT INTO ContGrp_NameUidMap(grpname,obj_uid) VALUES('O''Neil','g1')");
  s.Set(u"FileNames", u";b.vcf;;none.vcf;a.vcf;");
  s.folder.Put("out/a.vcf", "BEGIN:VCARD\r\nN:A\r\nEND:VCARD");
  s.folder.Put("out/b.vcf",
               "BEGIN:VCARD\r\nN:B\r\nX-GROUP:O'Neil\r\nX-GROUP:None\r\nEND:VCARD\r\n"
               "BEGIN:VCARD\r\nEND:VCARD");
  s.Start(u"1");
  std::string text;
  std::u16string uid;
  std::u16string again;
  ASSERT_EQ(s.Get(u"0", &text, &uid), S_OK);
  EXPECT_THAT(text, HasSubstr("X-GRPUUID:g1\r\n"));
  ASSERT_EQ(s.Get(u"0", &text, &again), S_OK);
  EXPECT_NE(uid, again) << "made new each time";
  ASSERT_EQ(s.Get(u"1", &text), S_OK);
}

TEST(VCardFileTest, GroupsGoOutAndComeBackWhateverTheyAreCalled) {
  FileStoreBed s(kStores[3]);
  const std::u16string names[] = {u"Sales\\North", u"a;b\\;c", u"O'Neil, Gr\u00FC\u00DFe"};
  const std::u16string uid = u"x%2541y";  // as items keep "x%41y"
  for (const std::u16string& name : names) {
    std::u16string quoted = name;
    ReplaceAll(quoted, u"'", u"''");
    s.db->Run(u"DELETE FROM ContGrp_NameUidMap WHERE 1=1");
    s.db->Run(u"INSERT INTO ContGrp_NameUidMap(grpname,obj_uid) VALUES('" + quoted + u"','" + uid +
              u"')");
    for (const char* end : {"\r\n", "\n"}) {
      std::string card =
          "BEGIN:VCARD\r\nVERSION:3.0\r\nN:A\r\nX-GRPUUID:x%41y\r\nTEL:1\r\nEND:VCARD\r\n";
      ReplaceAll(card, "\r\n", end);
      s.Start(u"2");
      ASSERT_EQ(s.Add(card), S_OK);
      s.Release();
      ASSERT_EQ(s.Made().size(), 1u);
      const std::string file = *s.folder.Get(s.Made()[0]);
      EXPECT_THAT(file, HasSubstr("X-GROUP:" + ToUtf8(name) + "\r\nTEL:1"));
      s.folder.Put("out/in.dat", file);
      std::filesystem::remove(s.folder.File(s.Made()[0]));
      s.Start(u"1");
      std::string text;
      ASSERT_EQ(s.Get(u"0", &text), S_OK);
      EXPECT_THAT(text, HasSubstr("X-GRPUUID:x%41y\r\n")) << ToUtf8(name);
    }
  }
}

TEST(VCardFileTest, ASecondStartKeepsWhatWasSavedInMind) {
  for (const int store : {3, 4}) {
    FileStoreBed s(kStores[store]);
    s.Start(u"2");
    EXPECT_EQ(s.Add(kStores[store].text(1, "u", nullptr)), S_OK);
    Check(s.status->Initialize());
    s.Release();
    EXPECT_EQ(s.Made().size(), 1u);
    EXPECT_EQ(s.ExportEmpty(), 0u);
  }
}

TEST(VCardFileTest, EachContactHasAFileNamedAfterItsPerson) {
  FileStoreBed s(kStores[3]);
  s.db->Run(u"INSERT INTO ContGrp_NameUidMap(grpname,obj_uid) VALUES('Friends','g1')");
  s.Start(u"2");
  const auto add = [&](const char* name, const char* more = "") {
    return s.Add(std::string("BEGIN:VCARD\r\nVERSION:2.1\r\nN:") + name + "\r\n" + more +
                 "END:VCARD\r\n");
  };
  EXPECT_EQ(add("Doe;Jane", "X-GRPUUID:g1;g2\r\n"), S_OK);
  EXPECT_EQ(add("Doe;Jane"), S_OK);
  EXPECT_EQ(add(";"), S_OK);
  EXPECT_EQ(add("..;A/B"), S_OK);
  EXPECT_EQ(add("\\..\\C;"), S_OK);
  std::u16string uid;
  EXPECT_EQ(s.Add("BEGIN:VCARD\r\nN:a\tb\r\nEND:VCARD\r\n", &uid), E_FAIL);
  EXPECT_EQ(uid, u"6") << "used up, though nothing was saved";
  EXPECT_EQ(s.log.Count(u"[CDataStoreIEVCard] CreateFile Failed in SaveVCard, window error-code: "
                        u"123"),
            1u);
  EXPECT_THAT(s.Made(), ElementsAre("out/+..+C.vcf", "out/A+B...vcf", "out/JaneDoe(1).vcf",
                                    "out/JaneDoe.vcf", "out/noname.vcf"));
  EXPECT_EQ(s.folder.Get("out/JaneDoe.vcf"),
            "BEGIN:VCARD\r\nX-QVVERSION:2.0\r\nVERSION:2.1\r\nN:Doe;Jane\r\nX-GROUP:Friends\r\n"
            "END:VCARD\r\n");
  s.Release();
  EXPECT_EQ(s.ExportEmpty(), 0u);

  s.Start(u"2");
  EXPECT_EQ(s.Add("BEGIN:VCARD\r\nN:a\tb\r\nEND:VCARD\r\n"), E_FAIL);
  s.Release();
  EXPECT_EQ(s.ExportEmpty(), 1u) << "nothing was written";
}

TEST(VCardFileTest, NamesAreCutWhereThePathGrowsTooLong) {
  const std::u16string folder(240, u'f');
  EXPECT_EQ(FileStem(std::u16string(249, u'f'), u"\xD83D\xDE00" + folder, u".vcf"), u"");
  EXPECT_EQ(CutStem(u"ab\xD83D\xDE00", 3), u"ab");
  EXPECT_EQ(CutStem(u"ab\xD83D\xDE00", 4), u"ab\xD83D\xDE00");
  EXPECT_EQ(FileStem(u"C:\\o", std::u16string(90, u'\x4E2D'), u".vcf").size(), 5 + 81u)
      << "no name here has more than 255 bytes";
}

TEST(VCalFileTest, OldFilesAreLiftedAndEventsGatheredInOne) {
  FileStoreBed s(kStores[4]);
  const std::string event =
      "BEGIN:VEVENT\r\nX-EXCEPTIONTYPE:9\r\nSUMMARY:A\r\nDTSTART:20240301T100000Z\r\nEND:VEVENT";
  s.bag->numberKey = u"Device.IsSubModel";
  for (const bool marked : {false, true}) {
    s.folder.Put("out/in.dat", (marked ? "X-QVVERSION:2.0\r\n" : "") + event + "\r\n");
    s.Start(u"1");
    std::string text;
    ASSERT_EQ(s.Get(u"0", &text), S_OK);
    EXPECT_EQ(text.find("X-EXCEPTIONTYPE:9") != text.npos, marked);
  }
  s.folder.Put("out/calendar.vcs", "old");
  s.Start(u"2");
  EXPECT_EQ(s.Add("BEGIN:VCALENDAR\r\nVERSION:1.0\r\n" + event + "\r\n" + event +
                  "\r\nEND:VCALENDAR\r\n"),
            S_OK);
  EXPECT_EQ(s.Add("BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nSUMMARY:A\r\nEND:VTODO\r\nEND:VCALENDAR\r\n"),
            E_FAIL);
  EXPECT_EQ(s.Made().size(), 1u) << "nothing before the store goes";
  s.Release();
  EXPECT_EQ(s.folder.Get("out/calendar(1).vcs"),
            "BEGIN:VCALENDAR\r\nX-QVVERSION:2.0\r\nVERSION:1.0\r\n" + event + "\r\n" + event +
                "\r\nEND:VCALENDAR");
  EXPECT_EQ(s.folder.Get("out/calendar.vcs"), "old");
}

}  // namespace
}  // namespace qv
