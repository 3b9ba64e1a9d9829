#include "host/cli/adding.h"

#include <filesystem>
#include <memory>

#include "host/cli/item_files.h"
#include "host/cli/page_exchange.h"
#include "items/item_objects.h"
#include "support/text.h"

namespace qv {
namespace {

// A date that stands in the text and is none is only an extra, which the PC side does not keep.
void NoteLostDate(const std::string& place, const ComPtr<IItemCommon>& item) {
  if (CalendarOf(item.get()) == nullptr) return;
  for (const ExtraProperty& extra : FieldsOf(item.get())->extras) {
    for (const std::u16string_view name : {u"DTSTART", u"DTEND", u"DUE"}) {
      const bool isIt = extra.property.starts_with(name) && (extra.property.size() == name.size() ||
                                                             extra.property[name.size()] == u';');
      if (isIt) {
        PrintMessage("note: " + place + ": " + ToUtf8(name) + " is no date (\"" +
                     ToUtf8(extra.value) + "\"); it is added without it");
      }
    }
  }
}

}  // namespace

const Calendar* ExceptionIn(const ComPtr<IItemCommon>& item) {
  const Calendar* calendar = CalendarOf(item.get());
  return calendar != nullptr && !calendar->parentRecurUid.empty() ? calendar : nullptr;
}

void Adding::AddFile(const std::string& path) {
  std::unique_ptr<ItemFile> file;
  // Who writes the rest of what is read may take his time.
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) changes_.Settle();
  try {
    file = std::make_unique<ItemFile>(path, pc_.kind());
  } catch (const UsageError& error) {
    changes_.Failed(path, error.what());
    return;
  }
  if (pc_.kind().isTree && file->IsWithoutItems()) {
    if (const auto page = ReadBookmarkPage(file->text())) {
      return ImportPage(dynamic_cast<ShortcutFolder&>(pc_), *page, file->name(), changes_);
    }
  }
  const StoreKind* other = nullptr;
  size_t others = 0;
  for (const FoundItem& found : file->found()) {
    std::string fault;
    const ComPtr<IItemCommon> item = file->Read(found, fault);
    if (!item) {
      changes_.Failed(found.place, fault);
    } else if (const StoreKind& kind = KindOf(pc_.kind(), *item); &kind != &pc_.kind()) {
      other = &kind;
      ++others;
    } else if (ExceptionIn(item) != nullptr) {
      NoteLostDate(found.place, item);
      exceptions_.push_back({found.place, item});
    } else {
      AddOne(found.place, item);
    }
  }
  if (const std::string doubts = file->Doubts(); !doubts.empty()) {
    PrintMessage("note: " + file->name() + ": " + doubts);
  }
  if (other == nullptr) return;
  changes_.Failed(file->name(), "left out " + std::to_string(others) + " that belong in " +
                                    std::string(other->name) + "; `qvsync add " +
                                    std::string(other->name) + "` adds them");
}

void Adding::AddExceptions() {
  for (const FoundException& found : exceptions_) {
    const std::u16string& uid = ExceptionIn(found.item)->parentRecurUid;
    const auto series = added_.find(uid);
    if (series == added_.end()) {
      changes_.Failed(found.place, "it is an exception of the series " + ToUtf8(uid) +
                                       ", which is not in these files; add both together");
      continue;
    }
    changes_.Begin();
    try {
      changes_.Done(pc_.AddException(series->second, found.item));
    } catch (const UsageError& error) {
      changes_.Failed(found.place, error.what());
    }
  }
}

void Adding::AddOne(const std::string& place, const ComPtr<IItemCommon>& item) {
  std::string id;
  changes_.Begin();
  try {
    id = pc_.Add(item);
  } catch (const UsageError& error) {
    return changes_.Failed(place, error.what());
  }
  changes_.Done(id);
  if (const std::u16string& uid = FieldsOf(item.get())->objUid; !uid.empty()) {
    added_.emplace(uid, id);
  }
  NoteLostDate(place, item);
  const Calendar* calendar = CalendarOf(item.get());
  if (calendar != nullptr && calendar->isRecurring &&
      calendar->recurrence.type == RecurrenceType::None) {
    PrintMessage("note: " + place + ": the PC side cannot hold its rule; it is added with its " +
                 "first day alone");
  }
}

}  // namespace qv
