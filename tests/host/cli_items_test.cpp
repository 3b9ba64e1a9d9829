#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/run_program.h"

namespace qv {
namespace {

using test::Card;
using test::Lines;
using test::Outcome;
using test::ProgramFolder;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

class CliItemsTest : public testing::Test {
 protected:
  CliItemsTest() { EXPECT_EQ(box.Run({"init"}).code, 0); }
  // The identifiers of what the texts became.
  std::vector<std::string> Added(const std::string& texts) {
    const Outcome outcome = box.Run({"add", "contacts", "-"}, texts);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    return Lines(outcome.out);
  }
  size_t Count() { return box.Run({"list", "contacts", "--json"}).Json().size(); }

  ProgramFolder box;
};

TEST_F(CliItemsTest, ListsInBothForms) {
  EXPECT_EQ(Lines(box.Run({"list", "contacts"}).out).size(), 1u);  // the heads alone
  const auto ids = Added(Card("Bauer;Anna", "FN:Anna Bauer\r\n") + "some text between\r\n" +
                         Card("\xE5\xB1\xB1\xE7\x94\xB0", "FN:\xE5\xB1\xB1\xE7\x94\xB0\r\n"));
  ASSERT_EQ(ids.size(), 2u);
  for (const std::string& id : ids) EXPECT_THAT(id, MatchesRegex("[0-9A-F]{32}"));

  const auto list = box.Run({"--json", "list", "contacts"}).Json();
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0]["id"], ids[0]);
  EXPECT_EQ(list[0]["name"], "Anna Bauer");
  EXPECT_THAT(std::string(list[0]["modified"]),
              MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}"));
  EXPECT_EQ(list[0].size(), 3u);

  const auto lines = Lines(box.Run({"list", "contacts"}).out);
  ASSERT_EQ(lines.size(), 3u);
  // Four columns each: aligned by what a terminal shows, not by bytes.
  EXPECT_THAT(lines[0], MatchesRegex("ID {32}NAME        MODIFIED"));
  EXPECT_THAT(lines[1], MatchesRegex(ids[0] + "  Anna Bauer  [0-9: -]{19}"));
  EXPECT_THAT(lines[2], MatchesRegex(ids[1] + "  \xE5\xB1\xB1\xE7\x94\xB0        [0-9: -]{19}"));
}

TEST_F(CliItemsTest, ShowsReplacesAndDeletes) {
  const auto ids = Added(Card("Bauer;Anna", "TEL;CELL:+49 1\r\nNOTE:\x1B[2J\r\n") + Card("Gone"));
  const Outcome shown = box.Run({"show", "contacts", ids[0]});
  EXPECT_THAT(shown.out, HasSubstr("TEL;CELL:+49 1\r\n"));
  EXPECT_EQ(box.Run({"show", "contacts", ids[0], "--json"}).Json()["text"], shown.out);

  const Outcome replaced = box.Run({"replace", "contacts", ids[0], "-"}, Card("Meier;Eva"));
  EXPECT_EQ(replaced.code, 0) << replaced.err;
  EXPECT_EQ(replaced.out, ids[0] + "\n");
  EXPECT_THAT(box.Run({"show", "contacts", ids[0]}).out, HasSubstr("N:Meier;Eva"));

  const Outcome deleted = box.Run({"delete", "contacts", ids[1], "nosuch", ids[0], "--json"});
  EXPECT_EQ(deleted.code, 1);
  EXPECT_EQ(deleted.out, R"({"result":"partial","deleted":[")" + ids[1] + R"(",")" + ids[0] +
                             R"("],"failed":[{"item":"nosuch","reason":"there is no such item )"
                             R"(in contacts"}]})"
                             "\n");
  EXPECT_EQ(Count(), 0u);
}

