// The address books: what both stores keep, and what is one's own.
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <filesystem>
#include <map>
#include <set>

#include "framework/class_table.h"
#include "items/vcard.h"
#include "kit/store_stack.h"
#include "pim/contact_files.h"
#include "pim/outlook_exp_manager.h"
#include "platform/system/shell_folders.h"
#include "support/text.h"
#include "syncdb/status_item.h"

namespace qv {
namespace {

namespace fs = std::filesystem;
using test::Table;

struct Book {
  const char* name;
  std::u16string_view className;
  std::u16string_view configName;
  std::u16string_view map;
  std::u16string_view type;
  uint32_t osMajor;
};
constexpr Book kFiles = {"files",
                         u"DataStoreWindowsContact",
                         u"DataStore.WindowsContact",
                         u"WindowsContact_UidMap",
                         u"2",
                         6};
constexpr Book kExpress = {
    "express", u"DataStoreOutlookExp", u"DataStore.OutlookExpress", u"OutlookExp_UidMap", u"1", 5};

class BookStack : public test::StoreBed {
 public:
  explicit BookStack(const Book& book) : book(book) {
    fs::create_directories(folder.File("data"));
    registry.CreateKey(kShellFoldersKey);
    registry.WriteText(kShellFoldersKey, kContactsValue, folder.ModulePath(u"Contacts"));
    registry.WriteText(kShellFoldersKey, kLocalDataValue, folder.ModulePath(u"data"));
    registry.CreateKey(kSystemKey);
    registry.WriteNumber(kSystemKey, kMajorVersionValue, book.osMajor);
    TheContactFilesSettings() = {folder.File("contacts.index"), false};
    TheOutlookExpSettings().file = folder.File("express.db");
    bag->values = {{std::u16string(book.configName) + u".MimeType", u"text/x-vCard"}};
    NextSession();
  }
  ~BookStack() {
    store = nullptr;
    status = nullptr;
    TheContactFilesSettings() = {};
    TheOutlookExpSettings() = {};
  }

  ComPtr<IDataStore> Another() {
    auto another = CreateInstance<IDataStore>(ClassId(book.className));
    Check(another->SetDBAccessor(Query<IUnknown>(db).get()));
    return another;
  }
  void NextSession(const char16_t* phone = u"phone") {
    status = nullptr;
    store = Another();
    Check(store->Initialize(bag.get()));
    Check(store->SetTargetKey(Bstr(phone)));
    status = Query<IStatusDB>(store);
    Check(status->Initialize());
  }
  HRESULT TryAdd(const std::string& card, std::u16string* id = nullptr,
                 const char16_t* type = u"text/x-vCard") {
    Bstr made;
    const HRESULT result = store->Add(Content(card).get(), Bstr(type), Bstr(u"/"), made.Out());
    if (id != nullptr) *id = made.str();
    return result;
  }
  std::u16string Add(const std::string& card) {
    std::u16string id;
    Check(TryAdd(card, &id));
    return id;
  }
  void Replace(const std::u16string& id, const std::string& card) {
    Bstr fields;
    Check(store->Replace(Bstr(id), Content(card).get(), Bstr(u"text/x-vCard"), kFalse, Bstr(u"/"),
                         fields.Out()));
  }
  std::string Get(const std::u16string& id) {
    Bstr type;
    Bstr parent;
    ComPtr<IUnknown> item;
    ComPtr<IUnknown> text;
    Check(store->Get(Bstr(id), kFalse, type.Out(), parent.Out(), item.Out(), text.Out()));
    return ContentBytes(text.get());
  }
  std::map<std::u16string, DATE> Current() { return Read(&IStatusDB::GetCurrentStatusDB); }
  std::map<std::u16string, DATE> Backup() { return Read(&IStatusDB::GetBackupStatusDB); }
  size_t Rows(std::u16string_view table) {
    return db->Rows(std::u16string(table), {u"obj_uid"}).size();
  }
  size_t SideRows(const char16_t* table) {
    size_t rows = 0;
    for (const auto& row : db->Rows(table, {u"datastore_type"})) rows += row[0] == book.type;
    return rows;
  }
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const std::string& name : folder.Names()) {
      if (name.ends_with(".contact")) names.push_back(name);
    }
    return names;
  }

  const Book& book;

