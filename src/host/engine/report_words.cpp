#include "host/engine/report_words.h"

#include <cstdio>

#include "framework/store_contract.h"
#include "host/engine/sync.h"
#include "platform/database/sqlite_accessor.h"
#include "platform/system/debug_log.h"
#include "platform/system/file_system.h"
#include "support/text.h"

namespace qv {
namespace {

struct StatusWord {
  HRESULT status;
  const char* words;
};
// E_FAIL says nothing at all: who met it must tell what could not be done.
constexpr StatusWord kStatusWords[] = {
    {E_FAIL, "the store gave no reason"},
    {E_POINTER, "something that the store needs was missing"},
    {E_NOTIMPL, "the store does not offer it"},
    {E_NOINTERFACE, "the store is of another kind than it should be"},
    {E_OUTOFMEMORY, "out of memory"},
    {E_INVALIDARG, "the store cannot hold one of its values"},
    {REGDB_E_CLASSNOTREG, "the program lacks the class that does it"},
    {DS_E_BAD_CLSID, "the class identifier is not valid"},
    {DS_E_NO_STORE_CLASS, "the class cannot be created or is no store"},
    {DS_E_BOOKMARK, "the name or the path may be too long, or the place is taken"},
};

struct ErrorWord {
  SystemError error;
  const char* words;
};
constexpr ErrorWord kErrorWords[] = {
    {kFileNotFound, "it is not there"},
    {kPathNotFound, "the folder above it is not there"},
    {kAccessDenied, "it may not be opened; look at its permissions"},
    {kFileExists, "the name is taken"},
    {kInvalidParameter, "the path is not valid"},
    {kDiskFull, "the disk is full"},
    {kInvalidName, "its name or path has signs that are not allowed"},
    {kFolderNotEmpty, "there is still something in it"},
    {kAlreadyExists, "the name is taken"},
    {kNameTooLong, "its name or path is too long"},
};

constexpr size_t kLongestName = 60;  // of a line, in UTF-16 units

std::string Shortened(std::string_view name) {
  std::u16string wide = FromUtf8(name);
  if (wide.size() <= kLongestName) return std::string(name);
  size_t end = kLongestName - 1;
  if (wide[end - 1] >= 0xD800 && wide[end - 1] < 0xDC00) --end;
  wide.resize(end);
  return ToUtf8(wide + u'\u2026');
}

// "Work/News" of "Work/News.vbm", "News" of it without the folders.
bool Says(std::string_view item, std::string_view name) {
  if (IsFolderName(item)) item.remove_suffix(1);
  for (std::string_view said : {item, item.substr(item.rfind('/') + 1)}) {
    if (said == name || (said.rfind('.') != said.npos && said.substr(0, said.rfind('.')) == name)) {
      return true;
    }
  }
  return false;
}

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
  char number[16];
  std::snprintf(number, sizeof number, "0x%08X", static_cast<unsigned>(status));
  OutputDebugStringW(u"[qvsync] status " + FromUtf8(number));
  for (const StatusWord& word : kStatusWords) {
    if (word.status == status) return word.words;
  }
  return "the store gave a reason that has no words yet; its number is in the log (-v)";
}

std::string SystemErrorWords(uint32_t error) {
  OutputDebugStringW(u"[qvsync] system error " + Decimal(error));
  for (const ErrorWord& word : kErrorWords) {
    if (word.error == error) return word.words;
  }
  return "the system refused it";
}

DatabaseReason::DatabaseReason() : before_(LastDatabaseError()) {}

std::string DatabaseReason::Explain(std::string_view doing, HRESULT status) const {
  std::string text(doing);
  const std::string words = StatusWords(status);
  const std::string& now = LastDatabaseError();
  if (!now.empty() && now != before_) return text.append(": ").append(now);
  return status == E_FAIL ? text : text.append(": ").append(words);
}

std::string WithName(std::string_view item, std::string_view name) {
  std::string text(item);
  if (!name.empty() && !Says(item, name)) text.append(" (").append(Shortened(name)).append(")");
  return text;
}

std::string InOneLine(std::string_view text) {
  std::string line(text);
  for (char& c : line) {
    if (static_cast<unsigned char>(c) < ' ') c = '?';
  }
  return line;
}

std::string FirstFew(std::span<const std::string> names, size_t count) {
  std::string text;
  for (const std::string& name : names) {
    text.append(text.empty() ? "" : ", ").append(InOneLine(Shortened(name)));
  }
  if (count <= names.size()) return text;
  return text + " and " + std::to_string(count - names.size()) + " more";
}

}  // namespace qv
