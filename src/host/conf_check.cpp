#include "host/conf_check.h"

#include <algorithm>
#include <map>
#include <optional>

#include "host/store_kinds.h"
#include "items/moment_text.h"
#include "platform/com/class_factory.h"
#include "platform/system/code_page.h"
#include "platform/system/service.h"
#include "support/text.h"

namespace qv {
namespace {

// The stores that a bag may name, in the order in which they are created.
constexpr std::string_view kStoreNames[] = {
    "DataStore.Contact",        "DataStore.Schedule",     "DataStore.Task",
    "DataStore.Note",           "DataStore.Bookmark",     "DataStore.WindowsContact",
    "DataStore.OutlookExpress", "DataStore.IEContactGrp", "DataStore.IECSVContact",
    "DataStore.IECSVSchedule",  "DataStore.IECSVNote",    "DataStore.IEVCard",
    "DataStore.IEVCal",         "DataStore.BRContactGrp", "DataStore.BRContact",
    "DataStore.BRSchedule",     "DataStore.BRBookmark",   "DataStore.BRNote",
};

enum class Form { Text, Switch, Number };
struct Suffix {
  std::string_view text;
  Form form;
};
constexpr Suffix kSuffixes[] = {
    {"", Form::Switch},
    {".Sync", Form::Switch},
    {".CLSID", Form::Text},
    {".SourceURI", Form::Text},
    {".TargetURI", Form::Text},
    {".SyncType", Form::Number},
    {".MimeType", Form::Text},
    {".Version", Form::Text},
    {".SourceMaxLOBSize", Form::Number},
    {".TargetMaxLOBSize", Form::Number},
    {".EntryId", Form::Text},
    {".SupportFilter", Form::Switch},
    {".FilterRecordData", Form::Text},
    {".SupportHierarchy", Form::Switch},
};

constexpr std::string_view kOtherKeys[] = {
    "Outlook.CurProfileName",
    "Platform.AnsiCodePage",
    "Transport.Obex.DeviceID",
    "Device.IsSubModel",
    "DataStore.ImportExport.Type",
    "DataStore.ImportExport.FileType",
    "DataStore.ImportExport.FileNames",
    "DataStore.ImportExport.FolderPath",
    "DataStore.ImportExport.CSV.FieldCount",
    "DataStore.ImportExport.CSV.MappingXML",
    "DataStore.BackupRestore.Type",
    "DataStore.BackupRestore.IdxFilePath",
};

constexpr std::string_view kStorePrefix = "DataStore.";
constexpr std::string_view kFilterText = ".FilterRecordData";

struct KnownKey {
  std::string key;
  Form form = Form::Text;
};

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

// Every key there is, under its spelling in small letters.
std::map<std::string, KnownKey> MakeKnownKeys() {
  std::map<std::string, KnownKey> keys;
  for (const std::string_view store : kStoreNames) {
    for (const Suffix& suffix : kSuffixes) {
      const std::string key = std::string(store).append(suffix.text);
      keys[Lower(key)] = {key, suffix.form};
    }
  }
  for (const std::string_view key : kOtherKeys) keys[Lower(key)] = {std::string(key)};
  return keys;
}

class Checker {
 public:
  Checker(const std::string& file, const ConfText& text) : file_(file), text_(text) {}

  ConfFindings Run() {
    for (const ConfProblem& problem : text_.problems()) ErrorAt(problem.line, problem.text);
    CheckKeys();
    for (const std::string_view store : kStoreNames) {
      if (IsEnabled(store)) CheckStore(store);
    }
    CheckCodePage();
    return std::move(findings_);
  }

 private:
  void ErrorAt(size_t line, const std::string& text) {
    findings_.errors.push_back(file_ + ":" + std::to_string(line) + ": " + text);
  }
  void Missing(const std::string& key, const std::string& text) {
    findings_.errors.push_back(file_ + ": the key " + key + " is missing: " + text);
  }
  void WarnAt(size_t line, const std::string& text) {
    findings_.warnings.push_back(file_ + ":" + std::to_string(line) + ": " + text);
  }

  void CheckKeys() {
    const std::map<std::string, KnownKey> known = MakeKnownKeys();
    for (const ConfEntry& entry : text_.entries()) {
      const auto found = known.find(Lower(entry.key));
      if (found == known.end()) {
        CheckUnknown(entry);
      } else if (found->second.key != entry.key) {
        ErrorAt(entry.line, "the key " + entry.key + " is spelled " + found->second.key);
      } else {
        CheckForm(entry, found->second.form);
      }
    }
  }

  // A key of a store that does not exist is a slip that would leave a store out of the sync.
  void CheckUnknown(const ConfEntry& entry) {
    const std::string_view key = entry.key;
    const std::string_view name = key.substr(0, key.find('.', kStorePrefix.size()));
    const bool knownStore = std::ranges::find(kStoreNames, name) != std::end(kStoreNames);
    const bool knownArea = name == "DataStore.ImportExport" || name == "DataStore.BackupRestore";
    if (key.starts_with(kStorePrefix) && !knownStore && !knownArea) {
      ErrorAt(entry.line, "the key " + entry.key + " names no store there is");
    } else {
      WarnAt(entry.line, "the key " + entry.key + " is not known; it is kept and not used");
    }
  }