 private:
  std::map<std::u16string, DATE> Read(HRESULT (IStatusDB::*read)(IStatusDBItemTree**) noexcept) {
    ComPtr<IStatusDBItemTree> root;
    Check((status.get()->*read)(root.Out()));
    ComPtr<IUnknown> children;
    Check(root->get_SubItemTree(children.Out()));
    std::map<std::u16string, DATE> rows;
    if (!children) return rows;
    for (const auto& node : Members<IStatusDBItemTree>(*Query<IUnkList>(children))) {
      ComPtr<IStatusDBItem> item;
      Check(node->get_Item(item.Out()));
      const StatusRow row = ReadStatusItem(*item);
      EXPECT_TRUE(rows.emplace(row.sourceUid, row.modified.value).second);
    }
    return rows;
  }
};

// What a person reads on a card, however it is ordered: each line with its words, twice where it
// stands twice. Not through the converter.
std::multiset<std::string> LinesOf(const std::string& card) {
  std::multiset<std::string> lines;
  for (size_t at = 0; at < card.size();) {
    size_t end = card.find("\r\n", at);
    while (end != card.npos && end + 2 < card.size() && card[end + 2] == ' ') {
      end = card.find("\r\n", end + 2);
    }
    std::string line = card.substr(at, end - at);
    at = end == card.npos ? card.size() : end + 2;
    if (!line.empty() && !line.starts_with("REV") && !line.starts_with("UID")) lines.insert(line);
  }
  return lines;
}

class AddressBooks : public testing::TestWithParam<Book> {
 protected:
  BookStack s{GetParam()};
};

constexpr const char* kAnn =
    "BEGIN:VCARD\r\nVERSION:2.1\r\nUID:u1\r\nREV:20240101T000000Z\r\nN:Lee;Ann;;;\r\n"
    "FN:Ann Lee\r\nTEL;CELL:1\r\nTEL;CELL:2\r\nTEL;HOME;X-SECRET:3\r\nTEL;X-RADIO:4\r\n"
    "EMAIL;INTERNET;HOME:a@x\r\nEMAIL;INTERNET;WORK:b@x\r\nADR;WORK:;;Road 1;Town;;;\r\n"
    "ADR;HOME;PARCEL:;;Lane 2;Village;;;\r\nORG;X-OTHER:Club;Board\r\nORG;WORK:Firm;\r\n"
    "TITLE:Chair\r\nTITLE:Clerk\r\nURL;HOME:http://a\r\nURL;HOME:http://b\r\n"
    "X-IMPP;SKYPE:ann\r\nBDAY:19800504\r\nNOTE:two=0D=0Alines\r\nX-GRPUUID:g1;g2\r\nX-PET:cat\r\n"
    "END:VCARD\r\n";

TEST_P(AddressBooks, APhoneGetsBackWhatItGaveLineForLine) {
  const std::string card = WriteVCard(*ParseVCard(kAnn));
  const std::u16string id = s.Add(card);
  EXPECT_EQ(LinesOf(s.Get(id)), LinesOf(card));
  s.NextSession();
  EXPECT_EQ(LinesOf(s.Get(id)), LinesOf(card));
  // An edit, and nothing more, comes through; twice.
  std::string edited = card;
  edited.replace(edited.find("Road 1"), 6, "Road 9");
  for (int i = 0; i < 2; ++i) {
    s.Replace(id, edited);
    EXPECT_EQ(LinesOf(s.Get(id)), LinesOf(edited));
  }
  // A second phone has what the book holds, and none of the first one's rows.
  s.NextSession(u"other");
  const std::string other = s.Get(id);
  EXPECT_EQ(other.find("X-PET"), other.npos);
  EXPECT_NE(other.find("Ann Lee"), other.npos);
}

TEST_P(AddressBooks, RowsAndSnapshotsFollowWhatIsDone) {
  std::u16string id;
  ASSERT_EQ(s.TryAdd(kAnn, &id, u"TEXT/VCARD"), S_OK);
  EXPECT_EQ(s.Current(), s.Backup());
  EXPECT_EQ(s.Rows(s.book.map), 1u);
  EXPECT_GT(s.SideRows(u"ExtraDB"), 0u);
  EXPECT_EQ(s.TryAdd(kAnn, nullptr, u"text/plain"), E_FAIL);
  Bstr parent;
  EXPECT_EQ(s.store->GetParentUid(Bstr(id), parent.Out()), S_OK);
  EXPECT_EQ(parent.view(), u"/");
  EXPECT_EQ(s.store->Delete(Bstr(id), kFalse), S_OK);
  EXPECT_EQ(s.store->Delete(Bstr(id), kFalse), DS_S_ALREADY_GONE);
  EXPECT_TRUE(s.Current().empty() && s.Backup().empty());
  EXPECT_EQ(s.Rows(s.book.map) + s.SideRows(u"ExtraDB") + s.SideRows(u"HiddenDB"), 0u);
  // A number is not given again.
  EXPECT_NE(s.Add(kAnn), id);
  EXPECT_EQ(s.store->DeleteAll(), S_OK);
  EXPECT_TRUE(s.Current().empty());
  EXPECT_EQ(s.Rows(s.book.map) + s.SideRows(u"ExtraDB") + s.SideRows(u"HiddenDB"), 0u);
}

