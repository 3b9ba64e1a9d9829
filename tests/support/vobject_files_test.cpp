#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/platform_fakes.h"
#include "support/narrow_files.h"
#include "support/text.h"
#include "support/vobject/group_lines.h"
#include "support/vobject/item_files.h"
#include "support/vobject/old_texts.h"

namespace qv {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ItemFilesTest, FilesAreCutIntoItems) {
  EXPECT_THAT(
      SplitVCards("END:VCARD\r\nxBEGIN:VCARD\r\nX-QVVERSION:2.0\r\nN;CHARSET=utf-8:a\r\n"
                  "END:VCARD\r\nBEGIN:VCARD\r\nEND:VCARDBEGIN:VCARD\r\n"),
      ElementsAre("BEGIN:VCARD\r\nN;CHARSET=UTF-8:a\r\nEND:VCARD", "BEGIN:VCARD\r\nEND:VCARD"));
  EXPECT_THAT(SplitVEvents("BEGIN:VCALENDAR\r\nX-QVVERSION:2.0\r\nBEGIN:VEVENT\r\nA;CHARSET=utf-8:"
                           "\r\nEND:VEVENT\r\nBEGIN:VEVENT\r\nEND:VEVENT\r\n"),
              ElementsAre("BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nA;CHARSET=UTF-8:\r\n"
                          "END:VEVENT\r\nEND:VCALENDAR",
                          "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nEND:VEVENT\r\n"
                          "END:VCALENDAR"));
  EXPECT_THAT(SplitVMemos("BEGIN:VMEMO\r\nEND:VMEMO"),
              ElementsAre("BEGIN:VNOTE\r\nVERSION:1.1\r\nBEGIN:VMEMO\r\nEND:VMEMO\r\nEND:VNOTE"));
  EXPECT_THAT(SplitVCards(""), IsEmpty());
  const std::string inner = "BEGIN:VCARD\r\nAGENT:\r\nBEGIN:VCARD\r\nEND:VCARD\r\nN:a\r\nEND:VCARD";
  const std::string cutOff = "BEGIN:VCARD\r\nN:b\r\nBEGIN:VCARD\r\nEND:VCARD";
  std::string many;
  for (int i = 0; i < 20'000; ++i) many += (i % 2 == 0 ? cutOff : inner) + "\r\n";
  const std::vector<std::string> cards = SplitVCards(many);
  ASSERT_EQ(cards.size(), 20'000u);
  EXPECT_EQ(cards[19'998], cutOff);
  EXPECT_EQ(cards[19'999], inner);

  std::string card = "BEGIN:VCARD\r\nN;CHARSET=UTF-8:a\r\nEND:VCARD\r\n";
  MarkSavedVCard(card);
  EXPECT_EQ(card, "BEGIN:VCARD\r\nX-QVVERSION:2.0\r\nN;CHARSET=utf-8:a\r\nEND:VCARD\r\n");
  EXPECT_TRUE(HasFileMarker(card));

  EXPECT_EQ(EventStretch("xBEGIN:VEVENT1END:VEVENT-BEGIN:VEVENT2END:VEVENTy"),
            "BEGIN:VEVENT1END:VEVENT-BEGIN:VEVENT2END:VEVENT");
  EXPECT_EQ(EventStretch("END:VEVENT BEGIN:VEVENT"), "");
  EXPECT_EQ(EventStretch("BEGIN:VEVENT"), "");
}

TEST(GroupLinesTest, NamesInFilesAreIdentifiersElsewhere) {
  const GroupLookup lookup = [](std::u16string_view asked) -> std::u16string {
    if (asked == u"Friends" || asked == u"1") return asked == u"1" ? u"Fri\r\nends" : u"1";
    return asked == u"Ärzte" ? u"2" : asked == u"2" ? u"Ärzte" : u"";
  };
  std::string card = "BEGIN:VCARD\r\nX-GROUP:Friends\r\nEND:VCARD";
  AddGroupUids(card, {u"Friends", u"Unknown", u"Ärzte"}, lookup);
  EXPECT_EQ(card, "BEGIN:VCARD\r\nX-GROUP:Friends\r\nX-GRPUUID:1;2\r\nEND:VCARD");
  std::string unknown = "BEGIN:VCARD\r\nX-GROUP:Unknown\r\nEND:VCARD";
  const std::string before = unknown;
  AddGroupUids(unknown, {u"Unknown"}, lookup);
  EXPECT_EQ(unknown, before);

  std::string saved = "BEGIN:VCARD\r\nX-GRPUUID:1;\r\n 9;\r\n\t2\r\nN:a\r\nEND:VCARD";
  PutGroupNames(saved, {u"2", u"9", u"1"}, lookup);
  EXPECT_EQ(saved, "BEGIN:VCARD\r\nX-GROUP:Ärzte\r\nX-GROUP:Fri  ends\r\nN:a\r\nEND:VCARD");
  std::string lost = "X-GRPUUID:9\r\nN:a";
  PutGroupNames(lost, {u"9"}, lookup);
  EXPECT_EQ(lost, "N:a");
}

TEST(OldTextsTest, CardsOfTheOldFormatAreLifted) {
  const struct {
    const char* line;
    const char* ordinary;
    const char* subModel;
  } kCases[] = {
      {"SOUND:a", "X-PHONETIC-NAME:a", "X-PHONETIC-NAME:a"},
      {"NICKNAME;CHARSET=UTF-8:a", "X-NICKNAME;CHARSET=UTF-8:a", "X-NICKNAME;CHARSET=UTF-8:a"},
      {"X-ANNI:1", "X-ANNIVERSARY:1", "X-ANNIVERSARY:1"},
      {"TEL;WORK:1", "TEL;WORK;VOICE:1", "TEL;WORK;VOICE:1"},
      {"TEL;HOME;FAX:1", "TEL;HOME;FAX:1", "TEL;FAX;HOME:1"},
      {"TEL;VIDEO:1", "TEL:1", "TEL;VIDEO:1"},
      {"X-TEL;PTT:1", "X-TEL:1", "X-TEL;X-OTHER:1"},
      {"TEL;EMAIL;Private:1", "TEL;EMAIL;Private:1", "TEL;EMAIL;Private:1"},
      {"EMAIL;Mobile:a", "EMAIL;INTERNET:a", "EMAIL;MOBILE:a"},
      {"X-CHATID;Windows Live:a", "X-IMPP;MSNs Live:a", "X-IM;X-TYPE=MSNs Live:a"},
      {"X-CHATID;QQ:a", "X-IMPP;QQ:a", "X-IM;X-TYPE=QQ:a"},
      {"A.X-CHATID;None:a", "X-IMPP;D;None:a", "X-IM;D;None:a"},
      {"URL;Unknown:a", "URL;WORK:a", "URL:a"},
      {"ADR;DOM;HOME:a", "ADR;HOME:a", "ADR;HOME:a"},
      {"ADR;INTL:a", "ADR:a", "ADR;X-OTHER:a"},
      {"ORG;Custom:a", "ORG:a", "ORG;X-OTHER:a"},
      {"X-GROUPS:a", nullptr, nullptr},
      {"X-FAVORITE:YES", "X-FAVORITE:TRUE", "X-FAVORITE:TRUE"},
      {"X-FAVORITE:NO", "X-FAVORITE:FALSE", "X-FAVORITE:FALSE"},
      {"X-FAVORITE:MAYBE", "X-FAVORITE:MAYBE", "X-FAVORITE:MAYBE"},
      {"SOUND without a colon", "SOUND without a colon", "SOUND without a colon"},
  };
  for (const auto& [line, ordinary, subModel] : kCases) {
    for (const bool isSubModel : {false, true}) {
      std::string text = std::string(line) + "\r\nFN:x\r\n";
      NormalizeOldVCard(text, isSubModel);
      const char* expected = isSubModel ? subModel : ordinary;
      EXPECT_EQ(text, (expected == nullptr ? "" : std::string(expected) + "\r\n") + "FN:x\r\n");
    }
  }
}

TEST(OldTextsTest, FoldsStayTogetherAndALastLineHasNoRules) {
  const struct {
    const char* text;
    const char* lifted;
  } kCalendars[] = {
      {"", ""},
      {"X-UID:1\r\n 2\r\n\t3\r\nA:1\r\n 2\r\nX-EXCEPTIONTYPE:1\r\nX-UID:9", "A:1\r\n 2\r\nX-UID:9"},
      {"A:1\r\nB:2\r\n 3", "A:1\r\n 3"},
      {"X-UID\r\nX-UIDS:1\r\n", "X-UID\r\nX-UIDS:1\r\n"},
  };
  for (const auto& [text, lifted] : kCalendars) {
    std::string calendar = text;
    NormalizeOldVCalendar(calendar, true);
    EXPECT_EQ(calendar, lifted);
  }
  std::string note = "DESCRIPTION;X:a\r\n b\r\nX-MODIFIED:1\r\n 2\r\nBODY:c\r\n";
  NormalizeOldVNote(note, false);
  EXPECT_EQ(note, "BODY;X:a\r\n b\r\nBODY:c\r\n");
}

TEST(NarrowFilesTest, ANulCutsOffTheRestOfItsBlock) {
  const test::TempFolder folder;
  const std::string block(4095, 'a');
  folder.Put("a.vcf", block + std::string("b\0c", 3) + std::string(4092, 'd') + "e");
  EXPECT_EQ(ReadNarrowFile(folder.ModulePath(u"a.vcf")), block + "be");
  EXPECT_FALSE(ReadNarrowFile(folder.ModulePath(u"b.vcf")));
  EXPECT_FALSE(ReadNarrowFile(folder.ModulePath(u"")));
}

}  // namespace
}  // namespace qv
