// The PC side as the engine reaches it: the module's manager and stores, through their component
// interfaces alone, and the sync database, which is the engine's own.
#pragma once

#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "framework/store_base.h"
#include "host/engine/errors.h"
#include "host/engine/model.h"
#include "host/profile.h"
#include "items/converters.h"
#include "pim/outlook_manager.h"
#include "platform/com/class_factory.h"
#include "platform/database/accessor.h"
#include "stores/bookmark/bookmark_tree_info.h"
#include "syncdb/status_interfaces.h"
#include "syncdb/sync_session.h"

namespace qv {

// The manager with its stores, and the transactions of what they write: of the sync database, which
// they share, and of the PC's items, through the personal-data library that they use.
class PcSide {
 public:
  // Throws StoreFailure.
  explicit PcSide(Profile& profile);
  PcSide(const PcSide&) = delete;
  PcSide& operator=(const PcSide&) = delete;
  ~PcSide();

  // The phone that all stores work for from now on.
  void SetTargetKey(const std::string& phoneId);
  const std::string& phoneId() const { return phoneId_; }
  ComPtr<IDataStore> Store(const StoreKind& kind);
  // The rows of the sync database that a store has for a phone; without an accessor before the
  // manager has made one.
  SyncSession Session(const StoreKind& kind, const std::string& phoneId);

  // What the stores write from now on can be thrown away, up to `Commit`: what they note in the
  // sync database, or the PC's items too. One within another is a part of it, of the same extent:
  // thrown away alone, and kept with the other. False when this database object cannot do that.
  enum class Extent { Notes, NotesAndItems };
  bool Begin(Extent extent);
  // Of the outermost: the items are on disk before anything is noted of them, and the notes when it
  // returns. Throws StoreFailure; what was begun last is rolled back.
  void Commit();
  void Rollback() noexcept;

 private:
  [[noreturn]] void ExplainStart(HRESULT status, const std::string& reason);

  Profile& profile_;
  ClassCreator realAccessor_;
  ComPtr<IDBTransaction> transaction_;
  ComPtr<IDBAccessor> accessor_;
  std::string phoneId_;
  std::vector<Extent> open_;
  ComPtr<IDataStoreMgr> manager_;
  OutlookManager* items_ = nullptr;  // the manager's; null while no store needs one
};

// Rolls back at the end of the scope unless it was committed.
class PcTransaction {
 public:
  explicit PcTransaction(PcSide& side, PcSide::Extent extent = PcSide::Extent::Notes)
      : side_(side), began_(side.Begin(extent)), open_(began_) {}
  PcTransaction(const PcTransaction&) = delete;
  PcTransaction& operator=(const PcTransaction&) = delete;
  ~PcTransaction() {
    if (open_) side_.Rollback();
  }
  bool began() const { return began_; }
  void Commit() {
    if (std::exchange(open_, false)) side_.Commit();
  }

 private:
  PcSide& side_;
  bool began_;
  bool open_;
};

// One item of the PC side as a text for the phone, and as what is left of it for comparing.
struct PcText {
  ComPtr<IItemCommon> item;
  std::string text;
};

// Where an item of a tree goes on the PC side; anywhere else it goes on top.
struct PcPlace {
  std::u16string parent = u"/";
  bool isFolder = false;
};

// What the store said of an incoming text in a slow sync.
struct Duplicate {
  std::u16string sourceUid;  // empty for none
  RESV_CONFLTLASTMODIFIED winner = RESV_CONFLTLASTMODIFIED_NONE;
};

// One store. Operations on one item throw ItemError (or StatusError), on the whole StoreFailure.
class PcStore {
 public:
  PcStore(PcSide& side, Profile& profile, const StoreKind& kind);

  const StoreKind& kind() const { return kind_; }
  PcSide& side() { return side_; }
  // Which folder of the PC this is: of a tree its path. What was agreed with one is nothing that
  // another lacks.
  const std::string& source() const { return source_; }
  // What to say where it was another one before.
  std::string MovedFrom(const std::string& before) const;
  SyncSession SessionOf(const std::string& phoneId) { return side_.Session(kind_, phoneId); }

  // What is there, in the store's order, then what has gone since the last agreement, or has left
  // the filter; with `all` everything that the filter keeps back. `present` counts what is there.
  void ReadItems(std::vector<PcItem>& items, int64_t& present, bool all = false);
  void PrepareSlowSync();

