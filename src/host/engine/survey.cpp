#include "host/engine/survey.h"

#include <utility>

#include "host/engine/plan.h"
#include "host/engine/report_words.h"
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
  return age;
}

}  // namespace

TextLook PlainLook(PcStore& store) {
  return [&store](int32_t, PhoneItem& item, std::string_view text) -> std::string {
    try {
      const ComPtr<IItemCommon> parsed = store.Parse(text);
      if (!parsed) return kNoItem;
      if (CountItems(store.kind(), text) > 1) return kManyItems;
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
  sides_.records = std::move(records);
  pc_.ReadItems(sides_.pc, sides_.pcCount, mode == DS_SYNCTYPE_SLOW);
  ScanFor(mode, files, recordNs);
  if (mode == DS_SYNCTYPE_SLOW) {
    LinkSlow(sides_, matches_);
  } else {
    LinkByRecord(sides_);
  }
  MatchOccurrences();
  MatchLone();
  LinkRemaining(sides_, matches_);
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

std::string Survey::LookAndMatch(int32_t index, PhoneItem& item, std::string_view text) {
  if (CountItems(pc_.kind(), text) > 1) return kManyItems;
  Duplicate duplicate;
  std::string reason;
  SlowMatch match;
  match.phone = index;
  try {
    const ComPtr<IItemCommon> parsed = pc_.ParseAndMatch(text, duplicate);
    if (!parsed) return kNoItem;
    NoteText(*parsed, item);
    if (duplicate.sourceUid.empty()) return {};
    const PcText onPc = pc_.Get(duplicate.sourceUid, false);
    match.pcUid = UidOf(*onPc.item);
    match.newer = NewerSide(duplicate.winner, AgeOf(item, *parsed), *onPc.item);
    match.content = Compare(pc_, *parsed, *onPc.item);
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

std::vector<LoneItem> Survey::PhonePrints(const std::vector<int32_t>& links) {
  std::vector<LoneItem> items;
  items.reserve(links.size());
  for (const int32_t link : links) {
    PhoneItem& item = At(sides_.phone, At(sides_.links, link).phone);
    LoneItem lone{link, item.uid, std::nullopt};
    const char* side = "phone";
    const bool done = Try(side, item.name, [&] {
      const ComPtr<IItemCommon> parsed = pc_.Parse(TextOf(phone_, item));
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

// What was made on both sides, or was on its way when a run ended, is one item and not two.
void Survey::MatchLone() {
  const std::vector<int32_t> phone = LonePhoneLinks(sides_);
  if (phone.empty()) return;
  const std::vector<int32_t> pc = LonePcLinks(sides_);
  if (pc.empty()) return;
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
      const std::string text = TextOf(phone_, item);
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
