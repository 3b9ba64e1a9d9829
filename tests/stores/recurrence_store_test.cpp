// Series and their exceptions, in the stores that have them.
#include <gtest/gtest.h>

#include "kit/samples.h"
#include "platform/com/lists.h"
#include "platform/database/sqlite.h"
#include "support/date_time.h"

namespace qv {
namespace {

using test::StoreSample;
using test::StoreStack;
using test::Table;
using Ids = std::vector<std::u16string>;

class RecurrenceStore : public testing::TestWithParam<StoreSample> {
 protected:
  RecurrenceStore() { s.zone.Set(ParsePosixZone("CET-1CEST,M3.5.0,M10.5.0/3")); }
  // A weekly series, and exceptions of it; `which` tells contents apart.
  std::string Series(int which, const char* uid) const {
    return With(which, uid, "DTSTART:20240205T100000Z\r\nRRULE:W1 MO #10\r\n");
  }
  std::string Exception(int which, const char* uid, const char* series,
                        const char* occurrence = "20240212T100000Z") const {
    return With(
        which, uid,
        std::string("X-PARENT-UID:") + series + "\r\nX-RECUR-ENTRY:2;" + occurrence + "\r\n");
  }
  std::string With(int which, const char* uid, const std::string& lines) const {
    std::string text = GetParam().text(which, uid, "20240101T000000Z");
    return text.insert(text.find("SUMMARY"), lines);
  }

  const OlObjectClass kind = GetParam().kind;

  std::vector<OLSubMetaData> SubItems() {
    std::vector<std::u16string> ids;
    std::vector<OLSubMetaData> datas;
    Check(s.outlook.GetEntryIds(kind, s.outlookFolder, ids));
    Check(s.outlook.GetSubMetaDatas(kind, ids, datas));
    return datas;
  }
  Table Status() {
    return s.db->Rows(std::u16string(GetParam().statusTable),
                      {std::u16string(GetParam().idColumn), u"modified", u"md5"});
  }
  HRESULT Replace(const std::u16string& id, const std::string& text) {
    Bstr fields;
    return s.store->Replace(Bstr(id), s.Content(text).get(), s.mimeType, kFalse, nullptr,
                            fields.Out());
  }
  Calendar Changed() const {
    Calendar changed;
    changed.isTask = kind == olTask;
    changed.subject = u"on the PC";
    return changed;
  }
  std::u16string Md5Of(const std::u16string& series) {
    OLMetaData data;
    Check(s.outlook.GetMetaData(kind, series, data));
    return data.md5;
  }
  // Whether the cached exception meets one of the series.
  HRESULT Conflict(const std::u16string& series, const std::string& text, std::u16string& match) {
    s.store->UnCachParseData();
    if (!text.empty()) Check(s.store->CachParseData(nullptr, s.mimeType, s.Content(text).get()));
    Bstr found(u"poison");
    BOOL conflicted = 7;
    const HRESULT status = s.store->ProcessConflictSubRecur(Bstr(series), found.Out(), &conflicted);
    EXPECT_EQ(conflicted != kFalse, found.get() != nullptr);
    match = found.str();
    s.store->UnCachParseData();
    return status;
  }

