// Series and exceptions under any edits on both sides: what somebody wrote and nobody took back is
// on both sides or put aside, and both sides agree.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>

#include "host/engine_rig.h"
#include "host/series_texts.h"
#include "support/date_time.h"

namespace qv {
namespace {

using test::Rig;

constexpr const char* kOccurrences[] = {"20240331T150000Z", "20240407T150000Z", "20240414T150000Z"};
constexpr size_t kPlaces = 1 + std::size(kOccurrences);  // the series, then its exceptions

enum class Op : int { PcPut, PcDelete, PhonePut, PhoneDelete, Sync, SlowSync };

struct Action {
  Op op = Op::Sync;
  size_t series = 0;
  size_t place = 0;
};

std::ostream& operator<<(std::ostream& out, const Action& action) {
  constexpr const char* kWords[] = {"PcPut", "PcDelete", "PhonePut", "PhoneDelete", "Sync", "Slow"};
  return out << kWords[static_cast<int>(action.op)] << " " << action.series << "/" << action.place;
}

class World {
 public:
  explicit World(const char* zone) { rig_.zone.Set(ParsePosixZone(zone)); }

  void Do(const Action& action) {
    rig_.clock.Advance(60);
    switch (action.op) {
      case Op::PcPut:
        return PcPut(action.series, action.place);
      case Op::PcDelete:
        return PcDelete(action.series, action.place);
      case Op::PhonePut:
        return PhonePut(action.series, action.place);
      case Op::PhoneDelete:
        return PhoneDelete(action.series, action.place);
      case Op::Sync:
        return Sync(DS_SYNCTYPE_NONE);
      case Op::SlowSync:
        return Sync(DS_SYNCTYPE_SLOW);
    }
  }

  void Sync(DS_SYNCTYPE mode) {
    SyncOptions options;
    options.allowMassDelete = true;
    const StoreReport report = rig_.Sync(mode, options);
    RC_ASSERT(report.message == std::string());
    for (const ItemFailure& failure : report.failed) RC_LOG() << failure.item << failure.reason;
    RC_ASSERT(report.failed.empty());
    RC_ASSERT(rig_.PcContents() == rig_.PhoneContents());
    RequireSeries();
    RequireWritten();
    RequireOccurrences();
    const StoreReport again = rig_.Sync(DS_SYNCTYPE_NONE, options);
    for (const SideCounts& counts : {again.pc, again.phone}) {
      RC_ASSERT(counts.added + counts.replaced + counts.deleted == 0);
    }
  }

 private:
  // "S1a/0 w7": the series itself in the seventh writing. A series that is made anew is another.
  std::string NameOf(size_t series, size_t place) const {
    return "S" + std::to_string(series) + std::string(lives_[series], 'a') + "/" +
           std::to_string(place);
  }
  std::string NewSubject(size_t series, size_t place) {
    return NameOf(series, place) + " w" + std::to_string(++writings_) + ".";
  }
  static bool Is(const std::string& text, const std::string& name) {
    return text.find("SUMMARY:" + name + " ") != text.npos;
  }
  static std::string WritingOf(const std::string& text) {
    const size_t from = text.find(" w", text.find("SUMMARY:"));
    return text.substr(from, text.find('.', from) + 1 - from);
  }

  std::u16string PcId(size_t series, size_t place) {
    for (const auto& [id, text] : rig_.PcItems()) {
      if (Is(text, NameOf(series, place))) return id;
    }
    return {};
  }
  std::string File(size_t series, size_t place) const {
    for (const auto& [name, text] : rig_.PhoneFiles()) {
      if (Is(text, NameOf(series, place))) return name;
    }
    return {};
  }

  void Wrote(std::set<std::string>& side, const std::string& old, const std::string& subject) {
    if (!old.empty()) side.erase(WritingOf(old));
    side.insert(subject.substr(subject.find(" w")));
  }

  void PcPut(size_t series, size_t place) {
    const std::u16string id = PcId(series, place);
    const std::u16string seriesId = PcId(series, 0);
    if (seriesId.empty() && (place != 0 || !File(series, 0).empty())) return;
    if (seriesId.empty()) ++lives_[series];
    const std::string old = id.empty() ? std::string() : rig_.PcItems()[id];
    const std::string subject = NewSubject(series, place);
    Wrote(pcWrote_, old, subject);
    if (place != 0) {
      const std::string text = test::Exception(subject, kOccurrences[place - 1]);
      id.empty() ? void(rig_.PcAddException(seriesId, text)) : rig_.PcEdit(id, text);
    } else if (id.empty()) {
      rig_.PcAdd(test::Series(subject));
    } else {
      // As a person does: the entries of deleted occurrences stay.
      rig_.PcEdit(id, WithSubject(old, subject));
    }
  }

  void PcDelete(size_t series, size_t place) {
    const std::u16string id = PcId(series, place);
    if (id.empty()) return;
    for (const auto& [other, text] : rig_.PcItems()) {
      if (other == id || (place == 0 && SeriesPartOf(other) == id)) {
        pcWrote_.erase(WritingOf(text));
      }
    }
    rig_.PcDelete(id);
  }

