#include "host/cli/import_files.h"

#include <algorithm>
#include <filesystem>

#include "host/cli/adding.h"
#include "host/cli/item_files.h"
#include "host/spreadsheet/labels.h"
#include "items/item_objects.h"
#include "items/vcard.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/text.h"
#include "support/vobject/item_files.h"
#include "support/vobject/lines.h"

namespace qv {
namespace {

namespace fs = std::filesystem;

// What a file is prepared with.
struct Desk {
  const ImportArguments& given;
  ScratchFolder& scratch;
  const GroupTable& groups;
  std::string name;  // of the copy that is handed over
};

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

void HandOver(const Desk& desk, std::string_view bytes, FileJob& job) {
  desk.scratch.Put(desk.name, bytes);
  job.folder = desk.scratch.path();
  job.fileNames = FromUtf8(desk.name);
}

void PrepareSheet(const Desk& desk, ImportFile& file) {
  const ImportArguments& given = desk.given;
  SheetImport& import = file.sheet.emplace();
  import.sheet = ReadSheet(ReadBytes(file.path), given.form);
  import.mapping = given.mapFile.empty()
                       ? MapColumns(import.sheet, given.store, given.map)
                       : LoadMapping(import.sheet, given.store, given.map, given.mapFile);
  import.asMapped = import.mapping;
  import.conversions = SpreadByLabel(import.sheet, import.mapping);
  std::ranges::move(ConvertCells(import.sheet, import.mapping, given.dates),
                    std::back_inserter(import.conversions));
  import.leftOut = DropUselessRows(import.sheet, import.mapping);
  import.account = AccountFor(import.sheet, import.mapping, desk.groups);
  file.job.moments = HandOverDates(import.sheet, import.mapping);
  file.job.row = FindFileStore(FileFormat::Csv, import.mapping.kind->store);
  HandOver(desk, StoreForm(import.sheet), file.job);
  const std::u16string path = file.job.folder + u"\\" + file.job.fileNames;
  file.job.mappingXml = MappingXml(import.mapping, path);
  for (SheetRow& row : import.sheet.rows) {
    file.job.places.push_back("line " + std::to_string(row.line));
    row.cells = {};  // they are in the copy
  }
}

struct WholeItem {
  const FoundItem* found;
  ComPtr<IItemCommon> item;
};

// The items of a file; what cannot be read is told.
std::vector<WholeItem> ReadItems(const ItemFile& source, ImportFile& file) {
  std::vector<WholeItem> items;
  for (const FoundItem& found : source.found()) {
    std::string fault;
    ComPtr<IItemCommon> item = source.Read(found, fault);
    if (item) {
      items.push_back({&found, std::move(item)});
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

// Whether a store finds the one item of a text where it is: nothing in it looks like another begin
// or end.
bool IsFoundWhole(std::string_view item, std::string_view begin, std::string_view end) {
  const auto blocks = SplitBlocks(item, begin, end);
  return blocks.size() == 1 && blocks[0].size() == item.size() &&
         item.find(begin, begin.size()) == item.npos;
}

// A NUL would cut off what stands behind it.
std::string WithoutNuls(std::string_view text, ImportFile& file) {
  std::string bytes(text);
  constexpr const char* kNote = "NUL characters were left out";
  const bool isTold = !file.notes.empty() && file.notes.back() == kNote;
  if (std::erase(bytes, '\0') > 0 && !isTold) file.notes.push_back(kNote);
  return bytes;
}

// A card with its first and last line spelled as the stores know them: letter case, blanks and
// groups may stand there otherwise.
std::string WithPlainEnds(std::string_view text) {
  LineReader reader(text);
  Line line;
  reader.Next(line);
  const size_t from = reader.position();
  size_t to = from;
  while (reader.Next(line)) to = line.begin;
  std::string card(kBeginCard);
  return card.append("\r\n").append(text.substr(from, to - from)).append(kEndCard);
}

// Whether a store reads that one card of it, from begin to end: by the store's own cutting, and by
// what the card it cuts then is.
bool IsReadWhole(std::string_view card) {
  std::string cut;
  if (!LastsInAFile(card) || !VCardCutter(card).Next(cut)) return false;
  const std::vector<std::string_view> cards = VCardsIn(cut);
  return cards.size() == 1 && cards[0].size() == cut.size();
}

// Whether a store finds the very items in the file as it stands.
bool IsPlain(const ItemFile& source, const std::vector<WholeItem>& items) {
  if (!source.IsAsItStands()) return false;
  VCardCutter cutter(source.text());
  std::string card;
  for (const WholeItem& item : items) {
    if (!cutter.Next(card) || cutter.stretch() != source.TextOf(*item.found) ||
        !IsReadWhole(cutter.stretch())) {
      return false;
    }
  }
  return !cutter.Next(card);
}

// Nothing of the file can be imported: the first reason, or that there is nothing.
[[noreturn]] void RefuseAll(const ImportFile& file, const char* items) {
  std::string message = std::string("holds no ").append(items).append(" that can be imported");
  if (!file.unread.empty()) {
    message += "; " + file.unread.front().item + ": " + file.unread.front().reason;
  }
  throw UsageError(message);
}

void PrepareCards(const Desk& desk, ImportFile& file) {
  RequireStore(desk.given, "contacts");
  const StoreKind& kind = *FindStoreKind("contacts");
  const ItemFile source(file.path, kind);
  const auto items = ReadItems(source, file);
  file.job.row = FindFileStore(FileFormat::VCard, kind.name);
  if (!items.empty() && IsPlain(source, items) && NameInPlace(file.path, file.job)) {
    for (const WholeItem& item : items) file.job.places.push_back(item.found->place);
    return;
  }
  std::string cards;
  for (const auto& [found, item] : items) {
    std::string card = WithPlainEnds(WithoutNuls(source.TextOf(*found), file));
    // Written anew, no text in it looks like an end.
    if (!IsReadWhole(card)) card = WithPlainEnds(WithoutNuls(WriteItem(kind, item.get()), file));
    if (IsReadWhole(card)) {
      cards.append(card).append("\r\n");
      file.job.places.push_back(found->place);
      continue;
    }
    file.unread.push_back({"file", found->place,
                           "begin or end of a card within the card cannot be imported; `qvsync "
                           "add contacts` puts it on the PC, and the next sync on the phone"});
  }
  if (cards.empty()) RefuseAll(file, "contact");
  HandOver(desk, cards, file.job);
}

// Events alone; tasks and others that share the form are told.
void LeaveOutOthers(const StoreKind& kind, std::vector<WholeItem>& items, ImportFile& file) {
  const size_t others = std::erase_if(
      items, [&](const WholeItem& read) { return &KindOf(kind, *read.item) != &kind; });
  if (others == 0) return;
  file.unread.push_back({"file", file.path,
                         "left out " + std::to_string(others) +
                             " tasks; `qvsync add tasks` puts them on the PC, and the next sync on "
                             "the phone"});
}

void PrepareCalendar(const Desk& desk, ImportFile& file) {
  RequireStore(desk.given, "calendar");
  const StoreKind& kind = *FindStoreKind("calendar");
  const ItemFile source(file.path, kind);
  auto items = ReadItems(source, file);
  LeaveOutOthers(kind, items, file);
  file.job.row = FindFileStore(FileFormat::VCal, kind.name);
  // Series first; items name them by the identifiers that they have in the file.
  std::stable_partition(items.begin(), items.end(),
                        [](const WholeItem& read) { return ExceptionIn(read.item) == nullptr; });
  std::string calendar(kCalendarFileHead);
  for (const auto& [found, item] : items) {
    const std::string text = WithoutNuls(WriteItem(kind, item.get()), file);
    const std::string_view event = EventStretch(text);
    if (!IsFoundWhole(event, kBeginEvent, kEndEvent)) {
      file.unread.push_back({"file", found->place,
                             "a text within it looks like the end of the event; `qvsync add "
                             "calendar` puts it on the PC, and the next sync on the phone"});
      continue;
    }
    file.job.uids.push_back(FieldsOf(item.get())->objUid);
    file.job.places.push_back(found->place);
    calendar.append(event).append("\r\n");
  }
  if (file.job.places.empty()) RefuseAll(file, "appointment");
  HandOver(desk, calendar.append(kCalendarFileTail), file.job);
}

}  // namespace

ImportFile PrepareImport(const std::string& path, const ImportArguments& given,
                         ScratchFolder& scratch, const GroupTable& groups, size_t number) {
  struct Kind {
    std::string_view extension;
    void (*prepare)(const Desk&, ImportFile&);
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
    kind->prepare({given, scratch, groups, std::to_string(number) + extension}, file);
  } catch (const UsageError& error) {
    file = {};
    file.path = path;
    file.problem = error.what();
  }
  return file;
}

}  // namespace qv
