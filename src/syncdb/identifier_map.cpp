#include "syncdb/identifier_map.h"

#include "platform/com/class_factory.h"
#include "platform/com/lists.h"
#include "support/date_time.h"
#include "support/text.h"
#include "support/user_flags.h"
#include "syncdb/shared_tables.h"

namespace qv {
namespace {

// Persisted: the tests pin every text. Two blanks stand behind SET.
constexpr std::u16string_view kMapColumns =
    u"(datastore_sourceuri,datastore_id,obj_uid,obj_modified,profile_id)";
constexpr DatastoreType kType = DatastoreType::Outlook;

const Bstr& ObjUidColumn() {
  static const Bstr column(u"obj_uid");
  return column;
}

const Bstr& ObjModifiedColumn() {
  static const Bstr column(u"obj_modified");
  return column;
}

std::u16string DeleteText(const std::u16string& where) {
  return Concat({u"DELETE FROM ", kDataStoreMap, where});
}

ComPtr<IUnknown> BatchRow(std::initializer_list<std::u16string_view> values) {
  const auto row = CreateInstance<IVarList>(CLSID_VarList);
  for (const auto value : values) Check(row->Add(Variant::Text(value).get()));
  return row;
}

}  // namespace

HRESULT IdentifierMap::RunInsert(std::u16string_view id, std::u16string_view objUid,
                                 DATE objModified) noexcept {
  return Guarded([&] {
    return session_.Run(Concat({u"INSERT INTO ", kDataStoreMap, u" ", kMapColumns, u" VALUES('",
                                session_.sourceUri, u"','", id, u"','", objUid, u"','",
                                FormatDateTime(objModified), u"','", session_.targetKey, u"')"}));
  });
}

HRESULT IdentifierMap::RunUpdate(std::u16string_view id, std::u16string_view objUid,
                                 DATE objModified) noexcept {
  return Guarded([&] {
    return session_.Run(
        Concat({u"UPDATE ", kDataStoreMap, u" SET  obj_uid='", objUid, u"', obj_modified='",
                FormatDateTime(objModified), u"' WHERE datastore_id='", id, u"' AND profile_id='",
                session_.targetKey, u"'"}));
  });
}

HRESULT IdentifierMap::Insert(std::u16string_view id, std::u16string_view objUid,
                              DATE objModified) noexcept {
  if (id.empty() || objUid.empty()) return E_FAIL;
  bool exists = false;
  if (const HRESULT status = Exists(id, exists); Failed(status)) return status;
  if (exists) RunUpdate(id, objUid, objModified);
  return RunInsert(id, objUid, objModified);
}

HRESULT IdentifierMap::Update(std::u16string_view id, std::u16string_view objUid,
                              DATE objModified) noexcept {
  if (id.empty() || objUid.empty()) return E_FAIL;
  bool exists = false;
  if (const HRESULT status = Exists(id, exists); Failed(status)) return status;
  if (!exists) RunInsert(id, objUid, objModified);
  return RunUpdate(id, objUid, objModified);
}

HRESULT IdentifierMap::Delete(std::u16string_view id) noexcept {
  return Guarded([&] { return session_.Run(DeleteText(RowKey(session_, kType, id))); });
}

HRESULT IdentifierMap::DeleteAll() noexcept {
  return Guarded([&] { return session_.Run(DeleteText(StoreKey(session_, kType))); });
}

HRESULT IdentifierMap::Exists(std::u16string_view id, bool& exists) noexcept {
  exists = false;
  return Guarded([&] {
    QueryRows rows;
    const HRESULT status = rows.Query(session_, Concat({u"SELECT datastore_id FROM ", kDataStoreMap,
                                                        RowKey(session_, kType, id)}));
    exists = Succeeded(status) && rows.Next();
    return status;
  });
}

HRESULT IdentifierMap::ReadRow(std::u16string_view id, ItemFields& item, bool& found) noexcept {
  found = false;
  return Guarded([&] {
    // The source URI does not stand in this key.
    QueryRows rows;
    const HRESULT status = rows.Query(
        session_, Concat({u"SELECT obj_uid,obj_modified FROM ", kDataStoreMap,
                          u" WHERE datastore_id='", id, u"' AND profile_id='", session_.targetKey,
                          u"' AND datastore_type=", TypeDigit(kType)}));
    if (Failed(status)) return status;
    found = rows.Next();
    if (!found) return S_OK;
    if (rows.HasText(ObjUidColumn())) item.objUid = rows.Text(ObjUidColumn());
    if (rows.HasText(ObjModifiedColumn())) {
      item.objModified = GetDateColumn(rows, ObjModifiedColumn());
    }
    return S_OK;
  });
}

HRESULT IdentifierMap::Read(std::u16string_view id, ItemFields& item) noexcept {
  bool found = false;
  return ReadRow(id, item, found);
}

HRESULT IdentifierMap::FindByUid(std::u16string_view objUid, std::u16string& id) noexcept {
  id.clear();
  return Guarded([&] {
    static const Bstr kId(u"datastore_id");
    QueryRows rows;
    const HRESULT status = rows.Query(
        session_, Concat({u"SELECT datastore_id FROM ", kDataStoreMap, u" WHERE obj_uid='", objUid,
                          u"' AND datastore_sourceuri='", session_.sourceUri, u"' AND profile_id='",
                          session_.targetKey, u"' AND datastore_type=", TypeDigit(kType)}));
    if (Succeeded(status) && rows.Next()) id = rows.Text(kId);
    return status;
  });
}

HRESULT IdentifierMap::ReadOrCreate(std::u16string_view id, ItemFields& item) noexcept {
  return Guarded([&] {
    bool found = false;
    const HRESULT status = ReadRow(id, item, found);
    if (Failed(status) || found) return status;
    item.objUid = MakeGuidText();
    item.objModified =
        item.modified > 0.0 ? item.modified : LocalToUtc(GetCurrentDateTime(), true).value;
    return Insert(id, item.objUid, item.objModified);
  });
}

HRESULT IdentifierMap::Load(Rows& map) noexcept {
  return Guarded([&] {
    static const Bstr kId(u"datastore_id");
    QueryRows rows;
    const HRESULT status = rows.Query(
        session_,
        Concat({u"SELECT datastore_id,obj_uid,obj_modified FROM ", kDataStoreMap,
                u" WHERE profile_id='", session_.targetKey, u"' AND datastore_sourceuri='",
                session_.sourceUri, u"' AND datastore_type=", TypeDigit(kType)}));
    if (Failed(status)) return status;
    while (rows.Next()) {
      map.try_emplace(rows.Text(kId),
                      MapRow{rows.Text(ObjUidColumn()), GetDateColumn(rows, ObjModifiedColumn())});
      if (IsSyncStopped()) return E_FAIL;
    }
    return S_OK;
  });
}

HRESULT IdentifierMap::InsertBatch(const std::vector<NewMapRow>& rows) noexcept {
  if (rows.empty()) return S_OK;
  return Guarded([&] {
    const ComPtr<IDBBatch> batch = Query<IDBBatch>(session_.accessor);
    if (!batch) return E_FAIL;
    const auto list = CreateInstance<IUnkList>(CLSID_UnkList);
    for (const NewMapRow& row : rows) {
      const std::u16string time =
          row.row.objModified > 0.0 ? FormatDateTime(row.row.objModified) : std::u16string();
      Check(list->Add(
          BatchRow({session_.sourceUri, row.id, row.row.objUid, time, session_.targetKey}).get()));
    }
    const Bstr statement(
        Concat({u"INSERT INTO ", kDataStoreMap, u" ", kMapColumns, u" VALUES(?,?,?,?,?)"}));
    return batch->ExecuteBatch(statement, list.get());
  });
}

}  // namespace qv
