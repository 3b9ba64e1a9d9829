#include <gmock/gmock.h>

#include "host/engine_rig.h"

namespace qv {
namespace {

using test::CardText;
using test::Content;
using test::Rig;
using testing::HasSubstr;

std::string Counts(const StoreReport& report) {
  const auto side = [](const SideCounts& counts) {
    return "+" + std::to_string(counts.added) + "~" + std::to_string(counts.replaced) + "-" +
           std::to_string(counts.deleted);
  };
  return "pc " + side(report.pc) + " phone " + side(report.phone) + " =" +
         std::to_string(report.matched);
}
constexpr const char* kNothing = "pc +0~0-0 phone +0~0-0 =0";

void ExpectQuiet(Rig& rig) {
  const StoreReport report = rig.Sync();
  EXPECT_EQ(report.result, SyncResult::Ok) << report.message;
  EXPECT_EQ(Counts(report), kNothing);
}

TEST(EngineSyncTest, FirstSyncFillsBothSidesAndTheNextDoesNothing) {
  Rig rig;
  rig.PcAdd(CardText({.name = "Ann"}));
  rig.PcAdd(CardText({.name = "Bob"}));
  rig.PhonePut("cleo.vcf", CardText({.name = "Cleo", .uid = "cleo"}));
  const StoreReport report = rig.Sync();
  EXPECT_EQ(report.result, SyncResult::Ok) << report.message;
  EXPECT_EQ(report.mode, DS_SYNCTYPE_SLOW);
  EXPECT_EQ(Counts(report), "pc +1~0-0 phone +2~0-0 =0");
  EXPECT_EQ(rig.PcContents(), rig.PhoneContents());
  EXPECT_EQ(rig.PcContents().size(), 3u);
  ExpectQuiet(rig);
}

}  // namespace
}  // namespace qv
