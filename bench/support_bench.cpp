// The small functions that stand on every item's way.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>

#include "platform/system/registry.h"
#include "platform/system/service.h"
#include "support/date_time.h"
#include "support/text.h"
#include "support/user_flags.h"

namespace qv {
namespace {

void BM_IsSyncStoppedUnchanged(benchmark::State& state) {
  std::string folder = (std::filesystem::temp_directory_path() / "qv-bench-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) return state.SkipWithError("no temporary folder");
  {
    FileRegistry registry(folder + "/values.conf");
    const ScopedService<Registry> use(registry);
    registry.CreateKey(kSyncKey);
    registry.WriteNumber(kSyncKey, "SyncStop", 0);
    for (auto _ : state) benchmark::DoNotOptimize(IsSyncStopped());
  }
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_IsSyncStoppedUnchanged);

const DATE kDate = DateFromUnixSeconds(1'309'755'967);

void BM_UtcToLocal(benchmark::State& state, const char* zone) {
  const char* before = std::getenv("TZ");
  const std::string kept = before != nullptr ? before : "";
  setenv("TZ", zone, 1);
  for (auto _ : state) benchmark::DoNotOptimize(UtcToLocal(kDate, true));
  before != nullptr ? setenv("TZ", kept.c_str(), 1) : unsetenv("TZ");
}
BENCHMARK_CAPTURE(BM_UtcToLocal, zone_file, "Europe/Berlin");
BENCHMARK_CAPTURE(BM_UtcToLocal, rule, "CET-1CEST,M3.5.0,M10.5.0/3");

void BM_FormatDateTime(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(FormatDateTime(kDate));
}
BENCHMARK(BM_FormatDateTime);

void BM_ParseDateTime(benchmark::State& state) {
  const std::u16string text = FormatDateTime(kDate);
  for (auto _ : state) benchmark::DoNotOptimize(ParseDateTime(text));
}
BENCHMARK(BM_ParseDateTime);

void BM_CompareDateTime(benchmark::State& state) {
  DATE other = kDate + 1.0 / 86400;
  for (auto _ : state) {
    benchmark::DoNotOptimize(other);
    benchmark::DoNotOptimize(CompareDateTime(kDate, other));
  }
}
BENCHMARK(BM_CompareDateTime);

std::string AsciiText(size_t size) {
  std::string text;
  while (text.size() < size) text += "TEL;HOME;VOICE:+49 221 12345678\r\n";
  text.resize(size);
  return text;
}

void BM_FromUtf8Ascii(benchmark::State& state) {
  const std::string text = AsciiText(static_cast<size_t>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(FromUtf8(text));
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_FromUtf8Ascii)->Arg(16)->Arg(1024)->Arg(65536);

void BM_ToUtf8Ascii(benchmark::State& state) {
  const std::u16string text = FromAscii(AsciiText(static_cast<size_t>(state.range(0))));
  for (auto _ : state) benchmark::DoNotOptimize(ToUtf8(text));
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ToUtf8Ascii)->Arg(16)->Arg(1024)->Arg(65536);

void BM_ComputeMd5(benchmark::State& state) {
  const std::u16string text = FromAscii(AsciiText(120));
  for (auto _ : state) benchmark::DoNotOptimize(ComputeMd5(text));
}
BENCHMARK(BM_ComputeMd5);

}  // namespace
}  // namespace qv
