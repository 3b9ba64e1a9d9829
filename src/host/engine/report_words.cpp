#include "host/engine/report_words.h"

#include <cstdio>

#include "framework/store_contract.h"
#include "host/engine/sync.h"
#include "platform/database/sqlite_accessor.h"

namespace qv {
namespace {

struct StatusWord {
  HRESULT status;
  const char* words;
};
constexpr StatusWord kStatusWords[] = {
    {E_FAIL, "the store could not do it"},
    {E_POINTER, "an argument was missing"},
    {E_NOTIMPL, "the store does not offer it"},
    {E_NOINTERFACE, "the object does not offer it"},
    {E_OUTOFMEMORY, "out of memory"},
    {E_INVALIDARG, "a value was refused"},
    {REGDB_E_CLASSNOTREG, "the class is not registered"},
    {DS_E_BAD_CLSID, "the class identifier is not valid"},
    {DS_E_NO_STORE_CLASS, "the class cannot be created or is no store"},
};

// Persisted contract: the words of `--mode`, by the value of DS_SYNCTYPE.
constexpr const char* kModeNames[] = {
    "auto", "two-way", "slow", "from-phone", "from-pc", "refresh-from-phone", "refresh-from-pc",
};

}  // namespace

const char* ModeName(DS_SYNCTYPE mode) {
  const auto index = static_cast<size_t>(mode);
  return index < std::size(kModeNames) ? kModeNames[index] : nullptr;
}

std::string StatusWords(HRESULT status) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(status));
  for (const StatusWord& word : kStatusWords) {
    if (word.status == status) return std::string(text) + ", " + word.words;
  }
  return text;
}

DatabaseReason::DatabaseReason() : before_(LastDatabaseError()) {}

std::string DatabaseReason::Explain(std::string_view doing, HRESULT status) const {
  std::string text(doing);
  text.append(": ").append(StatusWords(status));
  const std::string& now = LastDatabaseError();
  if (!now.empty() && now != before_) text.append(" (").append(now).append(")");
  return text;
}

}  // namespace qv
