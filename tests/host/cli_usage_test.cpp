#include <gmock/gmock.h>

#include "host/run_program.h"

namespace qv {
namespace {

using test::Outcome;
using test::ProgramFolder;
using testing::HasSubstr;

TEST(CliUsageTest, WrongUseEndsWithTwoAndOneDocument) {
  ProgramFolder box;
  ASSERT_EQ(box.Run({"init"}).code, 0);
  const std::vector<std::string> kWrong[] = {
      {},
      {"nosuch"},
      {"list"},
      {"list", "nosuch"},
      {"list", "contacts", "more"},
      {"show", "contacts"},
      {"replace", "contacts", "id"},
      {"add", "contacts"},
      {"delete", "contacts"},
      {"sync"},
      {"sync", "-d", ""},
      {"sync", "-d", "phone", "--mode", "sideways"},
      {"sync", "-d", "phone", "nosuch"},
      {"status", "--nosuch"},
      {"init", "stop"},
      {"-p", "", "status"},
  };
  for (const auto& arguments : kWrong) {
    auto withJson = arguments;
    withJson.push_back("--json");
    const Outcome outcome = box.Run(withJson);
    EXPECT_EQ(outcome.code, 2) << testing::PrintToString(arguments) << outcome.err;
    EXPECT_EQ(outcome.Json().value("result", ""), "failed") << outcome.out;
    EXPECT_NE(outcome.Json().value("message", ""), "") << outcome.out;
    const Outcome text = box.Run(arguments);
    EXPECT_EQ(text.code, 2) << testing::PrintToString(arguments);
    EXPECT_EQ(text.out, "");
    EXPECT_THAT(text.err, HasSubstr("qvsync: "));
  }
}

TEST(CliUsageTest, EachCommandTellsHowItIsUsed) {
  ProgramFolder box;
  const char* const kCommands[] = {"init",    "sync",   "list", "show",  "add",
                                   "replace", "delete", "stop", "status"};
  const Outcome all = box.RunBare({"--help"});
  EXPECT_EQ(all.code, 0);
  for (const char* command : kCommands) {
    EXPECT_THAT(all.out, HasSubstr(std::string("\n  ") + command));
    const Outcome one = box.RunBare({command, "--help"});
    EXPECT_EQ(one.code, 0) << command;
    EXPECT_THAT(one.out, HasSubstr(std::string("Usage: qvsync ") + command));
    EXPECT_THAT(one.out, HasSubstr("Example: qvsync "));
    EXPECT_EQ(one.err, "");
  }
  EXPECT_THAT(box.RunBare({"add", "--help"}).out, HasSubstr("not kept"));
  EXPECT_EQ(box.RunBare({"--version"}).out, "qvsync 1.0.0\n");
  EXPECT_EQ(box.RunBare({"--version", "--json"}).Json()["result"], "ok");
  EXPECT_TRUE(box.files().Names().size() <= 3) << "help makes no files";
}

TEST(CliUsageTest, TheDebugLogIsWrittenOnlyWhenAskedFor) {
  ProgramFolder box;
  ASSERT_EQ(box.Run({"init"}).code, 0);
  std::filesystem::create_directories(box.files().File("phone/contacts"));
  const std::vector<std::string> sync = {"sync", "-d", box.files().File("phone"), "--json"};
  EXPECT_EQ(box.Run(sync).err, "");
  auto verbose = sync;
  verbose.push_back("-v");
  EXPECT_THAT(box.Run(verbose).err, HasSubstr("[QVSyncEngine] CDataStoreManager::Initialize()"));
}

}  // namespace
}  // namespace qv