TEST_F(CliItemsTest, AddTellsWhatItCannotReadByPlaceAndAddsTheRest) {
  const std::string first = box.files().Put("first.vcf", Card("One") + "\r\n" + Card("Two"));
  const std::string cut =
      box.files().Put("cut.vcf", Card("Three") + "\r\nbegin:vcard\r\nN:Lost\r\nTEL:1");
  const std::string rubbish = box.files().Put("rubbish.vcf", std::string("\0\xFF\x80rubbish", 10));
  const std::string missing = box.files().File("missing.vcf");
  const Outcome outcome =
      box.Run({"add", "contacts", first, cut, rubbish, missing, box.files().path(), "--json"});
  EXPECT_EQ(outcome.code, 1);
  const auto document = outcome.Json();
  EXPECT_EQ(document["result"], "partial");
  EXPECT_EQ(document["added"].size(), 3u);
  ASSERT_EQ(document["failed"].size(), 4u);
  EXPECT_EQ(document["failed"][0]["item"], cut + ":6");
  EXPECT_EQ(document["failed"][1]["item"], rubbish);
  EXPECT_THAT(std::string(document["failed"][2]["reason"]), HasSubstr("No such file"));
  EXPECT_EQ(document["failed"][3]["item"], box.files().path());
  EXPECT_EQ(Count(), 3u);
}

TEST_F(CliItemsTest, ReplaceTakesExactlyOneText) {
  const std::string id = Added(Card("Bauer;Anna")).front();
  const std::string kBad[] = {"", "no card", Card("A") + Card("B"), "BEGIN:VCARD\r\nN:A\r\n"};
  for (const std::string& text : kBad) {
    EXPECT_EQ(box.Run({"replace", "contacts", id, "-"}, text).code, 2) << text;
  }
  EXPECT_EQ(box.Run({"replace", "contacts", "nosuch", "-"}, Card("A")).code, 1);
  EXPECT_THAT(box.Run({"show", "contacts", id}).out, HasSubstr("Bauer;Anna"));
}

TEST_F(CliItemsTest, NamesCannotSteerATerminalNorBreakTheJson) {
  Added(Card("x",
             "FN:a\x1B[31m\x07"
             "b\xC2\x9B"
             "c\xE2\x80\xAE"
             "d\r\n"));
  const Outcome text = box.Run({"list", "contacts"});
  EXPECT_THAT(text.out, HasSubstr("a?[31m?b?c?d"));
  const Outcome unknown = box.Run({"list", "x\x1B[2Jy\xFF", "--json"});
  EXPECT_EQ(unknown.code, 2);
  EXPECT_THAT(unknown.err, Not(HasSubstr("\x1B")));
  EXPECT_EQ(unknown.Json()["result"], "failed");
}

TEST_F(CliItemsTest, LookingChangesNoFileOfTheSync) {
  const std::string id = Added(Card("Bauer;Anna")).front();
  const auto before = box.files().Get("profile/sync.db");
  box.Run({"list", "contacts"});
  box.Run({"show", "contacts", id});
  box.Run({"replace", "contacts", id, "-"}, Card("Meier;Eva"));
  EXPECT_EQ(box.files().Get("profile/sync.db"), before);
  EXPECT_FALSE(std::filesystem::exists(box.profile + "/sync.db-wal"));
}

TEST_F(CliItemsTest, BrokenStandardStreamsDoNoHarm) {
  const std::string id = Added(Card("Bauer;Anna")).front();
  if (access("/dev/full", W_OK) == 0) {
    const Outcome full = box.RunTo("/dev/full", {"list", "contacts"});
    EXPECT_EQ(full.code, 5);
    EXPECT_THAT(full.err, HasSubstr("standard output"));
  }
  // Closed streams: nothing that is printed lands in a file that was opened in their place.
  const auto closed = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"-p", box.profile});
    return box.Finish(box.Start(arguments, "", "")).code;
  };
  EXPECT_EQ(closed({"list", "contacts"}), 5);
  EXPECT_EQ(closed({"add", "contacts", "-"}), 1);  // nothing read, nothing to print
  EXPECT_EQ(Count(), 1u);
  // A reader that goes away: the rest is dropped without a word.
  std::string many;
  for (int i = 0; i < 600; ++i) many += Card(std::to_string(i) + std::string(100, 'n'));
  Added(many);
  const std::string pipe = box.files().File("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  const pid_t child =
      box.Start({"-p", box.profile, "list", "contacts"}, box.files().Put("stdin", ""), pipe);
  char first = 0;
  while (read(reader, &first, 1) != 1) usleep(1000);
  close(reader);
  const Outcome gone = box.Finish(child);
  EXPECT_EQ(gone.code, 0);
  EXPECT_EQ(gone.err, "");
}

}  // namespace
}  // namespace qv