TEST_P(AddressBooks, ASlowSyncFindsTheContactThatThePhoneHasToo) {
  const std::u16string id = s.Add(kAnn);
  s.NextSession(u"other");
  ASSERT_EQ(s.store->PrepareSlowSync(), S_OK);
  const auto match = [&](std::string card) {
    Bstr found;
    auto winner = RESV_CONFLTLASTMODIFIED_NONE;
    BOOL duplicated = kFalse;
    EXPECT_EQ(s.store->ProcessDuplication(nullptr, s.Content(card).get(), Bstr(u"text/x-vCard"),
                                          found.Out(), &winner, &duplicated),
              S_OK);
    return found.str();
  };
  std::string card = kAnn;
  card.replace(card.find("Ann Lee"), 7, "Another");
  card.replace(card.find("UID:u1"), 6, "UID:u9");
  std::string stranger = card;
  stranger.replace(stranger.find("N:Lee"), 5, "N:Low");
  EXPECT_EQ(match(stranger), u"");
  EXPECT_EQ(match(card), id) << "by name, numbers and mail addresses";
  EXPECT_EQ(match(card), u"") << "it has left the list";
  EXPECT_EQ(s.Backup(), s.Current());
}

TEST_P(AddressBooks, CleaningUpKeepsTheRowsOfWhatIsThere) {
  const std::u16string id = s.Add(kAnn);
  ASSERT_EQ(s.status->DeleteAllStatusBackupDB(), S_OK);
  EXPECT_TRUE(s.Backup().empty());
  EXPECT_EQ(s.Rows(s.book.map), 1u);
  EXPECT_GT(s.SideRows(u"ExtraDB"), 0u);
}

INSTANTIATE_TEST_SUITE_P(Both, AddressBooks, testing::Values(kFiles, kExpress),
                         [](const auto& info) { return info.param.name; });

TEST(AddressBookVersions, EachBookIsOfItsOwnSystem) {
  for (const Book& book : {kFiles, kExpress}) {
    BookStack s(book);
    s.registry.WriteNumber(kSystemKey, kMajorVersionValue, book.osMajor == 6 ? 5 : 6);
    fs::remove_all(s.folder.File("Contacts"));
    EXPECT_EQ(s.Another()->Initialize(s.bag.get()), E_FAIL);
    EXPECT_FALSE(fs::exists(s.folder.File("Contacts")));
  }
}

class ContactFileStore : public testing::Test {
 protected:
  // What another program reads in a file.
  static std::string XPath(const std::string& bytes, const char* path) {
    xmlDoc* doc = xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr,
                                XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    xmlXPathContext* context = xmlXPathNewContext(doc);
    xmlXPathRegisterNs(context, reinterpret_cast<const xmlChar*>("c"),
                       reinterpret_cast<const xmlChar*>("http://schemas.microsoft.com/Contact"));
    const std::string whole = std::string("string(") + path + ")";
    xmlXPathObject* found =
        xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(whole.c_str()), context);
    std::string text = found != nullptr && found->stringval != nullptr
                           ? reinterpret_cast<const char*>(found->stringval)
                           : "no such thing";
    xmlXPathFreeObject(found);
    xmlXPathFreeContext(context);
    xmlFreeDoc(doc);
    return text;
  }
  std::string File(const char* name) { return s.folder.Get(name).value_or(""); }

  BookStack s{kFiles};
};