  // The item of a text; null for one that cannot be read.
  ComPtr<IItemCommon> Parse(std::string_view text);
  // The same of a folder document.
  ComPtr<IItemCommon> ParseFolder(std::string_view text);
  // The same, and whether the PC side has it already. Null as with Parse.
  ComPtr<IItemCommon> ParseAndMatch(std::string_view text, const PcPlace& place,
                                    Duplicate& duplicate);
  RESV_CONFLTLASTMODIFIED WhoIsNewer(const std::u16string& id, std::string_view text);
  // The exception of a series that stands for the same occurrence as the incoming one; empty for
  // none.
  std::u16string SameOccurrence(const std::u16string& seriesId, std::string_view text);

  // With `forPhone` the text's time follows the PC's, as it must when it is sent.
  PcText Get(const std::u16string& id, bool forPhone);
  std::u16string Add(std::string_view text, const PcPlace& place = {});
  void Replace(const std::u16string& id, std::string_view text, const PcPlace& place = {});
  void Delete(const std::u16string& id);
  // With all that is in it, into the recycle bin. Throws ItemError when there is more in it than
  // `known` (identifiers).
  void DeleteFolder(const std::u16string& id, const std::unordered_set<std::u16string>& known);
  // An entry of a tree as it is now: what it says, without an address where none can be read, and
  // its file; of no file for one that is not there. Broken is a file of no bytes but zeros.
  Meaning SaysNow(const PcItem& item);
  FileMark FileNow(const std::u16string& id);
  bool IsBroken(const std::u16string& id);
  // What the last `ReadItems` of a tree could not show: what has a name that cannot be used, or a
  // folder that cannot be read.
  struct BlindSpot {
    std::u16string folder;  // where it is
    std::string path;       // for a person
    bool isFolder = false;
  };
  const std::vector<BlindSpot>& blindSpots() const { return blindSpots_; }
  // Whether the entry of a tree still has its title and lies in this folder.
  bool IsAt(const PcItem& item, std::u16string_view parent);
  // How a person knows the item: its path in a tree, else the identifier.
  std::string Label(const PcItem& item);
  // The phone has taken over what was sent.
  void Sent(SENTCMD_TYPE command, const std::u16string& id);
  void Sent(SENTCMD_TYPE command, const PcItem& item);
  // The phone has it not, or no longer. All else that is known of the item stays.
  void NotOnPhone(const std::u16string& id);
  // The item changed on the PC, and the phone does not know yet, whatever the store has noted.
  void MarkPending(const std::u16string& id, const PcPlace& place = {});
  // The item is known to the phone by this uid.
  void AdoptUid(const std::u16string& id, const std::u16string& uid);

  // What was done to files is on disk: one wait for a group. A store that keeps its items in a
  // database has none. Throws StoreFailure.
  void Settle();

  // Throws StoreFailure when the trouble with an item is the sync database's: what would come next
  // would be left half done.
  void RequireDatabase();

  // The text of an item.
  std::string Write(IItemCommon* item);

 private:
  ComPtr<IContentData> Content(std::string_view text);
  const Bstr& TypeOf(const PcPlace& place) const {
    return place.isFolder ? folderType_ : mimeType_;
  }
  // Throws StoreFailure for a folder of the bookmarks that is there and cannot be read.
  void RequireRoot();
  void ReadTree(std::vector<PcItem>& items);
  void ReadBlindSpots(const std::vector<PcItem>& items);
  std::string RootFolder();
  std::string Refused(std::string_view text);
  bool HasSeries(const std::u16string& uid);
  bool IsFiltered() const;
  std::vector<std::u16string> AllIds();
  void UpdateStatus(STATUSDB_UPDATECMD command, const std::u16string& id, const PcPlace& place = {},
                    DATE modified = 0.0, const std::u16string& md5 = {});

  PcSide& side_;
  const StoreKind& kind_;
  ComPtr<IDataStore> store_;
  ComPtr<IStatusDB> status_;
  ComPtr<IBookmarkTreeInfo> tree_;  // of a tree
  std::vector<BlindSpot> blindSpots_;
  ComPtr<IConverter> converter_;
  Bstr mimeType_;
  std::string source_;
  Bstr folderType_{kFolderMimeType};
  Bstr root_{u"/"};
};

// The texts of an IVarList; none for null. Throws StatusError.
std::vector<std::u16string> TextsOf(const ComPtr<IUnknown>& list);

// Of an item's content, as `PcItem` keeps it; 0 when the item has none.
uint64_t StampOf(std::u16string_view md5);

std::u16string UidOf(IItemCommon& item);

}  // namespace qv
