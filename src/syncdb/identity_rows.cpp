#include "syncdb/identity_rows.h"

#include "platform/com/status_error.h"
#include "support/date_time.h"

namespace qv {

std::u16string IdentityRows::Condition(std::u16string_view id) const {
  return Concat({u" WHERE ", idColumn_, u"='", id, u"'"});
}

HRESULT IdentityRows::Find(std::u16string_view id, RowIdentity& identity) noexcept {
  return Guarded([&] {
    static const Bstr kUid(u"obj_uid");
    static const Bstr kModified(u"obj_modified");
    identity = {};
    QueryRows rows;
    Check(rows.Query(session_,
                     Concat({u"SELECT obj_uid,obj_modified FROM ", table_, Condition(id)})));
    if (rows.Next()) {
      identity.objUid = rows.Text(kUid);
      identity.objModified = GetDateColumn(rows, kModified);
    }
    return S_OK;
  });
}

HRESULT IdentityRows::Read(std::u16string_view id, RowIdentity& identity) noexcept {
  return Guarded([&] {
    Check(Find(id, identity));
    if (!identity.objUid.empty() && identity.objModified != 0.0) return S_OK;
    if (identity.objUid.empty()) identity.objUid = MakeGuidText();
    if (identity.objModified == 0.0) identity.objModified = GetCurrentDateTime().value;
    return Write(id, identity);
  });
}

HRESULT IdentityRows::Write(std::u16string_view id, const RowIdentity& identity) noexcept {
  if (id.empty()) return S_OK;
  return Guarded([&] {
    return session_.Run(
        Concat({u"UPDATE ", table_, u" SET  obj_uid='", identity.objUid, u"',obj_modified='",
                FormatDateTime(identity.objModified), u"'", Condition(id)}));
  });
}

}  // namespace qv
