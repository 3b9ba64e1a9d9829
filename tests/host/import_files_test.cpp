// Files on their way to the phone: what the host takes for an item the store takes for one too.
#include "host/cli/import_files.h"

#include <gmock/gmock.h>

#include <random>

#include "host/run_program.h"
#include "host/store_kinds.h"
#include "stores/module.h"
#include "support/text.h"
#include "support/vobject/item_files.h"

namespace qv {
namespace {

using testing::HasSubstr;

class ImportFilesTest : public testing::Test {
 protected:
  ImportFilesTest() { RegisterModuleClasses(); }

  // The cards that the store finds in what it is handed.
  std::vector<std::string> HandedCards(const ImportFile& file) const {
    const auto path = ToNativePath(file.job.folder + u"\\" + file.job.fileNames);
    std::string bytes;
    EXPECT_FALSE(Files::Default().Read(*path, bytes));
    EXPECT_EQ(bytes.find('\0'), bytes.npos);
    std::vector<std::string> cards = SplitVCards(bytes);
    std::erase_if(
        cards, [](const std::string& card) { return !ReadItem(*FindStoreKind("contacts"), card); });
    return cards;
  }

  const test::TempFolder folder_;
  const SyncSession noDatabase_;
  const GroupTable groups_{noDatabase_, QuoteRule::AsTheyStand};
};

TEST_F(ImportFilesTest, WhateverIsOddAboutACardCostsThatCardAlone) {
  using namespace std::string_view_literals;
  constexpr std::string_view kBegins[] = {"BEGIN:VCARD",     "begin:vcard",    "BEGIN:VCARD ",
                                          "BEGIN: VCARD",    "Begin:vCard\t",  "item1.BEGIN:VCARD",
                                          "BEGIN;X=1:VCARD", "BEGIN:VC\0ARD"sv};
  constexpr std::string_view kEnds[] = {
      "END:VCARD",  "END:VCARD ",     "END:VCARD\t",   "end:vcard",     "END: VCARD",
      " END:VCARD", "END:VC\r\n ARD", "END;X=1:VCARD", "END:VC\0ARD"sv, "END:VCARD \r\n "};
  constexpr std::string_view kLines[] = {"TEL:1",
                                         "NOTE:ends with END:VCARD",
                                         "NOTE:BEGIN:VCARD",
                                         "X-QVVERSION:2.0",
                                         "NOTE:X-QVVERSION:2.0",
                                         "NOTE;CHARSET=utf-8:x",
                                         "NOTE;ENCODING=QUOTED-PRINTABLE:x=",
                                         "PHOTO;ENCODING=BASE64:AAAA",
                                         "AGENT:\r\nBEGIN:VCARD\r\nN:in\r\nEND:VCARD",
                                         "BEGIN:VEVENT\r\nEND:VEVENT",
                                         "X-GROUP:g",
                                         "\0"sv,
                                         ""};
  std::mt19937 random(11);
  const auto any = [&](const auto& list) { return std::string(list[random() % std::size(list)]); };
  size_t whole = 0;
  size_t named = 0;
  for (int round = 0; round < 600; ++round) {
    std::string odd = any(kBegins) + "\r\nN:Odd\r\n";
    for (size_t i = random() % 3; i > 0; --i) odd += any(kLines) + "\r\n";
    odd += any(kEnds) + "\r\n";
    const std::string bytes =
        test::Card("First") + odd + (random() % 3 == 0 ? "" : test::Card("Last"));
    ScratchFolder scratch;
    const ImportFile file =
        PrepareImport(folder_.Put("in.vcf", bytes), ImportArguments(), scratch, groups_, 1);
    ASSERT_EQ(file.problem, "") << bytes;
    const std::vector<std::string> cards = HandedCards(file);
    ASSERT_EQ(cards.size(), file.job.places.size()) << bytes;
    std::string all;
    for (const std::string& card : cards) all += card;
    EXPECT_THAT(all, HasSubstr("First"));
    if (bytes.find("Last") != bytes.npos) {
      EXPECT_THAT(all, HasSubstr("Last")) << bytes;
    }
    const bool isOddThere = all.find("Odd") != all.npos;
    EXPECT_TRUE(isOddThere || !file.unread.empty()) << bytes;
    whole += isOddThere;
    named += !file.unread.empty();
  }
  EXPECT_GT(whole, 200u);
  EXPECT_GT(named, 100u);
}

}  // namespace
}  // namespace qv
