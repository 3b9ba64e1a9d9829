#include "host/cli/import_files.h"

#include <algorithm>
#include <filesystem>

#include "host/cli/adding.h"
#include "host/cli/item_files.h"
#include "host/spreadsheet/labels.h"
#include "items/item_objects.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/text.h"
#include "support/vobject/item_files.h"

namespace qv {
namespace {

namespace fs = std::filesystem;

// The module's own limit for a folder, a "\" and a name.
constexpr size_t kLongestPath = 259;

std::string ExtensionOf(const std::string& path) {
  std::string extension = fs::path(path).extension().string();
  std::ranges::transform(extension, extension.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return extension;
}

std::string ReadBytes(const std::string& path) {
  std::string bytes;
  if (const std::error_code error = Service<Files>::Get().Read(path, bytes)) {
    throw UsageError("cannot be read: " + error.message());
  }
  if (bytes.empty()) throw UsageError("is empty");
  return bytes;
}

// Hands the file over where it lies; false when a job cannot name it.
bool NameInPlace(const std::string& path, FileJob& job) {
  std::error_code error;
  const fs::path whole = fs::absolute(path, error).lexically_normal();
  const auto folder = FromNativePath(whole.parent_path().string());
  const auto name = FromNativePath(whole.filename().string());
  if (error || !folder || !name || name->find(u';') != name->npos ||
      folder->size() + 1 + name->size() > kLongestPath) {
    return false;
  }
  job.folder = *folder;
  job.fileNames = *name;
  return true;
}

void HandOver(const ScratchFolder& scratch, const std::string& name, std::string_view bytes,
              FileJob& job) {
  scratch.Put(name, bytes);
  job.folder = scratch.path();
  job.fileNames = FromUtf8(name);
}

void PrepareSheet(const ImportArguments& given, const ScratchFolder& scratch,
                  const std::string& name, ImportFile& file) {
  SheetImport& import = file.sheet.emplace();
  import.sheet = ReadSheet(ReadBytes(file.path), given.form);
  import.mapping = given.mapFile.empty()
                       ? MapColumns(import.sheet, given.store, given.map)
                       : LoadMapping(import.sheet, given.store, given.map, given.mapFile);
  import.asMapped = import.mapping;
  import.conversions = SpreadByLabel(import.sheet, import.mapping);
  std::ranges::move(ConvertCells(import.sheet, import.mapping),
                    std::back_inserter(import.conversions));
  import.emptyRows = DropEmptyRows(import.sheet, import.mapping);
  import.account = AccountFor(import.sheet, import.mapping);
  file.job.row = FindFileStore(FileFormat::Csv, import.mapping.kind->store);
  HandOver(scratch, name, StoreForm(import.sheet), file.job);
  const std::u16string path = file.job.folder + u"\\" + file.job.fileNames;
  file.job.mappingXml = MappingXml(import.mapping, path);
}

// The items of a file; what cannot be read is told.
std::vector<std::pair<size_t, ComPtr<IItemCommon>>> ReadItems(const ItemFile& source,
                                                              ImportFile& file) {
  std::vector<std::pair<size_t, ComPtr<IItemCommon>>> items;
  for (const FoundItem& found : source.found()) {
    std::string fault;
    ComPtr<IItemCommon> item = source.Read(found, fault);
    if (item) {
      items.emplace_back(found.index, std::move(item));
    } else {
      file.unread.push_back({"file", found.place, fault});
    }
  }
  if (const std::string doubts = source.Doubts(); !doubts.empty()) file.notes.push_back(doubts);
  return items;
}

void RequireStore(const ImportArguments& given, std::string_view store) {
  if (given.store.empty() || given.store == store) return;
  throw UsageError("holds " + std::string(store) + "; --store " + given.store +
                   " is for files of separated values");
}

void PrepareCards(const ImportArguments& given, const ScratchFolder& scratch,
                  const std::string& name, ImportFile& file) {
  constexpr std::string_view kBegin = "BEGIN:VCARD";
  constexpr std::string_view kEnd = "END:VCARD";
  RequireStore(given, "contacts");
  const std::string bytes = ReadBytes(file.path);
  const StoreKind& kind = *FindStoreKind("contacts");
  const ItemFile source(file.path, kind);
  const auto items = ReadItems(source, file);
  if (items.empty()) throw UsageError("holds no contact that can be read");
  file.job.row = FindFileStore(FileFormat::VCard, kind.name);
  // What the store would find in the file as it stands.
  const bool isPlain = bytes == source.text() && SplitVCards(bytes).size() == items.size();
  if (isPlain && NameInPlace(file.path, file.job)) return;
  const auto texts = kind.open(kind, source.text());
  std::string cards;
  for (const auto& [index, item] : items) {
    std::string_view card = texts->At(index);
    while (card.ends_with('\n') || card.ends_with('\r')) card.remove_suffix(1);
    cards.append(kBegin)
        .append(card.substr(kBegin.size(), card.size() - kBegin.size() - kEnd.size()))
        .append(kEnd)
        .append("\r\n");
  }
  HandOver(scratch, name, cards, file.job);
}

// What a single event of the file means only together with the rest of it.
bool HasSurroundings(std::string_view text) {
  for (const std::string_view sign :
       {"VERSION:2.0", "BEGIN:VTIMEZONE", "TZID", "\nTZ", "\nDAYLIGHT"}) {
    if (text.find(sign) != text.npos) return true;
  }
  return false;
}

void PrepareCalendar(const ImportArguments& given, const ScratchFolder& scratch,
                     const std::string& name, ImportFile& file) {
  RequireStore(given, "calendar");
  const std::string bytes = ReadBytes(file.path);
  const StoreKind& kind = *FindStoreKind("calendar");
  const ItemFile source(file.path, kind);
  auto items = ReadItems(source, file);
  const size_t tasks = std::erase_if(
      items, [&](const auto& found) { return &KindOf(kind, *found.second) != &kind; });
  if (tasks > 0) {
    file.unread.push_back({"file", file.path,
                           "left out " + std::to_string(tasks) +
                               " tasks; `qvsync add tasks` puts them on the PC, and the next sync "
                               "on the phone"});
  }
  if (items.empty()) throw UsageError("holds no appointment that can be read");
  file.job.row = FindFileStore(FileFormat::VCal, kind.name);
  const bool hasExceptions = std::ranges::any_of(
      items, [](const auto& found) { return ExceptionIn(found.second) != nullptr; });
  const bool isPlain = bytes == source.text() && !hasExceptions && !HasSurroundings(bytes) &&
                       SplitVEvents(bytes).size() == items.size();
  if (isPlain && NameInPlace(file.path, file.job)) return;
  std::ranges::stable_partition(
      items, [](const auto& found) { return ExceptionIn(found.second) == nullptr; });
  std::string calendar(kCalendarFileHead);
  for (const auto& [index, item] : items) {
    file.job.uids.push_back(FieldsOf(item.get())->objUid);
    calendar.append(EventStretch(WriteItem(kind, item.get()))).append("\r\n");
  }
  HandOver(scratch, name, calendar.append(kCalendarFileTail), file.job);
}

}  // namespace

ImportFile PrepareImport(const std::string& path, const ImportArguments& given,
                         const ScratchFolder& scratch, size_t number) {
  struct Kind {
    std::string_view extension;
    void (*prepare)(const ImportArguments&, const ScratchFolder&, const std::string&, ImportFile&);
  };
  constexpr Kind kKinds[] = {{".csv", PrepareSheet},
                             {".vcf", PrepareCards},
                             {".vcs", PrepareCalendar},
                             {".ics", PrepareCalendar}};
  ImportFile file;
  file.path = path;
  const std::string extension = ExtensionOf(path);
  const auto kind = std::ranges::find(kKinds, extension, &Kind::extension);
  try {
    if (kind == std::end(kKinds)) {
      throw UsageError(
          "is none of .csv, .vcf, .vcs and .ics; its name must end with what it holds");
    }
    kind->prepare(given, scratch, std::to_string(number) + extension, file);
  } catch (const UsageError& error) {
    file = {};
    file.path = path;
    file.problem = error.what();
  }
  return file;
}

}  // namespace qv
