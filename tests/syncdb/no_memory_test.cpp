// No memory anywhere within an operation that may not throw: it fails, and works again later.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>

#include "platform/com/class_factory.h"
#include "platform/com/com_object.h"
#include "platform/com/lists.h"
#include "platform/database/sqlite_accessor.h"
#include "syncdb/exception_table.h"
#include "syncdb/identifier_map.h"
#include "syncdb/path_map.h"
#include "syncdb/purge.h"
#include "syncdb/side_tables.h"
#include "syncdb/status_table.h"

namespace {
// So many more allocations of this thread are served; below 0 all are.
thread_local int g_served = -1;
thread_local bool g_refused = false;
}  // namespace

[[gnu::noinline]] void* operator new(size_t size) {
  if (g_served >= 0 && g_served-- == 0) {
    g_refused = true;
    throw std::bad_alloc();
  }
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept {
  std::free(memory);
}

namespace qv {
namespace {

TEST(NoMemory, IsAFailureOfTheOperationAndNotTheEndOfTheProcess) {
  RegisterListClasses();
  const std::string previous = SyncDatabasePath();
  SetSyncDatabasePath(":memory:");
  const ComPtr<IDBAccessor> db = MakeObject<SqliteAccessor>();
  SetSyncDatabasePath(previous);
  SyncSession session;
  session.accessor = db;
  Check(db->Open(nullptr));
  Check(db->Connect());
  Check(db->BeginSession(&session.session));
  session.sourceUri = u"a source that is too long to be held in a text itself";
  session.targetKey = u"P1";
  SideTables sides(session, DatastoreType::Outlook);
  IdentifierMap map(session);
  StatusTable status(session, kContactStatus);
  ExceptionTable exceptions(session);
  PathMap paths(session);
  const std::u16string id = u"an identifier that is too long as well";
  const std::vector<ExtraProperty> extras = {{u"X-A", u"a value of some length, too"}};
  const std::vector<HiddenLabel> labels = {{u"TEL", u"1", u"HOME", false}};
  const StatusRow row{id, u"/", DateTimeValue(40'000.0), false, u"0123456789abcdef"};
  const ExceptionRow made{id, id, 1.0, 2.0, false};
  const AliveSet none;
  std::u16string text;
  bool exists = false;
  Contact contact;
  ItemFields item;
  IdentifierMap::Rows rows;
  TreeIdentity identity{id, 1.0};
  ComPtr<IStatusDBItemTree> tree;
  std::optional<ExceptionRow> exception;
  std::vector<ExceptionRow> found;
  std::vector<ExtraProperty> read;
  const std::u16string ids[] = {id};
  const std::function<HRESULT()> operations[] = {
      [&] { return sides.WriteExtras(id, extras, true); },
      [&] { return sides.ReadExtras(id, read); },
      [&] { return sides.DeleteExtras(id); },
      [&] { return sides.DeleteAllExtras(); },
      [&] { return sides.WriteHidden(id, labels, true); },
      [&] { return sides.ReadHidden(id, contact); },
      [&] { return sides.DeleteHidden(id); },
      [&] { return sides.DeleteAllHidden(); },
      [&] { return map.Insert(id, id, 1.0); },
      [&] { return map.Update(id, id, 2.0); },
      [&] { return map.Exists(id, exists); },
      [&] { return map.ReadOrCreate(id, item); },
      [&] { return map.FindByUid(id, text); },
      [&] { return map.Load(rows); },
      [&] { return map.Delete(id); },
      [&] { return map.DeleteAll(); },
      [&] { return status.Update(STATDBUPDATE_ADD, row); },
      [&] { return status.ReadTree(false, tree); },
      [&] { return status.Delete(ids); },
      [&] { return status.DeleteAll(); },
      [&] { return exceptions.Insert(made); },
      [&] { return exceptions.Find(id, exception); },
      [&] { return exceptions.OfSeries(id, found); },
      [&] { return exceptions.DeleteAll(); },
      [&] { return paths.Assign(u"/a folder of a long name\\a file.url", text); },
      [&] { return paths.Load(); },
      [&] { return paths.WriteIdentity(text, identity); },
      [&] { return paths.ReadIdentity(text, identity); },
      [&] { return paths.PathOf(text, text); },
      [&] { return paths.SetPath(u"1", u"/another name that is long.url"); },
      [&] { return paths.Delete(u"1"); },
      [&] { return paths.DeleteAll(); },
      [&] { return PurgeTable(session, DatastoreType::Outlook, kExtraTable, none); },
  };
  int refusals = 0;
  for (size_t i = 0; i < std::size(operations); ++i) {
    for (int served = 0;; ++served) {
      g_refused = false;
      g_served = served;
      static_cast<void>(operations[i]());
      g_served = -1;
      if (!g_refused) break;
      ++refusals;
      ASSERT_LT(served, 1000) << i;
    }
    EXPECT_FALSE(Failed(operations[i]())) << i;
  }
  EXPECT_GT(refusals, 100);
}

}  // namespace
}  // namespace qv
