#include "stores/bookmark/data_store_chrome.h"

#include "platform/com/class_factory.h"
#include "stores/winner.h"
#include "support/user_flags.h"
#include "syncdb/path_map.h"

namespace qv {
namespace {

constexpr StoreIdentity kIdentity = {.family = StoreFamily::Chrome,
                                     .className = u"CDataStoreChrome",
                                     .configName = kBookmarkConfig,
                                     .logsInitialize = false,
                                     .clearsWinner = true};

}  // namespace

CDataStoreChrome::CDataStoreChrome() : StoreBase(kIdentity) {}

HRESULT CDataStoreChrome::OnInitialize() {
  return Succeeded(texts_.Open(bag())) ? S_OK : kNotInitialized;
}

ComPtr<IItemCommon> CDataStoreChrome::CachedOrParsed(const IncomingText& text) {
  ComPtr<IItemCommon> item = cachedItem() ? cachedItem() : OnParse(text);
  if (!item) throw StatusError(E_FAIL);
  return item;
}

HRESULT CDataStoreChrome::OnAdd(const IncomingText& text, std::u16string& sourceUid) {
  if (text.parent.empty() || text.IsFolderDocument()) return E_FAIL;
  const ComPtr<IItemCommon> item = CachedOrParsed(text);
  const Bookmark& bookmark = AsBookmark(item);
  if (bookmark.title.empty()) return E_FAIL;
  // Without a browser nothing can be written there; the row is kept all the same.
  browser_.WriteObjUid(sourceUid, bookmark.fields.objUid);
  browser_.WriteObjModified(sourceUid, bookmark.fields.objModified);
  return OnUpdateStatus(
      STATDBUPDATE_ADD,
      {sourceUid, std::u16string(text.parent), bookmark.fields.modified, false, {}});
}

HRESULT CDataStoreChrome::OnReplace(const std::u16string&, const IncomingText& text) {
  if (!text.IsFolderDocument()) OnParse(text);
  return E_FAIL;
}

// Throws StatusError.
ComPtr<IItemCommon> CDataStoreChrome::ReadBookmark(const std::u16string& sourceUid) {
  ComPtr<IItemCommon> item = CreateInstance<IItemCommon>(CLSID_BookmarkItem);
  ItemFields& fields = AsBookmark(item).fields;
  fields.sourceUid = sourceUid;
  Check(browser_.ReadObjUid(sourceUid, fields.objUid));
  fields.objModified = fields.modified = GetCurrentDateTime().value;
  fields.parentUid = std::u16string(kTreeRoot);
  return item;
}

HRESULT CDataStoreChrome::OnGet(const std::u16string& sourceUid, bool, OutgoingItem& out) {
  const ComPtr<IItemCommon> item = ReadBookmark(sourceUid);
  if (ConfigText(&IDataStoreConfig::get_MimeType) != kBookmarkMimeType) return S_OK;
  out.mimeType = kBookmarkMimeType;
  out.parent = AsBookmark(item).fields.parentUid;
  out.cdata = texts_.WriteBookmark(item.get());
  out.item = item;
  return S_OK;
}

HRESULT CDataStoreChrome::OnGetAllUid(std::vector<std::u16string>& uids) {
  return browser_.LoadAllIds(uids);
}

// There is no number that an entry could have.
HRESULT CDataStoreChrome::OnPrepareSlowSync() {
  matches_.Clear();
  return S_OK;
}

HRESULT CDataStoreChrome::OnProcessDuplication(const IncomingText& text, DuplicateAnswer& answer) {
  if (matches_.IsEmpty()) return S_OK;
  const auto match = matches_.Find(text, CachedOrParsed(text), false, answer);
  if (!match) return S_OK;
  const ItemFields& known = match->fields();
  const HRESULT status = Check(OnUpdateStatus(
      STATDBUPDATE_ADD,
      {known.sourceUid, known.parentUid, known.modified, text.IsFolderDocument(), {}}));
  answer.winner = match->winner;
  matches_.Remove(*match);
  return status;
}

HRESULT CDataStoreChrome::OnProcessConflict(const IncomingText& text,
                                            const std::u16string& sourceUid,
                                            RESV_CONFLTLASTMODIFIED& outcome) {
  const ComPtr<IItemCommon> item = OnParse(text);
  if (!item) return E_FAIL;
  if (text.IsFolderDocument()) {
    OutgoingItem local;
    Check(OnGet(sourceUid, false, local));
    const Folder* folder = FolderOf(local.item.get());
    if (folder == nullptr) return E_FAIL;
    outcome =
        NewerSide(folder->modified, AsFolder(item).modified).value_or(RESV_CONFLTLASTMODIFIED_NONE);
    return S_OK;
  }
  const ComPtr<IItemCommon> local = ReadBookmark(sourceUid);
  outcome = NewerSide(AsBookmark(local).fields.objModified, AsBookmark(item).fields.objModified)
                .value_or(RESV_CONFLTLASTMODIFIED_NONE);
  return S_OK;
}

HRESULT CDataStoreChrome::OnSentCommand(SENTCMD_TYPE command, const std::u16string& sourceUid,
                                        std::u16string_view parent, bool isFolder) {
  StatusRow row;
  row.sourceUid = sourceUid;
  row.parentUid = parent.empty() ? kTreeRoot : parent;
  row.isFolder = isFolder;
  switch (command) {
    case SENTCMD_ADD:
      return OnUpdateStatus(STATDBUPDATE_ADD, row);
    case SENTCMD_REPL:
    case SENTCMD_MOVE:
      return OnUpdateStatus(STATDBUPDATE_REPL, row);
    case SENTCMD_DEL:
      Check(OnUpdateStatus(STATDBUPDATE_DEL, row));
      return browser_.RemoveId(sourceUid);
    case SENTCMD_EXEC:
      break;
  }
  return E_FAIL;
}

HRESULT CDataStoreChrome::OnGetParent(const std::u16string&, std::u16string& parent) {
  parent = std::u16string(kTreeRoot);
  return S_OK;
}

HRESULT CDataStoreChrome::OnBackupTree(ComPtr<IStatusDBItemTree>& root) {
  return status_.ReadTree(false, root);
}

// Until a browser tells what there is, nobody may take the tree for an empty one.
HRESULT CDataStoreChrome::OnCurrentTree(ComPtr<IStatusDBItemTree>&) {
  return E_FAIL;
}

}  // namespace qv
