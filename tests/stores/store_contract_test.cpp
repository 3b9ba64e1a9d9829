// What every store of a sync keeps, whichever place stands behind it; on a summer's day in a zone
// that follows one, where UTC and the wall clock are two hours apart.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "framework/class_table.h"
#include "kit/samples.h"
#include "kit/store_stack.h"
#include "platform/com/lists.h"
#include "platform/system/utf8.h"

namespace qv {
namespace {

using test::StoreSample;
using test::StoreStack;
using test::Table;

class StoreContract : public testing::TestWithParam<StoreSample> {
 protected:
  StoreContract() {
    s.clock.Set(1'720'159'628);  // 2024-07-05 06:07:08 UTC
    s.zone.Set(ParsePosixZone("CET-1CEST,M3.5.0,M10.5.0/3"));
  }

  bool isContact() const { return GetParam().kind == olContact; }
  // With something for each side table that the store has.
  std::string Text(int which, const char* uid, const char* modified = "20240101T000000Z") const {
    std::string text = GetParam().text(which, uid, modified);
    const char* sides = isContact() ? "TEL;HOME;X-SECRET:5\r\nX-PET:cat\r\n" : "X-PET:cat\r\n";
    return text.insert(text.find("END:V"), sides);
  }
  size_t Rows(const char16_t* table) { return s.db->Rows(table, {u"profile_id"}).size(); }
  // Which items have rows in the map and the side tables.
  std::set<std::u16string> Known(std::initializer_list<const char16_t*> tables) {
    std::set<std::u16string> ids;
    for (const char16_t* table : tables) {
      for (const auto& row : s.db->Rows(table, {u"datastore_id"})) ids.insert(row[0]);
    }
    return ids;
  }
  size_t StatusRows() { return Rows(std::u16string(GetParam().statusTable).c_str()); }

  // The outs start poisoned.
  HRESULT Duplicate(const std::string& text, std::u16string* match = nullptr,
                    RESV_CONFLTLASTMODIFIED* winner = nullptr) {
    Bstr matched;
    BOOL duplicated = 7;
    auto unseen = RESV_CONFLTLASTMODIFIED_IGNORE;
    const HRESULT result =
        s.store->ProcessDuplication(nullptr, s.Content(text).get(), s.mimeType, matched.Out(),
                                    winner != nullptr ? winner : &unseen, &duplicated);
    EXPECT_EQ(duplicated != kFalse, matched.get() != nullptr);
    if (match != nullptr) *match = matched.str();
    return result;
  }

  StoreStack s{GetParam()};
};

TEST_P(StoreContract, AddWritesItemMapAndStatusAndTheSnapshotsAgree) {
  const std::u16string id = s.Add(Text(1, "u1"));
  EXPECT_EQ(s.Current(), std::vector{id});
  EXPECT_EQ(s.Backup(), std::vector{id});
  EXPECT_EQ(s.db->Rows(u"DataStoreMap", {u"datastore_id", u"obj_uid", u"obj_modified"}),
            (Table{{id, u"u1", u"2024-01-01 00:00:00"}}));
  EXPECT_EQ(s.db->Rows(std::u16string(GetParam().statusTable), {u"modified", u"isfolder"}),
            (Table{{u"2024-07-05 08:07:08", u"0"}}));
  EXPECT_EQ(Rows(u"ExtraDB"), 1u);
  EXPECT_EQ(Rows(u"HiddenDB") != 0, isContact());
  const std::string out = s.Get(id);
  EXPECT_NE(out.find("u1"), std::string::npos);
  s.Add(Text(2, nullptr, nullptr));
  EXPECT_EQ(Rows(u"DataStoreMap"), 1u) << "a text without a uid has no map row yet";
}

TEST_P(StoreContract, TextsOfOtherTypesAndFolderDocumentsCreateNothing) {
  Bstr id;
  for (const char16_t* type :
       {u"application/vnd.omads-folder+xml", u"text/vcard", u"text/calendar", u""}) {
    EXPECT_EQ(s.store->Add(s.Content(Text(1, "u1")).get(), Bstr(type), nullptr, id.Out()), E_FAIL);
    EXPECT_EQ(id.get(), nullptr);
  }
  EXPECT_EQ(s.TryAdd("no such text"), E_FAIL);
  EXPECT_TRUE(s.Current().empty());
  EXPECT_TRUE(s.db->Changes().empty());
}

TEST_P(StoreContract, ReplaceAppliesWholeItemsAndNamesNoField) {
  const std::u16string id = s.Add(Text(1, "u1"));
  s.clock.Advance(60);
  for (const BOOL fieldLevel : {kTrue, kFalse}) {
    Bstr fields;
    EXPECT_EQ(s.store->Replace(Bstr(id), s.Content(Text(2, "u2")).get(), s.mimeType, fieldLevel,
                               nullptr, fields.Out()),
              S_OK);
    EXPECT_NE(fields.get(), nullptr);
    EXPECT_TRUE(fields.view().empty());
  }
  EXPECT_EQ(s.db->Rows(u"DataStoreMap", {u"obj_uid"}), (Table{{u"u2"}}));
  EXPECT_EQ(s.db->Rows(std::u16string(GetParam().statusTable), {u"modified"}),
            (Table{{u"2024-07-05 08:08:08"}}));
  Bstr fields;
  EXPECT_TRUE(Failed(s.store->Replace(Bstr(u"NONE"), s.Content(Text(2, "u2")).get(), s.mimeType,
                                      kFalse, nullptr, fields.Out())));
  EXPECT_NE(fields.get(), nullptr);
}

TEST_P(StoreContract, DeleteCleansEveryRowAlsoOfAnItemThatIsGone) {
  const std::u16string id = s.Add(Text(1, "u1"));
  const std::u16string gone = s.Add(Text(2, "u2"));
  ASSERT_EQ(s.outlook.DeleteItem(GetParam().kind, gone), S_OK);
  EXPECT_EQ(s.store->Delete(Bstr(gone), kFalse), DS_S_ALREADY_GONE);
  EXPECT_EQ(s.Backup(), std::vector{id});
  EXPECT_EQ(s.store->Delete(Bstr(id), kFalse), S_OK);
  EXPECT_TRUE(s.Current().empty());
  EXPECT_EQ(Known({u"DataStoreMap", u"ExtraDB", u"HiddenDB"}).size() + StatusRows(), 0u);
}

TEST_P(StoreContract, ASoftDeleteIsADeleteForContactsAloneAndElseRefused) {
  const std::u16string id = s.Add(Text(1, "u1"));
  EXPECT_EQ(s.store->Delete(Bstr(id), kTrue), isContact() ? S_OK : E_FAIL);
  const size_t left = isContact() ? 0 : 1;
  EXPECT_EQ(s.Current().size(), left);
  EXPECT_EQ(Rows(u"DataStoreMap") + Rows(u"ExtraDB") + StatusRows(), 3 * left);
}

TEST_P(StoreContract, GetOfAnUnknownItemMakesItsRowAndCanMoveThePhonesTime) {
  const std::u16string id = s.Add(Text(1, nullptr, nullptr));
  s.Get(id);
  ASSERT_EQ(Rows(u"DataStoreMap"), 1u);
  s.clock.Advance(100);
  Bstr fields;
  ASSERT_EQ(s.store->Replace(Bstr(id), s.Content(Text(3, "u3", "20200101T000000Z")).get(),
                             s.mimeType, kFalse, nullptr, fields.Out()),
            S_OK);
  s.Get(id, false);
  EXPECT_EQ(s.db->Rows(u"DataStoreMap", {u"obj_modified"}), (Table{{u"2020-01-01 00:00:00"}}));
  s.Get(id, true);
  EXPECT_EQ(s.db->Rows(u"DataStoreMap", {u"obj_modified"}), (Table{{u"2024-07-05 06:08:48"}}))
      << "in UTC";
}

TEST_P(StoreContract, TheCachedItemServesAddAndDuplicationUntilItIsDropped) {
  EXPECT_EQ(s.store->CachParseData(nullptr, s.mimeType, s.Content("rubbish").get()), E_FAIL);
  EXPECT_EQ(s.store->CachParseData(nullptr, s.mimeType, s.Content(Text(1, "cached")).get()), S_OK);
  s.Add(Text(2, "given"));
  EXPECT_EQ(s.store->UnCachParseData(), S_OK);
  s.Add(Text(2, "given"));
  EXPECT_EQ(s.db->Rows(u"DataStoreMap", {u"obj_uid"}), (Table{{u"cached"}, {u"given"}}));
}

TEST_P(StoreContract, PrepareSlowSyncGivesEveryItemAMapRow) {
  const std::u16string known = s.Add(Text(1, "u1"));
  const std::u16string fresh = s.Add(Text(2, nullptr, nullptr));
  ASSERT_EQ(s.store->PrepareSlowSync(), S_OK);
  ASSERT_EQ(s.store->PrepareSlowSync(), S_OK);
  const Table rows = s.db->Rows(u"DataStoreMap", {u"datastore_id", u"obj_modified"});
  EXPECT_EQ(rows, (Table{{known, u"2024-01-01 00:00:00"}, {fresh, u"2024-07-05 08:07:08"}}))
      << "the item's own time, unconverted";
  s.Stop(true);
  EXPECT_EQ(s.store->PrepareSlowSync(), E_FAIL);
}

TEST_P(StoreContract, DuplicationMatchesOnceAndSaysWhoIsNewer) {
  std::u16string match;
  EXPECT_EQ(Duplicate(Text(1, "u1"), &match), S_OK);
  EXPECT_EQ(match, u"") << "before PrepareSlowSync nothing is a duplicate";
  const std::u16string id = s.Add(Text(1, "u1", "20240101T000000Z"));
  struct Case {
    const char* modified;
    RESV_CONFLTLASTMODIFIED winner;
  };
  for (const Case& c : {Case{"20231231T235959Z", RESV_CONFLTLASTMODIFIED_SERVERWIN},
                        Case{"20240101T000001Z", RESV_CONFLTLASTMODIFIED_CLIENTWIN},
                        Case{"20240101T000000Z", RESV_CONFLTLASTMODIFIED_IGNORE}}) {
    ASSERT_EQ(s.store->PrepareSlowSync(), S_OK);
    auto winner = RESV_CONFLTLASTMODIFIED_NONE;
    EXPECT_EQ(Duplicate(Text(9, "u1", c.modified), &match, &winner), S_OK);
    EXPECT_EQ(match, id);
    EXPECT_EQ(winner, c.winner) << c.modified;
    EXPECT_EQ(Duplicate(Text(9, "u1", c.modified), &match), S_OK);
    EXPECT_EQ(match, u"") << "a second one like it is new";
  }
  EXPECT_EQ(s.db->Rows(std::u16string(GetParam().statusTable), {u"modified"}),
            (Table{{u"2024-07-05 08:07:08"}}))
      << "local again";
  ASSERT_EQ(s.store->PrepareSlowSync(), S_OK);
  auto untouched = RESV_CONFLTLASTMODIFIED_CLIENTWIN;
  EXPECT_EQ(Duplicate(Text(9, "u1", nullptr), &match, &untouched), S_OK);
  EXPECT_EQ(match, id);
  EXPECT_EQ(untouched, RESV_CONFLTLASTMODIFIED_CLIENTWIN) << "no time, no comparison";
}

TEST_P(StoreContract, AnItemOfAnotherUidIsTheSameByWhatItsKeyTextHolds) {
  struct Change {
    OlObjectClass kind;
    const char* from;
    const char* to;
    bool matches;
  };
  const std::u16string id = s.Add(Text(1, "pc-uid"));
  s.Add(Text(2, nullptr, nullptr));
  for (const Change& c :
       {Change{olContact, "", "", true}, Change{olContact, "Muster1;Anna", "Muster1;Bea", false},
        Change{olContact, "+49 170 1", "+49 170 9", false},
        Change{olContact, "anna1@", "bea1@", false},
        Change{olContact, "X-PET:cat", "NOTE:new", true},
        Change{olContact, "UID:phone\r\n", "", false}, Change{olAppointment, "", "", true},
        Change{olAppointment, "Meeting 1", "Meeting 2", false},
        Change{olAppointment, "T100000Z", "T093000Z", false},
        Change{olAppointment, "T110000Z", "T113000Z", false},
        Change{olAppointment, "UID:phone\r\n", "", true}, Change{olTask, "", "", false},
        Change{olNote, "", "", true}, Change{olNote, "Note 1", "note 1", false},
        Change{olNote, "X-IRMC-LUID:phone\r\n", "", true}}) {
    if (c.kind != GetParam().kind) continue;
    std::string text = Text(1, "phone");
    const size_t at = text.find(c.from);
    ASSERT_NE(at, text.npos) << c.from;
    text.replace(at, std::strlen(c.from), c.to);
    ASSERT_EQ(s.store->PrepareSlowSync(), S_OK);
    std::u16string match;
    EXPECT_EQ(Duplicate(text, &match), S_OK);
    EXPECT_EQ(match, c.matches ? id : u"") << c.from << " -> " << c.to;
  }
}

TEST_P(StoreContract, AFailedStatusRowKeepsTheEntryForAnotherTry) {
  s.Add(Text(1, "u1"));
  ASSERT_EQ(s.store->PrepareSlowSync(), S_OK);
  s.db->FailAt(0, -5);
  std::u16string match;
  EXPECT_EQ(Duplicate(Text(1, "u1"), &match), -5);
  EXPECT_NE(match, u"");
  s.db->FailNothing();
  EXPECT_EQ(Duplicate(Text(1, "u1"), &match), S_OK);
  EXPECT_NE(match, u"");
  s.Stop(true);
  s.Add(Text(2, "u2"));
  s.Stop(false);
  ASSERT_EQ(s.store->PrepareSlowSync(), S_OK);
  s.Stop(true);
  EXPECT_EQ(Duplicate(Text(1, "u1")), E_FAIL);
}

TEST_P(StoreContract, ConflictsAreDecidedByTheLaterTime) {
  const std::u16string id = s.Add(Text(1, "u1"));
  const auto outcome = [&](const std::string& text, HRESULT expected = S_OK) {
    auto result = RESV_CONFLTLASTMODIFIED_IGNORE;
    EXPECT_EQ(
        s.store->ProcessConflictLastModified(s.Content(text).get(), s.mimeType, Bstr(id), &result),
        expected);
    return result;
  };
  EXPECT_EQ(outcome(Text(1, "u1", "20240705T060707Z")), RESV_CONFLTLASTMODIFIED_SERVERWIN);
  EXPECT_EQ(outcome(Text(1, "u1", "20240705T060709Z")), RESV_CONFLTLASTMODIFIED_CLIENTWIN);
  EXPECT_EQ(outcome(Text(1, "u1", "20240705T060708Z")), RESV_CONFLTLASTMODIFIED_IGNORE);
  EXPECT_EQ(outcome(Text(1, "u1", nullptr)), RESV_CONFLTLASTMODIFIED_NONE);
  EXPECT_EQ(outcome("rubbish", E_FAIL), RESV_CONFLTLASTMODIFIED_NONE);
}

TEST_P(StoreContract, AConfirmedCommandBringsTheStatusRowUpToDate) {
  const std::u16string id = s.Add(Text(1, "u1"));
  const auto confirm = [&](SENTCMD_TYPE command) {
    return s.store->OnProcesseSentCmdSuccess(command, Bstr(id), nullptr, kFalse);
  };
  s.db->Run(u"DELETE FROM " + std::u16string(GetParam().statusTable));
  for (const SENTCMD_TYPE command : {SENTCMD_ADD, SENTCMD_REPL, SENTCMD_MOVE}) {
    EXPECT_EQ(confirm(command), S_OK);
    EXPECT_EQ(StatusRows(), 1u);
  }
  EXPECT_EQ(confirm(SENTCMD_EXEC), E_FAIL);
  EXPECT_EQ(confirm(static_cast<SENTCMD_TYPE>(77)), E_FAIL);
  EXPECT_EQ(confirm(SENTCMD_DEL), S_OK);
  EXPECT_EQ(Known({u"DataStoreMap", u"ExtraDB", u"HiddenDB"}).size() + StatusRows(), 0u);
  EXPECT_EQ(s.Current().size(), 1u) << "the item itself is not the phone's to confirm away";
}

TEST_P(StoreContract, DeleteAllLeavesTheStatusRowsAndThePurgeTakesThem) {
  s.Add(Text(1, "u1"));
  s.Add(Text(2, "u2"));
  const std::u16string alive = s.Add(Text(3, "u3"));
  ComPtr<IUnknown> uids;
  ASSERT_EQ(s.store->GetAllUid(uids.Out()), S_OK);
  int32_t count = 0;
  Query<IVarList>(uids)->Count(&count);
  EXPECT_EQ(count, 3);
  for (const std::u16string& id : s.Current()) {
    if (id != alive) {
      ASSERT_EQ(s.outlook.DeleteItem(GetParam().kind, id), S_OK);
    }
  }
  s.OnPcFile("ALTER TABLE items RENAME TO away");
  EXPECT_EQ(s.status->DeleteAllStatusBackupDB(), E_FAIL);
  EXPECT_EQ(Rows(u"DataStoreMap"), 3u) << "what cannot be listed is not gone";
  s.OnPcFile("ALTER TABLE away RENAME TO items");
  ASSERT_EQ(s.status->DeleteAllStatusBackupDB(), S_OK);
  for (const char16_t* table : {u"DataStoreMap", u"ExtraDB", u"HiddenDB"}) {
    if (table[0] == u'H' && !isContact()) continue;
    EXPECT_EQ(Known({table}), std::set{alive}) << ToUtf8(table);
  }
  EXPECT_EQ(StatusRows(), 0u);
  s.Add(Text(4, "u4"));
  EXPECT_EQ(s.store->DeleteAll(), S_OK);
  EXPECT_TRUE(s.Current().empty());
  EXPECT_TRUE(Known({u"DataStoreMap", u"ExtraDB", u"HiddenDB"}).empty());
  EXPECT_EQ(StatusRows(), 1u);
}

TEST_P(StoreContract, AFailedStatementIsTheResultAndClosesItsRowset) {
  const std::u16string id = s.Add(Text(1, "u1"));
  size_t steps = 1;
  for (size_t n = 0; n < steps; ++n) {
    s.db->Forget();
    s.db->FailAt(n, -5);
    Bstr type;
    Bstr parent;
    ComPtr<IUnknown> item;
    ComPtr<IUnknown> content;
    const HRESULT result =
        s.store->Get(Bstr(id), kTrue, type.Out(), parent.Out(), item.Out(), content.Out());
    EXPECT_EQ(s.db->openRowsets(), 0) << n;
    if (s.db->hasFailed()) {
      EXPECT_EQ(result, -5) << n;
      steps = n + 2;
    } else {
      EXPECT_EQ(result, S_OK);
    }
  }
  EXPECT_GT(steps, 3u);
}

TEST_P(StoreContract, AUidMayHoldQuotesAndStatements) {
  const char* evil = "x');DELETE FROM DataStoreMap;--%27";
  const std::u16string other = s.Add(Text(1, "plain"));
  const std::u16string id = s.Add(Text(2, evil));
  EXPECT_NE(s.Get(id).find(evil), std::string::npos);
  EXPECT_EQ(Rows(u"DataStoreMap"), 2u);
  EXPECT_EQ(s.store->Delete(Bstr(id), kFalse), S_OK);
  EXPECT_EQ(s.db->Rows(u"DataStoreMap", {u"datastore_id"}), (Table{{other}}));
}

TEST_P(StoreContract, WithoutWhatItStandsOnAStoreFailsAndDoesNotCrash) {
  const auto bare = CreateInstance<IDataStore>(ClassId(GetParam().className));
  ASSERT_EQ(bare->SetOutlookMgr(ToUnknownArgument(&s.outlook)), S_OK);
  const auto status = Query<IStatusDB>(bare);
  Bstr text;
  BOOL flag = 0;
  auto winner = RESV_CONFLTLASTMODIFIED_NONE;
  ComPtr<IUnknown> object;
  ComPtr<IStatusDBItemTree> tree;
  const auto content = s.Content(Text(1, "u"));
  EXPECT_EQ(bare->Add(content.get(), s.mimeType, nullptr, text.Out()), E_FAIL);
  EXPECT_EQ(bare->Replace(Bstr(u"1"), content.get(), s.mimeType, kFalse, nullptr, text.Out()),
            E_FAIL);
  EXPECT_EQ(bare->Delete(Bstr(u"1"), kFalse), E_FAIL);
  EXPECT_EQ(bare->GetAllUid(object.Out()), E_FAIL);
  EXPECT_EQ(bare->DeleteAll(), E_FAIL);
  EXPECT_EQ(bare->PrepareSlowSync(), E_FAIL);
  EXPECT_EQ(
      bare->ProcessDuplication(nullptr, content.get(), s.mimeType, text.Out(), &winner, &flag),
      S_OK);
  EXPECT_EQ(bare->CachParseData(nullptr, s.mimeType, content.get()), E_FAIL);
  EXPECT_EQ(status->GetBackupStatusDB(tree.Out()), E_FAIL);
  EXPECT_EQ(status->GetCurrentStatusDB(tree.Out()), E_FAIL);
  EXPECT_EQ(status->UpdateBackupStatusDB(STATDBUPDATE_ADD, nullptr), E_POINTER);
  EXPECT_EQ(bare->Get(Bstr(s.Add(Text(1, "u"))), kFalse, text.Out(), Bstr().Out(), object.Out(),
                      ComPtr<IUnknown>().Out()),
            E_FAIL);
  const auto alone = CreateInstance<IDataStore>(ClassId(GetParam().className));
  EXPECT_EQ(alone->Initialize(s.bag.get()), E_FAIL) << "no Outlook manager";
}

INSTANTIATE_TEST_SUITE_P(Stores, StoreContract,
                         testing::Values(test::kContactSample, test::kCalendarSample,
                                         test::kTaskSample, test::kNoteSample),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace qv
