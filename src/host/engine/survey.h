// Loads both sides of one store, and what a plan needs to know of them.
#pragma once

#include <string>
#include <unordered_set>
#include <vector>

#include "host/engine/links.h"
#include "host/engine/pc_side.h"
#include "host/engine/phone_folder.h"
#include "host/engine/scan.h"

namespace qv {

// Whether a text holds one readable item, and its identifier.
TextLook PlainLook(PcStore& store);

class Survey {
 public:
  Survey(PcStore& pc, PhoneFolder& phone, std::vector<ItemFailure>& failed)
      : pc_(pc), phone_(phone), failed_(failed) {}

  // Both sides joined; what the links' moves need in `mode` is filled in. `files` is the phone's
  // listing, `recordNs` the record's age as in ScanRules. The stores write rows on the way. Throws
  // StoreFailure and SyncStopped.
  Inventory Load(DS_SYNCTYPE mode, std::vector<RecordRow> records,
                 const std::vector<FolderEntry>& files, int64_t recordNs);

 private:
  void ScanFor(DS_SYNCTYPE mode, const std::vector<FolderEntry>& files, int64_t recordNs);
  std::string LookAndMatch(int32_t index, PhoneItem& item, std::string_view phoneText);
  ComPtr<IItemCommon> ParseInPlace(const PhoneItem& item, std::string_view text,
                                   Duplicate& duplicate);
  std::optional<PcPlace> MatchedPlace(const PhoneItem& item) const;
  void MatchOccurrences();
  void MatchFolders();
  // Of a tree.
  void FollowRecords();
  const Meaning& LookAtPc(int32_t pc);
  LoneItem LoneInTree(int32_t link);
  void NoteOnPc(const ItemLink& link, IItemCommon& item, LoneItem& lone);
  void LearnOldRecord(const ItemLink& link);
  void HoldHidden();
  void JudgeTree(DS_SYNCTYPE mode);
  void JudgePc(DS_SYNCTYPE mode, ItemLink& link);
  void JudgePhone(ItemLink& link);
  void MatchLone();
  std::vector<LoneItem> PhonePrints(const std::vector<int32_t>& links);
  std::vector<LoneItem> PcPrints(const std::vector<int32_t>& links);
  void CompareLinks(DS_SYNCTYPE mode);
  bool NeedsWinner(DS_SYNCTYPE mode, const ItemLink& link) const;
  // Runs `body`; a failure of the item is noted, and false comes back. `body` may set the side that
  // is at fault.
  template <class Body>
  bool Try(const char*& side, const std::string& item, Body&& body);

  PcStore& pc_;
  PhoneFolder& phone_;
  std::vector<ItemFailure>& failed_;
  Inventory sides_;
  std::unordered_map<std::u16string_view, int32_t> pcById_;
  std::vector<SlowMatch> matches_;
  int64_t recordNs_ = 0;
  std::unordered_set<int32_t> looked_;  // items of the PC whose files have been looked into
  std::unordered_map<std::string, std::u16string> matchedFolders_;  // the PC's by the phone's name
};

}  // namespace qv