  void CheckForm(const ConfEntry& entry, Form form) {
    if (entry.key.ends_with(kFilterText)) CheckFilter(entry);
    const std::string shown = "the key " + entry.key + " holds \"" + entry.value + "\"";
    if (form == Form::Switch && entry.value != "true" && entry.value != "false") {
      WarnAt(entry.line, shown + ", which counts as \"false\"; write \"true\" or \"false\"");
    }
    if (form == Form::Number && entry.value.find_first_not_of("0123456789") != std::string::npos) {
      WarnAt(entry.line, shown + ", which is no whole number");
    }
  }

  // The date behind a word, up to the next part.
  static DATE BoundIn(const std::string& text, std::string_view word) {
    const size_t from = text.find(word);
    if (from == std::string::npos) return 0.0;
    const std::string_view value = std::string_view(text).substr(from + word.size());
    const std::optional<Stamp> stamp = ParseStamp(value.substr(0, value.find('&')));
    return stamp && stamp->hasTime ? stamp->date : 0.0;
  }
  static bool IsWindow(const std::string& text) {
    const DATE since = BoundIn(text, "SINCE&EQ;");
    const DATE before = BoundIn(text, "BEFORE&EQ;");
    return since != 0.0 && before != 0.0 && since <= before;
  }

  // Half a window would let everything through without a word.
  void CheckFilter(const ConfEntry& entry) {
    const std::string shown = "the key " + entry.key;
    if (!entry.key.starts_with("DataStore.Schedule.")) {
      WarnAt(entry.line, shown + " is not read; only DataStore.Schedule has a filter");
    } else if (!entry.value.empty() && !IsWindow(entry.value)) {
      WarnAt(entry.line, shown + " is no window of two moments, the earlier first; write " +
                             "SINCE&EQ;20260101T000000Z&AND;BEFORE&EQ;20261231T235959Z");
    }
  }

  // Half a store is a slip too: it would be left out without a word.
  bool IsEnabled(std::string_view store) {
    const std::string name(store);
    const ConfEntry* own = text_.Find(name);
    const ConfEntry* sync = text_.Find(name + ".Sync");
    if (own == nullptr) {
      const bool mentioned = std::ranges::any_of(text_.entries(), [&](const ConfEntry& entry) {
        return entry.key.starts_with(name + ".");
      });
      if (mentioned) Missing(name, "set it to \"true\" or \"false\"");
      return false;
    }
    if (own->value != "true") return false;
    if (sync == nullptr) {
      Missing(name + ".Sync", "set it to \"true\" or \"false\"");
      return false;
    }
    return sync->value == "true";
  }

  // The value of a key that must be there and not empty.
  const ConfEntry* Required(const std::string& key, const std::string& text) {
    const ConfEntry* entry = text_.Find(key);
    if (entry == nullptr) {
      Missing(key, text);
    } else if (entry->value.empty()) {
      ErrorAt(entry->line, "the key " + key + " is empty: " + text);
      entry = nullptr;
    }
    return entry;
  }

  void CheckStore(std::string_view store) {
    const std::string name(store);
    CheckClass(Required(name + ".CLSID", "it holds the class identifier of the store"));
    if (const ConfEntry* uri = Required(name + ".SourceURI", "it holds the name of the source")) {
      const auto [other, fresh] = sources_.emplace(uri->value, uri);
      if (!fresh) {
        ErrorAt(uri->line, "the key " + uri->key + " holds \"" + uri->value + "\", as does " +
                               other->second->key + "; two stores cannot share a source");
      }
    }
    const auto kind = std::ranges::find(StoreKinds(), store, &StoreKind::configName);
    if (kind == StoreKinds().end()) {
      // Such a store fails without a job, and with it the run.
      ErrorAt(text_.Find(name)->line,
              "the key " + name +
                  " switches on a store that no sync can use: import and export open it by "
                  "themselves; set it to false");
      return;
    }
    if (!kind->isTree) {
      Required(name + ".EntryId", "it holds the identifier of the PC side's folder");
    }
    const std::string mime = ToUtf8(kind->mimeType);
    const ConfEntry* type = Required(name + ".MimeType", "it must be " + mime);
    if (type != nullptr && type->value != mime) {
      ErrorAt(type->line,
              "the key " + type->key + " holds \"" + type->value + "\"; it must be " + mime);
    }
  }

  void CheckClass(const ConfEntry* entry) {
    if (entry == nullptr) return;
    const std::optional<CLSID> clsid = ParseGuid(FromUtf8(entry->value));
    const std::string shown = "the key " + entry->key + " holds \"" + entry->value + "\", ";
    if (!clsid.has_value()) {
      ErrorAt(entry->line, shown +
                               "which is no class identifier of the form "
                               "{8-4-4-4-12 hexadecimal digits}");
    } else if (!IsClassRegistered(*clsid)) {
      ErrorAt(entry->line, shown + "a class that this program does not have");
    }
  }

  void CheckCodePage() {
    const ConfEntry* page = text_.Find("Platform.AnsiCodePage");
    if (page == nullptr || page->value.empty()) return;
    if (!Service<CodePages>::Get().DecodeNamed("", page->value).has_value()) {
      ErrorAt(page->line, "the key " + page->key + " holds \"" + page->value +
                              "\", a code page that is not known here");
    }
  }

  const std::string& file_;
  const ConfText& text_;
  std::map<std::string, const ConfEntry*> sources_;
  ConfFindings findings_;
};

}  // namespace

ConfFindings CheckConfiguration(const std::string& file, const ConfText& text) {
  return Checker(file, text).Run();
}

}  // namespace qv