  void PhonePut(size_t series, size_t place) {
    const std::string seriesFile = File(series, 0);
    if (seriesFile.empty() && (place != 0 || !PcId(series, 0).empty())) return;
    if (seriesFile.empty()) ++lives_[series];
    const std::string file = File(series, place);
    const std::string old = file.empty() ? std::string() : rig_.PhoneFiles()[file];
    const std::string subject = NewSubject(series, place);
    Wrote(phoneWrote_, old, subject);
    const std::string uid = "phone-" + std::to_string(writings_);
    std::string text;
    if (!old.empty()) {
      text = WithSubject(old, subject);
    } else if (place == 0) {
      text = test::Series(subject, uid);
    } else {
      const auto item = ReadItem(rig_.kind, rig_.PhoneFiles()[seriesFile]);
      text = test::Exception(subject, kOccurrences[place - 1], uid,
                             ToUtf8(CalendarOf(item.get())->fields.objUid));
    }
    rig_.PhonePut(file.empty() ? uid + ".vcs" : file, WithTime(text));
  }

  // The phone's user deletes a series as a whole.
  void PhoneDelete(size_t series, size_t place) {
    for (size_t p = 0; p < kPlaces; ++p) {
      if (place != 0 && p != place) continue;
      const std::string file = File(series, p);
      if (file.empty()) continue;
      phoneWrote_.erase(WritingOf(rig_.PhoneFiles()[file]));
      rig_.PhoneDelete(file);
    }
  }

  static std::string WithSubject(std::string text, const std::string& subject) {
    const size_t from = text.find("SUMMARY:") + 8;
    return text.replace(from, text.find("\r\n", from) - from, subject);
  }
  std::string WithTime(std::string text) {
    if (const size_t old = text.find("LAST-MODIFIED:"); old != text.npos) {
      text.erase(old, text.find("\r\n", old) + 2 - old);
    }
    const DATE now = DateFromUnixSeconds(rig_.clock.UtcSeconds());
    return text.insert(text.find("SUMMARY:"),
                       "LAST-MODIFIED:" + ToUtf8(FormatCompactDateTime(now)) + "Z\r\n");
  }

  // Each exception hangs on a series that is there, on both sides.
  void RequireSeries() {
    const auto items = rig_.PcItems();
    for (const auto& [id, text] : items) {
      RC_ASSERT(!IsSubItemId(id) || items.contains(std::u16string(SeriesPartOf(id))));
    }
    std::set<std::u16string> uids;
    for (const auto& [name, text] : rig_.PhoneFiles()) {
      const auto item = ReadItem(rig_.kind, text);
      RC_ASSERT(uids.insert(CalendarOf(item.get())->fields.objUid).second);
    }
    for (const auto& [name, text] : rig_.PhoneFiles()) {
      const auto item = ReadItem(rig_.kind, text);
      const Calendar& calendar = *CalendarOf(item.get());
      RC_ASSERT(calendar.isRecurring || uids.contains(calendar.parentRecurUid));
    }
  }

  void RequireWritten() {
    std::string all;
    for (const std::string& text : rig_.PcContents()) all += text;
    for (const std::string& text : rig_.ConflictTexts()) all += text;
    for (const auto* side : {&pcWrote_, &phoneWrote_}) {
      for (const std::string& writing : *side) {
        RC_LOG() << "looking for" << writing << "\n";
        RC_ASSERT(all.find(writing) != all.npos);
      }
    }
    pcWrote_.clear();
    phoneWrote_.clear();
  }

  // One occurrence has one exception, on either side.
  void RequireOccurrences() {
    std::set<std::string> seen;
    for (const std::string& text : rig_.PhoneContents()) {
      const size_t from = text.find("SUMMARY:");
      const std::string name = text.substr(from, text.find(' ', from) - from);
      if (name.ends_with("/0")) continue;
      RC_ASSERT(seen.insert(name).second);
    }
  }

  Rig rig_{"calendar"};
  // Writings since the last sync that their own side still shows.
  std::set<std::string> pcWrote_;
  std::set<std::string> phoneWrote_;
  int writings_ = 0;
  size_t lives_[2] = {};
};

rc::Gen<Action> AnyAction() {
  const auto ops = rc::gen::weightedElement<Op>({{6, Op::PcPut},
                                                 {2, Op::PcDelete},
                                                 {6, Op::PhonePut},
                                                 {2, Op::PhoneDelete},
                                                 {5, Op::Sync},
                                                 {1, Op::SlowSync}});
  return rc::gen::build<Action>(rc::gen::set(&Action::op, ops),
                                rc::gen::set(&Action::series, rc::gen::inRange<size_t>(0, 2)),
                                rc::gen::set(&Action::place, rc::gen::inRange<size_t>(0, kPlaces)));
}

TEST(EngineSeriesModelTest, AnyEditsKeepSeriesWholeAndLoseNothing) {
  EXPECT_TRUE(rc::check([] {
    World world(test::kSeriesZones[*rc::gen::inRange<size_t>(0, std::size(test::kSeriesZones))]);
    const auto actions = *rc::gen::resize(30, rc::gen::container<std::vector<Action>>(AnyAction()));
    for (const Action& action : actions) world.Do(action);
    world.Sync(DS_SYNCTYPE_NONE);
  }));
}

}  // namespace
}  // namespace qv