// As the system's own editor leaves them: removed nodes, labels, versions, extensions of others.
constexpr const char* kForeign =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<c:contact c:Version=\"1\" xmlns:c=\"http://schemas.microsoft.com/Contact\" "
    "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
    "xmlns:MSP2P=\"http://schemas.microsoft.com/Contact/Extended/MSP2P\">\n"
    "\t<c:CreationDate>2015-08-23T11:39:18Z</c:CreationDate>"
    "<c:Extended><MSP2P:Thing>kept</MSP2P:Thing></c:Extended><!-- by hand -->\n"
    "\t<c:ContactIDCollection><c:ContactID c:ElementID=\"599ef753-f77f-4224-8700-e551bdc2bb1e\">"
    "<c:Value>0bcf610e-a7be-4f26-9042-d6b3c22c9863</c:Value></c:ContactID>"
    "</c:ContactIDCollection>\n"
    "\t<c:EmailAddressCollection>"
    "<c:EmailAddress c:ElementID=\"ee53fca8-a876-48fb-ac92-ce30a3ce0b65\" xsi:nil=\"true\"/>"
    "<c:EmailAddress c:ElementID=\"0745ffd4-ef0a-4c4f-b1b6-0ea38c65254e\"><c:Type>SMTP</c:Type>"
    "<c:Address>acid@example.org</c:Address><c:LabelCollection><c:Label>Preferred</c:Label>"
    "</c:LabelCollection></c:EmailAddress></c:EmailAddressCollection>\n"
    "\t<c:NameCollection><c:Name c:ElementID=\"3aec1c79-ea8d-4ce4-b0d1-000000000001\">"
    "<c:Title>Dr.</c:Title><c:FormattedName>Bo <![CDATA[& Co]]></c:FormattedName>"
    "<c:FamilyName c:Version=\"3\">Co</c:FamilyName></c:Name></c:NameCollection>\n"
    "\t<c:PersonCollection><c:Person c:ElementID=\"3aec1c79-ea8d-4ce4-b0d1-000000000002\">"
    "<c:FormattedName>Eve</c:FormattedName></c:Person></c:PersonCollection>\n"
    "\t<c:PhoneNumberCollection><c:PhoneNumber c:ElementID=\"3aec1c79-0000-4ce4-b0d1-00000000001\">"
    "<c:Number>11</c:Number><c:LabelCollection><c:Label>Cellular</c:Label></c:LabelCollection>"
    "</c:PhoneNumber><c:PhoneNumber c:ElementID=\"x2\"><c:Number>22</c:Number>"
    "<c:LabelCollection><c:Label>Cellular</c:Label></c:LabelCollection></c:PhoneNumber>"
    "</c:PhoneNumberCollection>\n</c:contact>\n";

TEST_F(ContactFileStore, WhatOtherProgramsWroteIsReadAndOutlastsAnEdit) {
  s.folder.Put("Contacts/Sub/Bo.contact", kForeign);
  ASSERT_EQ(s.status->Initialize(), S_OK);
  ASSERT_EQ(s.Current().size(), 1u);
  const std::u16string id = s.Current().begin()->first;
  std::string card = s.Get(id);
  EXPECT_NE(card.find("FN:Bo & Co\r\n"), card.npos) << card;
  EXPECT_NE(card.find("EMAIL;INTERNET:acid@example.org"), card.npos) << card;
  EXPECT_NE(card.find("TEL;CELL:11"), card.npos);
  EXPECT_EQ(card.find(":22\r"), card.npos);
  card.replace(card.find("TEL;CELL:11"), 11, "TEL;CELL:33");
  s.Replace(id, card);
  const std::string file = File("Contacts/Sub/Bo.contact");
  const std::pair<const char*, const char*> kSays[] = {
      {"//c:Extended/*", "kept"},
      {"//comment()", " by hand "},
      {"//c:Person/c:FormattedName", "Eve"},
      {"//c:Name/c:Title", "Dr."},
      {"//c:FamilyName/@c:Version", "3"},
      {"//c:EmailAddress[2]/c:Type", "SMTP"},
      {"//c:PhoneNumber[1]/c:Number", "33"},
      {"//c:PhoneNumber[2]/c:Number", "22"},
      {"//c:PhoneNumber[3]", ""},
      {"//c:ContactID/c:Value", "0bcf610e-a7be-4f26-9042-d6b3c22c9863"},
  };
  for (const auto& [path, value] : kSays) EXPECT_EQ(XPath(file, path), value) << path << file;
  EXPECT_NE(file.find("<![CDATA[& Co]]>"), file.npos);
  // The file's own way back is no change.
  s.Replace(id, s.Get(id));
  EXPECT_EQ(File("Contacts/Sub/Bo.contact"), file);
}