  StoreStack s{GetParam()};
};

TEST_P(RecurrenceStore, AnExceptionIsAnItemOfItsOwnWithinItsSeries) {
  const std::u16string series = s.Add(Series(1, "series"));
  s.clock.Advance(60);
  const std::u16string id = s.Add(Exception(2, "exception", "series"));
  EXPECT_TRUE(IsSubItemId(id)) << "the store tells exceptions by their identifier";
  EXPECT_EQ(s.Backup(), (Ids{series, id}));
  EXPECT_EQ(s.Current(), (Ids{series, id}));
  const std::u16string hash = SubItems().at(0).md5;
  EXPECT_EQ(Status(),
            (Table{{series, u"2024-03-05 07:07:08", hash}, {id, u"2024-03-05 07:08:08", hash}}))
      << "the series' row takes the exception's hash";
  const std::string text = s.Get(id);
  EXPECT_NE(text.find("X-PARENT-UID:series\r\n"), std::string::npos) << text;
  EXPECT_NE(text.find("X-RECUR-ENTRY:2;20240212T100000Z\r\n"), std::string::npos) << text;
  EXPECT_EQ(s.Get(series).find("X-PARENT-UID"), std::string::npos);

  s.clock.Advance(60);
  EXPECT_EQ(Replace(id, Exception(3, "exception", "series")), S_OK);
  EXPECT_EQ(Status(), (Table{{series, u"2024-03-05 07:07:08", u""},
                             {id, u"2024-03-05 07:09:08", SubItems().at(0).md5}}));
  // The PC changes the exception; a new text of the series tells the phone of neither.
  s.clock.Advance(60);
  OLSubMetaData exception;
  exception.id = id;
  ASSERT_EQ(s.outlook.UpdateSubItem(kind, series, MakeCalendarItem(Changed()), exception), S_OK);
  EXPECT_EQ(Replace(series, Series(4, "series")), S_OK);
  EXPECT_EQ(Status(), (Table{{series, u"2024-03-05 07:10:08", Md5Of(series)},
                             {id, u"2024-03-05 07:10:08", exception.md5}}));
  EXPECT_NE(exception.md5, hash);
}

TEST_P(RecurrenceStore, AnExceptionOfAnUnknownSeriesCreatesNothing) {
  s.db->Forget();
  EXPECT_EQ(s.TryAdd(Exception(1, "e", "nobody")), E_FAIL);
  EXPECT_TRUE(s.db->Changes().empty());
  const std::u16string series = s.Add(Series(1, "series"));
  const std::u16string id = s.Add(Exception(2, "e", "series"));
  EXPECT_EQ(Replace(id, Exception(3, "e", "nobody")), E_FAIL);
  EXPECT_EQ(s.TryAdd(Exception(3, "e2", "series")), E_FAIL) << "the occurrence has one already";
  EXPECT_EQ(SubItems().size(), 1u);
}

TEST_P(RecurrenceStore, TheSessionsIndexIsFilledOnceAndServesEveryOperation) {
  const std::u16string series = s.Add(Series(1, "series"));
  const std::u16string id = s.Add(Exception(2, "e1", "series"));
  const std::u16string gone = s.Add(Exception(3, "e2", "series", "20240219T100000Z"));
  OLSubMetaData data;
  data.id = gone;
  ASSERT_EQ(s.outlook.DeleteSubItem(kind, data), S_OK);
  s.NextSession();
  Bstr type, parent;
  ComPtr<IUnknown> item, content;
  const auto get = [&](const std::u16string& which) {
    return s.store->Get(Bstr(which), kFalse, type.Out(), parent.Out(), item.Out(), content.Out());
  };
  EXPECT_EQ(get(id), E_FAIL) << "not loaded yet";
  EXPECT_EQ(s.Current(), (Ids{series, id}));
  EXPECT_EQ(s.db->Rows(u"Calendar_SubRecurMap", {u"subrecur_id", u"original_date", u"isDeleted"}),
            (Table{{id, u"2024-02-12 11:00:00", u"0"}, {gone, u"2024-02-19 11:00:00", u"1"}}));
  EXPECT_EQ(get(id), S_OK);
  EXPECT_EQ(get(gone), E_FAIL) << "a deleted occurrence is no item";
  ComPtr<IUnknown> uids;
  ASSERT_EQ(s.store->GetAllUid(uids.Out()), S_OK);
  int32_t count = 0;
  Query<IVarList>(uids)->Count(&count);
  EXPECT_EQ(count, 2);

  s.db->Forget();
  EXPECT_EQ(s.store->OnProcesseSentCmdSuccess(SENTCMD_ADD, Bstr(id), nullptr, kFalse), S_OK);
  EXPECT_EQ(Status().at(1), (std::vector<std::u16string>{id, u"2024-03-05 07:07:08", u""}));
  EXPECT_EQ(s.store->OnProcesseSentCmdSuccess(SENTCMD_ADD, Bstr(u"nosuchsub1"), nullptr, kFalse),
            E_FAIL);
  EXPECT_EQ(s.store->Delete(Bstr(gone), kFalse), S_OK) << "its rows go";
  EXPECT_EQ(s.store->Delete(Bstr(id), kTrue), E_FAIL);
  EXPECT_EQ(s.store->Delete(Bstr(id), kFalse), S_OK);
  EXPECT_EQ(s.Backup(), (Ids{series}));
  EXPECT_EQ(s.db->Rows(u"DataStoreMap", {u"obj_uid"}), (Table{{u"series"}}));
  EXPECT_NE(s.Get(series).find("X-RECUR-ENTRY:1;20240212T100000Z"), std::string::npos)
      << "the occurrence is deleted";

  // A second session on the same object: the table stays empty.
  ASSERT_EQ(s.status->Initialize(), S_OK);
  EXPECT_EQ(s.Current(), (Ids{series, id}));
  EXPECT_TRUE(s.db->Rows(u"Calendar_SubRecurMap", {u"subrecur_id"}).empty());
}

TEST_P(RecurrenceStore, AFailedLoadIsTriedAgainAndFailedRowsAreNot) {
  s.Add(Series(1, "series"));
  s.Add(Exception(2, "e", "series"));
  s.Add(Exception(3, "e2", "series", "20240219T100000Z"));
  s.NextSession();
  s.OnPcFile("ALTER TABLE sub_items RENAME TO away");
  ComPtr<IStatusDBItemTree> tree;
  EXPECT_EQ(s.status->GetCurrentStatusDB(tree.Out()), E_FAIL);
  EXPECT_EQ(s.store->PrepareSlowSync(), E_FAIL);
  EXPECT_EQ(s.status->DeleteAllStatusBackupDB(), E_FAIL);
  EXPECT_EQ(s.db->Rows(u"DataStoreMap", {u"obj_uid"}).size(), 3u) << "no purge by half a list";
  s.OnPcFile("ALTER TABLE away RENAME TO sub_items");
  s.db->Forget();
  s.db->FailAt(0, -5);
  EXPECT_EQ(s.Current().size(), 3u) << "what could not be noted is listed all the same";
  s.db->FailNothing();
  EXPECT_EQ(s.Current().size(), 3u);
  EXPECT_TRUE(s.db->Rows(u"Calendar_SubRecurMap", {u"subrecur_id"}).empty());
}

TEST_P(RecurrenceStore, SlowSyncAndPurgeCountExceptionsAmongTheItems) {
  const std::u16string series = s.Add(Series(1, "series"));
  const std::u16string id = s.Add(Exception(2, nullptr, "series"));
  s.NextSession();
  ASSERT_EQ(s.store->PrepareSlowSync(), S_OK);
  EXPECT_EQ(s.db->Rows(u"DataStoreMap", {u"datastore_id"}), (Table{{series}, {id}}));
  ASSERT_EQ(s.status->DeleteAllStatusBackupDB(), S_OK);
  EXPECT_EQ(s.db->Rows(u"DataStoreMap", {u"datastore_id"}), (Table{{series}, {id}}));
  auto winner = RESV_CONFLTLASTMODIFIED_IGNORE;
  EXPECT_TRUE(Failed(s.store->ProcessConflictLastModified(
      s.Content(Exception(2, "e", "series")).get(), s.mimeType, Bstr(id), &winner)));
  EXPECT_EQ(winner, RESV_CONFLTLASTMODIFIED_NONE);
  EXPECT_EQ(s.store->DeleteAll(), S_OK);
  EXPECT_TRUE(s.Current().empty());
  SqliteDatabase file(s.folder.File("pc/Outlook.db"), SqliteDatabase::Durability::Normal);
  SqliteStatement left = file.Prepare("SELECT count(*) FROM sub_items");
  ASSERT_TRUE(left.Step());
  EXPECT_EQ(left.Int(0), 0) << "an exception goes with its series";
}

TEST_P(RecurrenceStore, TheSameOccurrenceIsFoundInTheWallClockOfTheProgram) {
  const std::u16string series = s.Add(Series(1, "series"));
  const std::u16string id = s.Add(Exception(2, "e1", "series"));
  s.NextSession();
  std::u16string match;
  ASSERT_EQ(s.Current().size(), 2u);
  EXPECT_EQ(Conflict(series, Exception(3, "other", "series"), match), S_OK);
  EXPECT_EQ(match, id);
  EXPECT_EQ(Conflict(series, Exception(3, "other", "series", "20240219T100000Z"), match), S_OK);
  EXPECT_EQ(match, u"");
  EXPECT_EQ(Conflict(u"another", Exception(3, "other", "series"), match), S_OK);
  EXPECT_EQ(match, u"");
  EXPECT_EQ(Conflict(series, "", match), E_FAIL) << "nothing in the cache";
  // Of two rows of one occurrence the first that is alive counts.
  s.db->Run(u"DELETE FROM Calendar_SubRecurMap");
  for (const char16_t* row :
       {u"'asub1','2024-02-12 11:00:00',1", u"'asub2','2024-02-12 11:00:00',0", u"'asub3','',0"}) {
    s.db->Run(
        std::u16string(u"INSERT INTO Calendar_SubRecurMap(subrecur_id,original_date,isDeleted,"
                       u"parentrecur_id,profile_id) VALUES(") +
        row + u",'S','P1')");
  }
  EXPECT_EQ(Conflict(u"S", Exception(3, "other", "series"), match), S_OK);
  EXPECT_EQ(match, u"asub2");
  EXPECT_EQ(Conflict(u"S", With(3, "other", "X-PARENT-UID:series\r\n"), match), S_OK);
  EXPECT_EQ(match, u"asub3") << "no occurrence meets a row without one";
}

TEST_P(RecurrenceStore, AnExceptionOfASeriesThatNeverWentOutStandsFree) {
  const std::u16string series = s.Add(Series(1, nullptr));
  ComPtr<IItemCommon> item = MakeCalendarItem({});
  CalendarOf(item.get())->isTask = kind == olTask;
  OLSubMetaData data;
  ASSERT_EQ(s.outlook.CreateSubItem(kind, series, item, data), S_OK);
  ASSERT_EQ(s.Current().size(), 2u);
  const std::string text = s.Get(data.id);
  EXPECT_EQ(text.find("X-PARENT-UID"), std::string::npos) << text;
  EXPECT_EQ(s.db->Rows(u"DataStoreMap", {u"datastore_id"}), (Table{{data.id}}))
      << "reading the exception gave its series no row";
}

INSTANTIATE_TEST_SUITE_P(Stores, RecurrenceStore,
                         testing::Values(test::kCalendarSample, test::kTaskSample),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace qv
