// One store's status table: the state that phone and PC last agreed on.
//
// Operations return a status and never throw. A row changes only when a change went through to the
// other side.
#pragma once

#include <span>
#include <string_view>

#include "syncdb/status_item.h"
#include "syncdb/sync_session.h"

namespace qv {

// How a table is spelled. Persisted contract.
struct StatusTableInfo {
  std::u16string_view table;  // as it stands in a statement
  std::u16string_view idColumn;
  std::u16string_view parentColumn;
  bool hasMd5;
  bool ordered;  // the read carries ORDER BY
};

inline constexpr StatusTableInfo kContactStatus = {u"Contact_BackupStatusDB", u"contact_id",
                                                   u"contact_parentid", true, true};
inline constexpr StatusTableInfo kCalendarStatus = {u"Calendar_BackupStatusDB", u"calendar_id",
                                                    u"calendar_parentid", true, true};
inline constexpr StatusTableInfo kTaskStatus = {u"Task_BackupStatusDB", u"task_id",
                                                u"task_parentid", true, false};
inline constexpr StatusTableInfo kNoteStatus = {u"Note_BackupStatusDB", u"note_id",
                                                u"note_parentid", true, true};
inline constexpr StatusTableInfo kBookmarkStatus = {u"Bookmark_BackupStatusDB", u"bookmark_id",
                                                    u"bookmark_parentid", false, false};
// A name with brackets must be quoted.
inline constexpr StatusTableInfo kChromeStatus = {
    u"\"Bookmark(Chrome)_BackupStatusDB\"", u"bookmark_id", u"bookmark_parentid", false, false};
inline constexpr StatusTableInfo kWindowsContactStatus = {
    u"WindowsContact_BackupStatusDB", u"wincon_id", u"wincon_parentid", false, true};
inline constexpr StatusTableInfo kOutlookExpStatus = {
    u"OutlookExp_BackupStatusDB", u"outlookexp_id", u"outlookexp_parentid", false, false};

class StatusTable {
 public:
  // The session must outlive the table.
  StatusTable(const SyncSession& session, const StatusTableInfo& info)
      : session_(session), info_(info) {}

  // The rows as a tree under the root "/". With `skipFolders` folder rows are left out. A failure
  // in the middle of the rows ends them and is no failure of the call.
  HRESULT ReadTree(bool skipFolders, ComPtr<IStatusDBItemTree>& root) noexcept;
  // An ADD of a row that exists becomes a REPL; a REPL or MOVE of one that does not becomes an
  // ADD; a DEL of one that does not does nothing. E_FAIL for an unknown command.
  HRESULT Update(STATUSDB_UPDATECMD command, const StatusRow& row) noexcept;
  // The rows of these items, in chunks.
  HRESULT Delete(std::span<const std::u16string> ids) noexcept;
  HRESULT DeleteAll() noexcept;

 private:
  HRESULT Exists(const std::u16string& id, bool& exists) noexcept;
  std::u16string RowCondition(const std::u16string& id) const;
  std::u16string InsertText(const StatusRow& row) const;
  std::u16string UpdateText(const StatusRow& row) const;

  const SyncSession& session_;
  const StatusTableInfo& info_;
};

}  // namespace qv