TEST_F(ContactFileStore, NamesFollowTheContactAndNeverReplace) {
  const auto card = [](const std::string& name) {
    return "BEGIN:VCARD\r\nVERSION:2.1\r\nN:;" + name + "\r\nFN:" + name + "\r\nEND:VCARD\r\n";
  };
  const std::u16string first = s.Add(card("Ann"));
  const std::u16string second = s.Add(card("Ann"));
  s.Add(card("a/b:c"));
  using Names = std::vector<std::string>;
  EXPECT_EQ(s.Files(),
            (Names{"Contacts/Ann(1).contact", "Contacts/Ann.contact", "Contacts/a+b+c.contact"}));
  s.Replace(second, card("Ann"));
  s.Replace(first, card("a/b:c"));
  EXPECT_EQ(s.Files(), (Names{"Contacts/Ann(1).contact", "Contacts/a+b+c(1).contact",
                              "Contacts/a+b+c.contact"}));
  EXPECT_EQ(s.Current().size(), 3u);
  // Where nothing is left of a name that is too long there is no contact.
  EXPECT_EQ(s.TryAdd("BEGIN:VCARD\r\nVERSION:2.1\r\nFN:Firm\r\nEND:VCARD\r\n"), E_FAIL);
  s.Add(card(std::string(300, 'x')));
  EXPECT_EQ(s.Files().size(), 4u);
}

TEST_F(ContactFileStore, WhatCannotBeReadIsNeitherGoneNorChanged) {
  const std::u16string ann = s.Add(kAnn);
  const std::string whole = File("Contacts/Ann Lee.contact");
  const auto before = s.Current();
  for (const std::string& bytes :
       {std::string(), whole.substr(0, 200), std::string("<a/>"),
        "<!DOCTYPE x [<!ENTITY e \"e\">]>" + whole.substr(whole.find("<c:"))}) {
    SCOPED_TRACE(bytes.substr(0, 40));
    s.folder.Put("Contacts/Ann Lee.contact", bytes);
    s.NextSession();
    EXPECT_EQ(s.Current(), before);
    EXPECT_THROW(s.Get(ann), StatusError);
  }
  // Without the index nobody knows whose it was: nothing is gone all the same.
  for (const char* tail : {"", "-wal", "-shm"}) {
    fs::remove(s.folder.File(std::string("contacts.index") + tail));
  }
  s.NextSession();
  EXPECT_EQ(s.Current(), before);
  ASSERT_EQ(s.status->DeleteAllStatusBackupDB(), S_OK);
  EXPECT_EQ(s.Rows(kFiles.map), 1u);
}

TEST_F(ContactFileStore, TwoCopiesOfAFileStayTwoContacts) {
  s.Add(kAnn);
  fs::copy(s.folder.File("Contacts/Ann Lee.contact"), s.folder.File("Contacts/Copy.contact"));
  s.NextSession();
  const auto both = s.Current();
  ASSERT_EQ(both.size(), 2u);
  for (const auto& [id, modified] : both) {
    std::string card = s.Get(id);
    card.replace(card.find("Road 1"), 6, "Road 2");
    s.Replace(id, card);
  }
  s.NextSession();
  EXPECT_EQ(s.Current().size(), 2u);
  std::set<std::string> ids;
  for (const std::string& name : s.Files()) {
    ids.insert(XPath(File(name.c_str()), "//c:ContactID/c:Value"));
  }
  EXPECT_EQ(ids.size(), 2u);
}

TEST_F(ContactFileStore, APictureGoesThereAndBackAndIsRemovedWithItsContact) {
  std::string bytes = "\xFF\xD8\xFF\xE0 no real one, and kept all the same";
  Contact contact = *ParseVCard(kAnn);
  contact.photo = bytes;
  contact.photoType = u"JPEG";
  const std::u16string id = s.Add(WriteVCard(contact));
  const auto pictures = [&] {
    size_t count = 0;
    for (const std::string& name : s.folder.Names()) count += name.ends_with(".jpg");
    return count;
  };
  EXPECT_EQ(pictures(), 1u);
  EXPECT_EQ(ParseVCard(s.Get(id))->photo, bytes);
  const std::string file = File("Contacts/Ann Lee.contact");
  s.Replace(id, s.Get(id));
  EXPECT_EQ(File("Contacts/Ann Lee.contact"), file);
  contact.photo = bytes + "2";
  s.Replace(id, WriteVCard(contact));
  EXPECT_EQ(pictures(), 1u);
  EXPECT_EQ(ParseVCard(s.Get(id))->photo, bytes + "2");
  EXPECT_EQ(s.store->Delete(Bstr(id), kFalse), S_OK);
  EXPECT_EQ(pictures(), 0u);
}

}  // namespace
}  // namespace qv
