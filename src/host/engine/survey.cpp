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
constexpr const char* kManyItems = "it holds more than one item; each must have a file of its own";

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

// Without the numbers at its end that a name gets where it is taken.
std::u16string_view WithoutNumbers(std::u16string_view name) {
  while (name.ends_with(u')')) {
    const size_t open = name.find_last_not_of(u"0123456789", name.size() - 2);
    if (open == 0 || open == name.npos || name[open] != u'(' || open + 2 == name.size()) break;
    name = name.substr(0, open);
  }
  return name;
}

}  // namespace

TextLook PlainLook(PcStore& store) {
  return [&store](int32_t, PhoneItem& item, std::string_view text) -> std::string {
    try {
      if (std::string fault = FaultOf(store.kind(), item, text); !fault.empty()) return fault;
      const ComPtr<IItemCommon> parsed = store.Parse(text);
      if (!parsed) return kNoItem;
      NoteText(*parsed, item);
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
  if (sides_.isTree) FindTouchedFolders();
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
  CompareLinks(mode);
  if (sides_.isTree) FindParents(sides_);
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
  rules.isTouched = sides_.isTree && IsCollectionTouched(phone_, recordNs);
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
    LoneItem lone{link, item.uid, std::nullopt, {}};
    if (sides_.isTree) lone.place = PcPlaceOf(sides_, At(sides_.links, link));
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
    LoneItem lone{link, {}, std::nullopt, At(sides_.pc, At(sides_.links, link).pc).parent};
    // An item that is not recognised may be doubled, so what fails once is tried again. What fails
    // twice matches nothing; the run will tell.
    for (int tries = 0; tries < 2 && !lone.print; ++tries) {
      CheckStop();
      try {
        const PcText onPc = pc_.Get(id, false);
        lone.uid = UidOf(*onPc.item);
        lone.print = PrintOf(pc_, *onPc.item);
      } catch (const ItemError&) {
      } catch (const StatusError&) {
      }
    }
    if (!lone.print) pc_.RequireDatabase();
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

void Survey::MatchFolders() {
  if (!sides_.isTree) return;
  LinkFoldersByName(sides_, [this](const PcItem& item) { return pc_.FolderName(item.id); });
}

void Survey::FindTouchedFolders() {
  constexpr int64_t kSlack = 2;  // seconds: coarse stamps, and the end of the last run itself
  const int64_t since = recordNs_ / 1'000'000'000 - kSlack;
  rootTouched_ = pc_.RootChangedSince(since);
  for (const PcItem& item : sides_.pc) {
    if (!item.isFolder || item.change == PcChange::Gone) continue;
    const bool own = UnixSecondsFromDate(LocalToUtc(item.modified, true).value) >= since;
    // A folder stands behind the one that it is in.
    if (own || IsTouched(item)) touched_.insert(item.id);
  }
}

bool Survey::IsTouched(const PcItem& item) const {
  return item.parent == u"/" ? rootTouched_ : touched_.contains(item.parent);
}

// The store renames a folder and keeps its number, as for another phone.
void Survey::FindRenamedFolders() {
  for (ItemLink& link : sides_.links) {
    if (link.phone < 0 || link.pc < 0 || link.record < 0) continue;
    const PhoneItem& item = At(sides_.phone, link.phone);
    const PcItem& onPc = At(sides_.pc, link.pc);
    if (!item.isFolder || item.change != PhoneChange::Same || onPc.change != PcChange::Same ||
        !IsTouched(onPc)) {
      continue;
    }
    const std::u16string name = pc_.FolderName(onPc.id);
    if (!EqualsIgnoreCase(WithoutNumbers(name), WithoutNumbers(PcNameOfFolder(item)))) {
      At(sides_.pc, link.pc).change = PcChange::Changed;
    }
  }
}

// A file that was renamed keeps its time. Where it now has the name of another one of the same time
// only its address tells that it is not that one: it differs from the phone's, or, where the
// phone's has changed too, it is that of one that is gone.
void Survey::FindUnseenChanges() {
  std::unordered_set<int64_t> times;
  std::unordered_set<std::u16string> goneUrls;
  std::vector<int32_t> suspects;
  for (const PcItem& item : sides_.pc) {
    if (item.change == PcChange::Gone) times.insert(UnixSecondsFromDate(item.modified));
  }
  std::unordered_map<int64_t, int> ofTime;
  for (const PcItem& item : sides_.pc) {
    if (!item.isFolder) ++ofTime[UnixSecondsFromDate(item.modified)];
  }
  for (int32_t i = 0; i < IndexOf(sides_.links); ++i) {
    const ItemLink& link = At(sides_.links, i);
    if (link.pc < 0 || link.record < 0) continue;
    const bool onPhone = link.phone >= 0;
    const PcItem& onPc = At(sides_.pc, link.pc);
    if (onPc.isFolder) continue;
    if (onPhone && At(sides_.phone, link.phone).change == PhoneChange::Unreadable) continue;
    if (onPhone && onPc.change == PcChange::Gone) goneUrls.insert(PhoneUrl(link));
    const int64_t time = UnixSecondsFromDate(onPc.modified);
    const bool sameTime = times.contains(time) || (IsTouched(onPc) && ofTime[time] > 1);
    if (onPc.change == PcChange::Same && sameTime) suspects.push_back(i);
  }
  for (const int32_t i : suspects) {
    CheckStop();
    const ItemLink& link = At(sides_.links, i);
    PcItem& onPc = At(sides_.pc, link.pc);
    const bool canCompare =
        link.phone >= 0 && At(sides_.phone, link.phone).change == PhoneChange::Same;
    const char* side = "pc";
    Try(side, At(sides_.records, link.record).name, [&] {
      const std::u16string url = UrlOf(*pc_.Get(onPc.id, false).item);
      const bool changed = canCompare ? url != PhoneUrl(link) : goneUrls.contains(url);
      if (changed) onPc.change = PcChange::Changed;
    });
  }
}

// Empty for one that cannot be read.
std::u16string Survey::PhoneUrl(const ItemLink& link) {
  PhoneItem& item = At(sides_.phone, link.phone);
  std::u16string url;
  const char* side = "phone";
  const bool done = Try(side, item.name, [&] {
    if (const auto parsed = pc_.Parse(TextOf(phone_, item))) url = UrlOf(*parsed);
  });
  if (!done) item.change = PhoneChange::Unreadable;
  return url;
}

// On the PC a number stands for a path. What was put in the place of another one looks like that
// one changed; what it holds tells that it is one that went from its own place.
void Survey::MatchExchanged() {
  std::vector<int32_t> gone;
  std::vector<int32_t> changed;
  for (int32_t i = 0; i < IndexOf(sides_.links); ++i) {
    const ItemLink& link = At(sides_.links, i);
    if (link.pc < 0 || link.record < 0 || At(sides_.pc, link.pc).isFolder) continue;
    const PcChange change = At(sides_.pc, link.pc).change;
    if (change == PcChange::Changed) changed.push_back(i);
    const bool readable =
        link.phone >= 0 && At(sides_.phone, link.phone).change != PhoneChange::Unreadable;
    if (change == PcChange::Gone && readable) gone.push_back(i);
  }
  if (gone.empty() || changed.empty()) return;
  LinkExchanged(sides_, PhonePrints(gone), PcPrints(changed));
}

// What was made on both sides, or was on its way when a run ended, is one item and not two.
void Survey::MatchLone() {
  if (sides_.isTree) {
    FindParents(sides_);
    FindRenamedFolders();
    FindUnseenChanges();
    MatchExchanged();
  }
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
  return link.newer == Winner::None && link.content == ContentMatch::Different &&
         MoveOf(mode, sides_, link) == Move::Settle;
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
        const bool same = pc_.FolderName(id) == PcNameOfFolder(item);
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
        link.newer = NewerSide(pc_.WhoIsNewer(id, text), age, *onPc.item);
      }
    });
    // Left alone in this run.
    if (!done) item.change = PhoneChange::Unreadable;
  }
}

}  // namespace qv
