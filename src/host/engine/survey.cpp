#include "host/engine/survey.h"

#include <utility>

#include "host/engine/bookmark_text.h"
#include "host/engine/item_names.h"
#include "host/engine/lacking.h"
#include "host/engine/plan.h"
#include "host/engine/report_words.h"
#include "host/engine/tree_links.h"
#include "support/date_time.h"
#include "support/text.h"
#include "support/user_flags.h"

namespace qv {
namespace {

constexpr const char* kNoItem = "it holds no readable item";
constexpr const char* kManyItems =
    "it holds more than one item; each must have a file of its own. The way out: move it out of "
    "the "
    "phone's folder; of a file of contacts or a calendar `qvsync import` then makes those files";

void CheckStop() {
  if (IsSyncStopped()) throw SyncStopped();
}

void NoteText(IItemCommon& parsed, PhoneItem& item) {
  item.uid = UidOf(parsed);
  item.title = NameOfItem(parsed);
  item.pcLacks = WhatPcLacks(parsed);
  const auto calendar = Query<ICalendarItem>(&parsed);
  if (!calendar) return;
  Bstr series;
  BOOL isSeries = kFalse;
  Check(calendar->get_ParentRecurUid(series.Out()));
  Check(calendar->get_IsRecurring(&isSeries));
  item.seriesUid = series.str();
  item.isSeries = isSeries != kFalse;
}

PhoneAge AgeOf(const PhoneItem& item, IItemCommon& parsed) {
  PhoneAge age;
  age.modifiedNs = item.modifiedNs;
  Check(parsed.get_ObjModified(&age.objModified));
  age.objModified = UtcTime(parsed, age.objModified);
  return age;
}

// Why the text of a file cannot be used, whatever it says; empty for one that can.
std::string FaultOf(const StoreKind& kind, const PhoneItem& item, std::string_view text) {
  if (item.isFolder) return {};
  if (CountItems(kind, text) > 1) return kManyItems;
  return kind.isTree ? BookmarkFault(text) : std::string();
}

// A text of the phone as the PC side can take it.
std::string Taken(const StoreKind& kind, const PhoneItem& item, std::string_view text) {
  if (item.isFolder) return FolderText(PcNameOfFolder(item));
  return kind.isTree ? ForPc(text, item.name) : std::string(text);
}

}  // namespace

TextLook PlainLook(PcStore& store) {
  return [&store](int32_t, PhoneItem& item, std::string_view text) -> std::string {
    try {
      if (std::string fault = FaultOf(store.kind(), item, text); !fault.empty()) return fault;
      const ComPtr<IItemCommon> parsed = store.Parse(text);
      if (!parsed) return kNoItem;
      NoteText(*parsed, item);
      if (store.kind().isTree) item.says = MeaningOf(ForPc(text, item.name));
      return {};
    } catch (const AlienItem& error) {
      item.isAlien = true;
      return error.what();
    } catch (const ItemError& error) {
      return error.what();
    } catch (const StatusError& error) {
      return StatusWords(error.status());
    }
  };
}

Inventory Survey::Load(DS_SYNCTYPE mode, std::vector<RecordRow> records,
                       const std::vector<FolderEntry>& files, int64_t recordNs) {
  sides_.isTree = pc_.kind().isTree;
  sides_.records = std::move(records);
  pc_.ReadItems(sides_.pc, sides_.pcCount, mode == DS_SYNCTYPE_SLOW);
  recordNs_ = recordNs;
  if (sides_.isTree) FollowRecords();
  ScanFor(mode, files, recordNs);
  if (mode == DS_SYNCTYPE_SLOW) {
    LinkSlow(sides_, matches_);
  } else {
    LinkByRecord(sides_);
  }
  MatchOccurrences();
  MatchFolders();
  MatchLone();
  LinkRemaining(sides_, matches_);
  // What lies in a folder that is known by now may be matched too.
  while (sides_.isTree && LinkMovedFolders(sides_)) {
    MatchFolders();
    MatchLone();
  }
  if (sides_.isTree) {
    FindParents(sides_);
    JudgeTree(mode);
  }
  CompareLinks(mode);
  return std::move(sides_);
}

template <class Body>
bool Survey::Try(const char*& side, const std::string& item, Body&& body) {
  try {
    body();
    return true;
  } catch (const ItemError& error) {
    failed_.push_back({side, item, error.what()});
  } catch (const StatusError& error) {
    failed_.push_back({side, item, StatusWords(error.status())});
  }
  CheckStop();
  pc_.RequireDatabase();
  return false;
}

void Survey::ScanFor(DS_SYNCTYPE mode, const std::vector<FolderEntry>& files, int64_t recordNs) {
  ScanRules rules;
  rules.recordNs = recordNs;
  rules.isTree = sides_.isTree;
  TextLook look = PlainLook(pc_);
  if (mode == DS_SYNCTYPE_SLOW) {
    pc_.PrepareSlowSync();
    CheckStop();
    rules.readAll = true;
    for (int32_t i = 0; i < IndexOf(sides_.pc); ++i) pcById_.emplace(At(sides_.pc, i).id, i);
    look = [this](int32_t index, PhoneItem& item, std::string_view text) {
      return LookAndMatch(index, item, text);
    };
  }
  sides_.phone = ScanPhone(phone_, files, sides_.records, rules, look, failed_);
  pcById_.clear();
}

std::string Survey::LookAndMatch(int32_t index, PhoneItem& item, std::string_view phoneText) {
  if (std::string fault = FaultOf(pc_.kind(), item, phoneText); !fault.empty()) return fault;
  const std::string text = Taken(pc_.kind(), item, phoneText);
  Duplicate duplicate;
  std::string reason;
  SlowMatch match;
  match.phone = index;
  try {
    const ComPtr<IItemCommon> parsed = ParseInPlace(item, text, duplicate);
    if (!parsed) return kNoItem;
    NoteText(*parsed, item);
    if (sides_.isTree && !item.isFolder) item.says = MeaningOf(text);
    if (duplicate.sourceUid.empty()) return {};
    if (item.isFolder) {
      match.content = ContentMatch::Identical;
      matchedFolders_[item.name] = duplicate.sourceUid;
    } else {
      const PcText onPc = pc_.Get(duplicate.sourceUid, false);
      match.pcUid = UidOf(*onPc.item);
      match.newer = NewerSide(duplicate.winner, AgeOf(item, *parsed), *onPc.item);
      match.content = Compare(pc_, *parsed, *onPc.item);
    }
  } catch (const AlienItem& error) {
    item.isAlien = true;
    reason = error.what();
  } catch (const ItemError& error) {
    reason = error.what();
  } catch (const StatusError& error) {
    reason = StatusWords(error.status());
  }
  CheckStop();
  if (!reason.empty()) pc_.RequireDatabase();
  // Also after a failure: what is known to be a pair must not be added to the other side.
  if (const auto found = pcById_.find(duplicate.sourceUid); found != pcById_.end()) {
    match.pc = found->second;
    matches_.push_back(std::move(match));
  }
  return reason;
}

// Where on the PC an item's own folder was found, in a slow sync; nothing when it was not. A folder
// stands before what is in it.
std::optional<PcPlace> Survey::MatchedPlace(const PhoneItem& item) const {
  PcPlace place;
  place.isFolder = item.isFolder;
  const std::string_view folder = FolderOfName(item.name);
  if (folder.empty()) return place;
  const auto found = matchedFolders_.find(std::string(folder));
  if (found == matchedFolders_.end()) return std::nullopt;
  place.parent = found->second;
  return place;
}

ComPtr<IItemCommon> Survey::ParseInPlace(const PhoneItem& item, std::string_view text,
                                         Duplicate& duplicate) {
  const std::optional<PcPlace> place = MatchedPlace(item);
  if (place) return pc_.ParseAndMatch(text, *place, duplicate);
  return item.isFolder ? pc_.ParseFolder(text) : pc_.Parse(text);
}

std::vector<LoneItem> Survey::PhonePrints(const std::vector<int32_t>& links) {
  std::vector<LoneItem> items;
  items.reserve(links.size());
  for (const int32_t link : links) {
    PhoneItem& item = At(sides_.phone, At(sides_.links, link).phone);
    LoneItem lone{link, item.uid, std::nullopt};
    if (sides_.isTree) {
      items.push_back(LoneInTree(link));
      continue;
    }
    const char* side = "phone";
    const bool done = Try(side, item.name, [&] {
      const ComPtr<IItemCommon> parsed = pc_.Parse(Taken(pc_.kind(), item, TextOf(phone_, item)));
      if (!parsed) throw ItemError(kNoItem);
      lone.print = PrintOf(pc_, *parsed);
    });
    if (!done) item.change = PhoneChange::Unreadable;
    items.push_back(std::move(lone));
  }
  return items;
}

std::vector<LoneItem> Survey::PcPrints(const std::vector<int32_t>& links) {
  std::vector<LoneItem> items;
  items.reserve(links.size());
  for (const int32_t link : links) {
    const std::u16string& id = At(sides_.pc, At(sides_.links, link).pc).id;
    LoneItem lone{link, {}, std::nullopt};
    bool isRead = false;
    // An item that is not recognised may be doubled, so what fails once is tried again. What fails
    // twice matches nothing; the run will tell.
    for (int tries = 0; tries < 2 && !isRead; ++tries) {
      CheckStop();
      try {
        const PcText onPc = pc_.Get(id, false);
        lone.uid = UidOf(*onPc.item);
        if (sides_.isTree) NoteOnPc(At(sides_.links, link), *onPc.item, lone);
        if (!sides_.isTree) lone.print = PrintOf(pc_, *onPc.item);
        isRead = true;
      } catch (const ItemError&) {
      } catch (const StatusError&) {
      }
    }
    if (!isRead) pc_.RequireDatabase();
    items.push_back(std::move(lone));
  }
  return items;
}

// The series of a lone exception is known by the uid that the phone has for it.
void Survey::MatchOccurrences() {
  const std::vector<int32_t> exceptions = OpenExceptionLinks(sides_);
  if (exceptions.empty()) return;
  std::unordered_map<std::u16string_view, int32_t> seriesByUid;
  for (const ItemLink& link : sides_.links) {
    if (link.pc >= 0 && link.phone >= 0)
      seriesByUid.emplace(At(sides_.phone, link.phone).uid, link.pc);
  }
  std::vector<OccurrenceMatch> matches;
  for (const int32_t link : exceptions) {
    CheckStop();
    PhoneItem& item = At(sides_.phone, At(sides_.links, link).phone);
    const auto series = seriesByUid.find(item.seriesUid);
    if (series == seriesByUid.end()) continue;
    const char* side = "phone";
    const bool done = Try(side, item.name, [&] {
      OccurrenceMatch match{
          link, pc_.SameOccurrence(At(sides_.pc, series->second).id, TextOf(phone_, item))};
      if (!match.pcId.empty()) matches.push_back(std::move(match));
    });
    if (!done) item.change = PhoneChange::Unreadable;
  }
  LinkOccurrences(sides_, matches);
}

// What was made on both sides, or was on its way when a run ended, is one item and not two.
void Survey::MatchLone() {
  if (sides_.isTree) FindParents(sides_);
  std::vector<int32_t> phone = LonePhoneLinks(sides_);
  std::vector<int32_t> pc = LonePcLinks(sides_);
  if (sides_.isTree) {
    std::erase_if(phone,
                  [&](int32_t i) { return At(sides_.phone, At(sides_.links, i).phone).isFolder; });
    std::erase_if(pc, [&](int32_t i) { return At(sides_.pc, At(sides_.links, i).pc).isFolder; });
  }
  if (phone.empty() || pc.empty()) return;
  LinkLone(sides_, PhonePrints(phone), PcPrints(pc));
}

bool Survey::NeedsWinner(DS_SYNCTYPE mode, const ItemLink& link) const {
  const bool differs =
      link.changes.areKnown ? IsDisputed(sides_, link) : link.content == ContentMatch::Different;
  return link.newer == Winner::None && differs && MoveOf(mode, sides_, link) == Move::Settle;
}

void Survey::CompareLinks(DS_SYNCTYPE mode) {
  for (ItemLink& link : sides_.links) {
    const bool compare = NeedsContent(mode, sides_, link);
    if (!compare && !NeedsWinner(mode, link)) continue;
    CheckStop();
    PhoneItem& item = At(sides_.phone, link.phone);
    const char* side = "phone";
    const bool done = Try(side, item.name, [&] {
      const std::u16string& id = At(sides_.pc, link.pc).id;
      if (item.isFolder) {
        const bool same = At(sides_.pc, link.pc).title == PcNameOfFolder(item);
        link.content = same ? ContentMatch::Identical : ContentMatch::Different;
        return;
      }
      const std::string text = Taken(pc_.kind(), item, TextOf(phone_, item));
      side = "pc";
      const PcText onPc = pc_.Get(id, false);
      side = "phone";
      const ComPtr<IItemCommon> parsed = pc_.Parse(text);
      if (!parsed) throw ItemError(kNoItem);
      const PhoneAge age = AgeOf(item, *parsed);
      if (compare) {
        link.adoptUid = MustAdopt(item, UidOf(*onPc.item));
        link.content = Compare(pc_, *parsed, *onPc.item);
      }
      if (NeedsWinner(mode, link)) {
        link.newer = sides_.isTree && link.changes.pcTitle
                         ? NewerThanRename(age, At(sides_.pc, link.pc).file)
                         : NewerSide(pc_.WhoIsNewer(id, text), age, *onPc.item);
      }
    });
    // Left alone in this run.
    if (!done) item.change = PhoneChange::Unreadable;
  }
}

}  // namespace qv
