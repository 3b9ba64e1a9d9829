// The place of a browser's store: it takes and gives the texts of bookmarks and keeps a status
// table of its own, and has no browser behind it. Whatever would reach one answers E_FAIL.
#pragma once

#include "stores/bookmark/bookmark_texts.h"
#include "stores/bookmark/tree_matches.h"
#include "syncdb/status_table.h"

namespace qv {

// What a browser has to answer; each operation is called where a working store would act.
class BrowserPlaceholder {
 public:
  HRESULT ReadObjUid(std::u16string_view, std::u16string&) { return E_FAIL; }
  // Nothing to write is no failure.
  HRESULT WriteObjUid(std::u16string_view, std::u16string_view objUid) {
    return objUid.empty() ? S_OK : E_FAIL;
  }
  HRESULT WriteObjModified(std::u16string_view, DATE) { return E_FAIL; }
  HRESULT LoadAllIds(std::vector<std::u16string>&) { return E_FAIL; }
  HRESULT RemoveId(std::u16string_view) { return E_FAIL; }
};

class CDataStoreChrome final : public StoreBase {
 public:
  CDataStoreChrome();

 private:
  HRESULT OnInitialize() override;
  ComPtr<IItemCommon> OnParse(const IncomingText& text) override { return texts_.Parse(text); }
  HRESULT OnAdd(const IncomingText& text, std::u16string& sourceUid) override;
  HRESULT OnReplace(const std::u16string& sourceUid, const IncomingText& text) override;
  HRESULT OnDelete(const std::u16string&, bool) override { return E_FAIL; }
  HRESULT OnGet(const std::u16string& sourceUid, bool updateField, OutgoingItem& out) override;
  HRESULT OnGetAllUid(std::vector<std::u16string>& uids) override;
  HRESULT OnPrepareSlowSync() override;
  HRESULT OnProcessDuplication(const IncomingText& text, DuplicateAnswer& answer) override;
  HRESULT OnProcessConflict(const IncomingText& text, const std::u16string& sourceUid,
                            RESV_CONFLTLASTMODIFIED& outcome) override;
  HRESULT OnSentCommand(SENTCMD_TYPE command, const std::u16string& sourceUid,
                        std::u16string_view parent, bool isFolder) override;
  HRESULT OnGetParent(const std::u16string& sourceUid, std::u16string& parent) override;
  HRESULT OnBackupTree(ComPtr<IStatusDBItemTree>& root) override;
  HRESULT OnCurrentTree(ComPtr<IStatusDBItemTree>& root) override;
  HRESULT OnDeleteAllStatus() override { return status_.DeleteAll(); }
  HRESULT OnUpdateStatus(STATUSDB_UPDATECMD command, const StatusRow& row) override {
    return status_.Update(command, row);
  }

  ComPtr<IItemCommon> CachedOrParsed(const IncomingText& text);
  ComPtr<IItemCommon> ReadBookmark(const std::u16string& sourceUid);

  BookmarkTexts texts_;
  BrowserPlaceholder browser_;
  StatusTable status_{session(), kChromeStatus};
  TreeMatches matches_;
};

}  // namespace qv
