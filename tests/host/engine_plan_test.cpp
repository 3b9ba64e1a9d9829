#include <gtest/gtest.h>

#include "host/engine/links.h"
#include "host/engine/plan.h"
#include "host/engine/report_words.h"
#include "host/engine/safety.h"
#include "host/engine/sync.h"
#include "support/text.h"

namespace qv {
namespace {

// One recorded pair; a gone side is not there at all.
Inventory Pair(char pc, char phone, ContentMatch content, Winner newer) {
  Inventory sides;
  sides.records.push_back({"a.vcf", 0, 0, {}, {}, u"A"});
  ItemLink link;
  link.record = 0;
  link.content = content;
  link.newer = newer;
  if (pc != 'g') {
    link.pc = 0;
    sides.pc.push_back({u"A", 0,
                        pc == 's'   ? PcChange::Same
                        : pc == 'f' ? PcChange::Filtered
                                    : PcChange::Changed});
  }
  if (phone != 'g') {
    link.phone = 0;
    PhoneItem item;
    item.name = "a.vcf";
    item.record = 0;
    item.change = phone == 's'   ? PhoneChange::Same
                  : phone == 'c' ? PhoneChange::Changed
                                 : PhoneChange::Unreadable;
    sides.phone.push_back(item);
  }
  sides.links.push_back(link);
  return sides;
}

std::string ActWord(const PlanStep& step) {
  constexpr const char* kWords[] = {"adopt",  "pc+",  "pc~",      "pc>", "phone+", "phone>",
                                    "phone~", "pair", "remember", "pc-", "phone-", "forget"};
  return kWords[static_cast<size_t>(step.act)];
}

std::string Word(const SyncPlan& plan) {
  if (plan.steps.empty()) return ".";
  std::string word = ActWord(plan.steps[0]);
  constexpr const char* kConflicts[] = {"", " pc won", " phone won", " same"};
  return word + kConflicts[static_cast<size_t>(plan.steps[0].conflict)];
}

TEST(EnginePlanTest, ARecordedPairIsDecidedByModeAndByWhatChanged) {
  struct Row {
    const char* state;  // the PC's, then the phone's: same, changed, gone, unreadable
    const char* words[5];
  };
  const DS_SYNCTYPE kModes[] = {DS_SYNCTYPE_TWO_NORMAL, DS_SYNCTYPE_ONEFROM_CLIENT,
                                DS_SYNCTYPE_ONEFROM_SERVER, DS_SYNCTYPE_REFRESH_CLIENT,
                                DS_SYNCTYPE_REFRESH_SERVER};
  // two-way, from-phone, from-pc, refresh-from-phone, refresh-from-pc; contents differ, and the
  // phone's is the newer one.
  const Row kRows[] = {
      {"ss", {".", ".", ".", ".", "."}},
      {"sc", {"pc~", "pc~", ".", "pc~", "phone~"}},
      {"sg", {"pc-", "pc-", ".", "pc-", "phone+"}},
      {"cs", {"phone~", ".", "phone~", "pc~", "phone~"}},
      {"cc", {"pc~ phone won", "pc~ phone won", "phone~ pc won", "pc~ phone won", "phone~ pc won"}},
      {"cg", {"phone+", ".", "phone+", "pc-", "phone+"}},
      {"gs", {"phone-", ".", "phone-", "pc+", "phone-"}},
      {"gc", {"pc+", "pc+", ".", "pc+", "phone-"}},
      {"gg", {"forget", "forget", "forget", "forget", "forget"}},
      {"fs", {"phone-", ".", "phone-", ".", "phone-"}},
      {"fc", {"pc~ phone won", "pc~ phone won", ".", "pc~ phone won", "phone-"}},
      {"fg", {"forget", "forget", "forget", "forget", "forget"}},
      {"fu", {".", ".", ".", ".", "."}},
      {"su", {".", ".", ".", ".", "."}},
      {"cu", {".", ".", ".", ".", "."}},
      {"gu", {".", ".", ".", ".", "."}},
  };
  for (const Row& row : kRows) {
    const Inventory sides =
        Pair(row.state[0], row.state[1], ContentMatch::Different, Winner::Phone);
    for (size_t i = 0; i < std::size(kModes); ++i) {
      EXPECT_EQ(Word(BuildPlan(kModes[i], sides)), row.words[i])
          << row.state << " " << ModeName(kModes[i]);
    }
  }
}

TEST(EnginePlanTest, ContentsDecideWhereBothChanged) {
  struct Row {
    ContentMatch content;
    Winner newer;
    const char* twoWay;
    const char* slow;         // of a pair on record
    const char* slowOneSide;  // the PC alone has changed
  };
  const Row kRows[] = {
      {ContentMatch::Identical, Winner::None, "pair same", "pair same", "pair"},
      {ContentMatch::PhoneHasMore, Winner::Pc, "pc~", "pc~", "phone~"},
      {ContentMatch::PcHasMore, Winner::Phone, "phone~", "phone~", "phone~"},
      {ContentMatch::Different, Winner::Pc, "phone~ pc won", "phone~ pc won", "phone~"},
      {ContentMatch::Different, Winner::Phone, "pc~ phone won", "pc~ phone won", "phone~"},
  };
  for (const Row& row : kRows) {
    const Inventory both = Pair('c', 'c', row.content, row.newer);
    EXPECT_EQ(Word(BuildPlan(DS_SYNCTYPE_TWO_NORMAL, both)), row.twoWay);
    EXPECT_EQ(Word(BuildPlan(DS_SYNCTYPE_SLOW, both)), row.slow);
    const Inventory one = Pair('c', 's', row.content, row.newer);
    EXPECT_EQ(Word(BuildPlan(DS_SYNCTYPE_SLOW, one)), row.slowOneSide);
  }
  // What a killed slow sync noted too early shows in the contents. Where none was killed they are
  // only read otherwise than they were.
  const std::pair<ContentMatch, const char*> kUntouched[] = {
      {ContentMatch::Identical, "."},
      {ContentMatch::PhoneHasMore, "pc~"},
      {ContentMatch::PcHasMore, "phone~"},
      {ContentMatch::Different, "phone~ pc won"}};
  for (const auto& [content, word] : kUntouched) {
    Inventory sides = Pair('s', 's', content, Winner::Pc);
    EXPECT_EQ(Word(BuildPlan(DS_SYNCTYPE_SLOW, sides)), word);
    sides.isSettled = true;
    EXPECT_EQ(Word(BuildPlan(DS_SYNCTYPE_SLOW, sides)),
              content == ContentMatch::PhoneHasMore ? word : ".");
  }
}

// A series (link 0) and one exception of it, both on record unless the state is "n" for new on one
// side alone. States as above.
std::string SeriesPlan(const char* series, const char* exception, DS_SYNCTYPE mode) {
  Inventory sides;
  const auto add = [&](const char* state, std::u16string id, const char* file, bool isException) {
    ItemLink link;
    link.content = ContentMatch::Different;
    if (state[0] != 'n' && state[1] != 'n') {
      link.record = IndexOf(sides.records);
      sides.records.push_back({file, 0, 0, {}, isException ? u"e" : u"s", id});
    }
    const auto pcChange = [&] {
      return state[0] == 's'   ? PcChange::Same
             : state[0] == 'c' ? PcChange::Changed
             : state[0] == 'n' ? PcChange::New
                               : PcChange::Gone;
    };
    if (state[0] != '-') {
      link.pc = IndexOf(sides.pc);
      sides.pc.push_back({id, 0, pcChange()});
    }
    if (state[1] != '-' && state[1] != 'g') {
      PhoneItem item;
      item.name = file;
      item.uid = isException ? u"e" : u"s";
      if (isException) item.seriesUid = u"s";
      item.record = link.record;
      item.change = state[1] == 's'   ? PhoneChange::Same
                    : state[1] == 'n' ? PhoneChange::New
                                      : PhoneChange::Changed;
      link.phone = IndexOf(sides.phone);
      sides.phone.push_back(item);
    }
    sides.links.push_back(link);
  };
  add(series, u"A", "series", false);
  add(exception, u"Asub1", "exception", true);
  const SyncPlan plan = BuildPlan(mode, sides);
  std::string words;
  for (const PlanStep& step : plan.steps) {
    words += (words.empty() ? "" : " ") + ActWord(step) + (step.link == 0 ? "S" : "E");
  }
  return words + (plan.orphaned.empty() ? "" : " orphan");
}

TEST(EnginePlanTest, AnExceptionAndItsSeriesGoAndStayTogether) {
  struct Row {
    const char* series;
    const char* exception;
    const char* twoWay;
    const char* fromPhone;
  };
  const Row kRows[] = {
      {"sg", "sg", "pc-S pc-E", "pc-S pc-E"},
      {"sg", "ss", "pc-S phone-E", "pc-S phone-E"},
      {"sg", "sc", "pc-S orphan", "pc-S orphan"},
      {"sg", "-n", "pc-S orphan", "pc-S orphan"},
      {"sg", "cg", "phone+S phone+E", ""},
      {"sg", "n-", "phone+S phone+E", ""},
      {"cg", "sg", "phone+S phone+E", "pc-E"},
      {"gs", "gs", "phone-S phone-E", ""},
      {"gs", "gc", "pc+S pc+E", "pc+S pc+E"},
      {"gs", "-n", "pc+S pc+E", "pc+S pc+E"},
      {"gc", "gs", "pc+S pc+E", "pc+S pc+E"},
      {"ss", "sg", "pc-E phone~S", "pc-E"},
      {"sc", "sg", "pc~S pc-E phone~S", "pc~S pc-E"},
      {"cs", "sg", "pc-E phone~S", "pc-E"},
      {"ss", "gs", "phone-E", ""},
      {"ns", "-n", "pc+E phone~S", "pc~S pc+E"},
      {"-n", "-n", "pc+S pc+E", "pc+S pc+E"},
      {"n-", "n-", "phone+S phone+E", ""},
      {"sc", "sc", "pc~S pc~E", "pc~S pc~E"},
  };
  for (const Row& row : kRows) {
    EXPECT_EQ(SeriesPlan(row.series, row.exception, DS_SYNCTYPE_TWO_NORMAL), row.twoWay)
        << row.series << " " << row.exception;
    EXPECT_EQ(SeriesPlan(row.series, row.exception, DS_SYNCTYPE_ONEFROM_CLIENT), row.fromPhone)
        << row.series << " " << row.exception;
  }
}

TEST(EnginePlanTest, ADeletionByTheFilterSaysSo) {
  Inventory sides;
  sides.records.resize(100);
  sides.phone.resize(100);
  sides.pcCount = 100;
  SyncPlan plan;
  plan.phoneDeletes = 60;
  EXPECT_EQ(SafetyStop(plan, sides, "calendar").find("filter"), std::string::npos);
  plan.phoneFiltered = 55;
  const std::string stop = SafetyStop(plan, sides, "calendar");
  EXPECT_NE(stop.find("55 of them only because the filter"), std::string::npos) << stop;
}

TEST(EnginePlanTest, TheSafetyStopKnowsWorkFromALostSide) {
  struct Row {
    size_t records;
    int64_t pc;
    size_t phone;
    int64_t pcDeletes;
    int64_t phoneDeletes;
    bool stops;
  };
  const Row kRows[] = {
      {0, 0, 0, 0, 0, false},      {0, 100, 0, 0, 0, false},  {1, 1, 0, 1, 0, true},
      {5, 0, 5, 0, 5, true},       {10, 10, 1, 10, 0, false}, {20, 20, 9, 11, 0, true},
      {22, 22, 11, 11, 0, false},  {20, 9, 20, 0, 11, true},  {100, 50, 100, 0, 50, false},
      {100, 49, 100, 0, 51, true},
  };
  for (const Row& row : kRows) {
    Inventory sides;
    sides.records.resize(row.records);
    sides.phone.resize(row.phone);
    sides.pcCount = row.pc;
    SyncPlan plan;
    plan.pcDeletes = row.pcDeletes;
    plan.phoneDeletes = row.phoneDeletes;
    const std::string stop = SafetyStop(plan, sides, "contacts");
    EXPECT_EQ(!stop.empty(), row.stops) << row.records << " " << row.pc << " " << row.phone;
    if (!row.stops) continue;
    EXPECT_NE(stop.find("the PC holds " + std::to_string(row.pc) + " contacts"), stop.npos) << stop;
    EXPECT_NE(stop.find("--allow-mass-delete"), stop.npos) << stop;
  }
}

TEST(EnginePlanTest, AddingMoreThanASideHoldsAsksFirst) {
  struct Row {
    DS_SYNCTYPE mode;
    bool isFirst;
    int64_t pc;
    size_t phone;
    size_t pcAdds;
    size_t phoneAdds;
    const char* stops;  // the side; null for none
  };
  constexpr DS_SYNCTYPE kTwoWay = DS_SYNCTYPE_TWO_NORMAL;
  const Row kRows[] = {
      {kTwoWay, false, 50, 50, 100, 0, nullptr},
      {kTwoWay, false, 50, 50, 101, 0, "101 contacts to the 50 on the PC"},
      {kTwoWay, false, 50, 50, 0, 101, "101 contacts to the 50 on the phone"},
      {kTwoWay, false, 200, 200, 200, 200, nullptr},
      {kTwoWay, false, 200, 200, 201, 0, "201 contacts to the 200 on the PC"},
      {kTwoWay, false, 0, 500, 500, 0, nullptr},
      {DS_SYNCTYPE_SLOW, true, 50, 500, 500, 0, nullptr},
      {DS_SYNCTYPE_SLOW, false, 50, 500, 500, 0, "500 contacts to the 50 on the PC"},
      {DS_SYNCTYPE_ONEFROM_CLIENT, false, 50, 500, 500, 0, "500 contacts to the 50 on the PC"},
      {DS_SYNCTYPE_REFRESH_CLIENT, false, 50, 500, 500, 0, nullptr},
  };
  for (const Row& row : kRows) {
    Inventory sides;
    sides.phone.resize(row.phone);
    sides.pcCount = row.pc;
    SyncPlan plan;
    plan.mode = row.mode;
    plan.pcAdds = static_cast<int64_t>(row.pcAdds);
    plan.phoneAdds = static_cast<int64_t>(row.phoneAdds);
    PlanStep step;
    step.act = Act::PcAdd;
    plan.steps.assign(row.pcAdds, step);
    step.act = Act::PhoneAdd;
    plan.steps.insert(plan.steps.end(), row.phoneAdds, step);
    SafetyRules rules;
    rules.isFirst = row.isFirst;
    int names = 0;
    rules.nameOf = [&](const PlanStep&) { return "Nr " + std::to_string(++names); };
    const std::string stop = SafetyStop(plan, sides, "contacts", rules);
    if (row.stops == nullptr) {
      EXPECT_EQ(stop, "");
      continue;
    }
    const size_t more = row.pcAdds + row.phoneAdds - 3;
    EXPECT_EQ(stop, "this would add " + std::string(row.stops) + " (Nr 1, Nr 2, Nr 3 and " +
                        std::to_string(more) +
                        " more). Nothing was changed. If this is meant, run the sync again with "
                        "--allow-mass-add.");
    rules.allowMassAdd = true;
    EXPECT_EQ(SafetyStop(plan, sides, "contacts", rules), "");
  }
}

TEST(ReportWordsTest, NumbersAndLongNamesDoNotReachAPerson) {
  for (const HRESULT status : {E_FAIL, E_INVALIDARG, DS_E_BOOKMARK, StatusFromBits(0x80131500u)}) {
    const std::string words = DatabaseReason().Explain("the PC cannot take it", status);
    EXPECT_EQ(words.find_first_of("0123456789"), words.npos) << words;
    EXPECT_EQ(words.find("the PC cannot take it"), 0u);
    EXPECT_NE(StatusWords(status), "");
  }
  const std::tuple<const char*, std::string, std::string> kNames[] = {
      {"a.vcf", "", "a.vcf"},
      {"a.vcf", "Ann", "a.vcf (Ann)"},
      {"News.vbm", "News", "News.vbm"},
      {"Work/News.vbm", "News", "Work/News.vbm"},
      {"Work/News(2).vbm", "News", "Work/News(2).vbm (News)"},
      {"a.vcf", std::string(80, 'x'), "a.vcf (" + std::string(59, 'x') + "\u2026)"},
  };
  for (const auto& [item, name, shown] : kNames) EXPECT_EQ(WithName(item, name), shown);
}

// Sides with so many phone items and PC items, with uids or record numbers where given.
Inventory Sides(std::vector<std::u16string> phoneUids, size_t pc) {
  Inventory sides;
  for (std::u16string& uid : phoneUids) {
    PhoneItem item;
    item.name = "f" + std::to_string(sides.phone.size()) + ".vcf";
    item.uid = std::move(uid);
    sides.phone.push_back(std::move(item));
  }
  for (size_t i = 0; i < pc; ++i) sides.pc.push_back({Decimal(static_cast<int64_t>(i)), 0, {}});
  return sides;
}

// "phone>pc" for each pair, in order.
std::string Pairs(const Inventory& sides) {
  std::string text;
  for (const ItemLink& link : sides.links) {
    if (link.phone < 0 || link.pc < 0) continue;
    text += std::to_string(link.phone) + ">" + std::to_string(link.pc) + " ";
  }
  return text;
}

TEST(EngineLinksTest, UidsThenTheRecordThenContentsGoBeforeEqualKeyTexts) {
  constexpr auto kSame = ContentMatch::Identical;
  constexpr auto kOther = ContentMatch::Different;
  struct Row {
    const char* what;
    std::vector<std::u16string> phoneUids;
    std::vector<int32_t> recordedPc;  // by phone item, -1 for none
    std::vector<SlowMatch> matches;
    const char* paired;
    size_t left;  // matches for LinkRemaining
  };
  const Row kRows[] = {
      {"each met the other's partner",
       {u"u0", u"u1"},
       {-1, -1},
       {{0, 1, u"u1", kOther}, {1, 0, u"u0", kOther}},
       "0>0 1>1 ",
       0},
      {"the record knows better",
       {u"x", u"y"},
       {0, 1},
       {{0, 1, u"p", kOther}, {1, 0, u"q", kOther}},
       "0>0 1>1 ",
       0},
      {"equal content is as good as a uid",
       {u"x", u""},
       {-1, -1},
       {{0, 1, u"p", kSame}},
       "0>1 ",
       0},
      {"what differs waits", {u"x", u"y"}, {-1, -1}, {{0, 1, u"p", kOther}}, "", 1},
      {"a pair on record that the store cannot see", {u"", u""}, {1, -1}, {}, "0>1 ", 0},
  };
  for (const Row& row : kRows) {
    Inventory sides = Sides(row.phoneUids, 2);
    for (size_t i = 0; i < row.recordedPc.size(); ++i) {
      if (row.recordedPc[i] < 0) continue;
      sides.phone[i].record = IndexOf(sides.records);
      sides.records.push_back({sides.phone[i].name, 0, 0, {}, {}, Decimal(row.recordedPc[i])});
    }
    std::vector<SlowMatch> matches = row.matches;
    LinkSlow(sides, matches);
    EXPECT_EQ(Pairs(sides), row.paired) << row.what;
    EXPECT_EQ(matches.size(), row.left) << row.what;
    const size_t before = sides.links.size();
    LinkRemaining(sides, matches);
    EXPECT_EQ(sides.links.size(), before - row.left) << row.what;
  }
}

TEST(EngineLinksTest, LoneItemsMeetOneToOneUidFirst) {
  const auto print = [](uint8_t exact, uint8_t core) {
    ContentPrint made;
    made.exact[0] = exact;
    made.core[0] = core;
    return made;
  };
  Inventory sides = Sides({u"u", u"u", u"", u"", u"z"}, 5);
  LinkByRecord(sides);  // all alone: phone items are links 0 to 4, PC items 5 to 9
  const std::vector<LoneItem> phone = {{0, u"u", print(1, 1)},
                                       {1, u"u", print(2, 2)},
                                       {2, u"", print(3, 3)},
                                       {3, u"", print(4, 9)},
                                       {4, u"z", std::nullopt}};
  const std::vector<LoneItem> pc = {{5, u"u", print(2, 2)},   // of two equal uids the same content
                                    {6, u"u", print(7, 7)},   // the other, though it differs
                                    {7, u"v", print(3, 3)},   // content, whatever the uid
                                    {8, u"w", print(9, 9)},   // all but the side data
                                    {9, u"q", print(5, 5)}};  // nobody's
  LinkLone(sides, phone, pc);
  EXPECT_EQ(Pairs(sides), "0>1 1>0 2>2 3>3 ");
  const std::vector<ContentMatch> contents = {ContentMatch::Different, ContentMatch::Identical,
                                              ContentMatch::Identical, ContentMatch::PhoneHasMore};
  for (size_t i = 0; i < contents.size(); ++i) EXPECT_EQ(sides.links[i].content, contents[i]) << i;
  EXPECT_EQ(sides.links.size(), 6u);
}

}  // namespace
}  // namespace qv
