#include <unistd.h>

#include <memory>
#include <unordered_map>

#include "host/cli/commands.h"
#include "host/cli/item_files.h"
#include "host/cli/open_profile.h"
#include "host/cli/pc_folder.h"
#include "items/item_objects.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

using nlohmann::ordered_json;

struct ItemArguments {
  std::string store;
  std::string id;
  std::string file;
  std::vector<std::string> ids;
  std::vector<std::string> files;
};

std::string ShownTime(DATE date, char between) {
  std::string text = ToUtf8(FormatDateTime(date));
  if (const size_t blank = text.find(' '); blank != std::string::npos) text[blank] = between;
  return text;
}

Exit ListItems(const CommonOptions& common, const ItemArguments& given) {
  const StoreKind& kind = KindNamed(given.store);
  const OpenedProfile profile(common);
  const std::vector<OutlookManager::ListedItem> items = PcFolder(profile, kind).List();
  if (common.json) {
    ordered_json list = ordered_json::array();
    for (const auto& item : items) {
      list.push_back({{"id", ToUtf8(item.entryId)},
                      {"name", ToUtf8(item.name)},
                      {"modified", ShownTime(item.modified, 'T')}});
    }
    PrintJson(list);
    return Exit::Ok;
  }
  std::vector<std::vector<std::string>> rows;
  for (const auto& item : items) {
    rows.push_back({ToUtf8(item.entryId), ToUtf8(item.name), ShownTime(item.modified, ' ')});
  }
  Print(FormatTable({"ID", "NAME", "MODIFIED"}, rows));
  return Exit::Ok;
}

std::string UnknownItem(const StoreKind& kind) {
  return "there is no such item in " + std::string(kind.name);
}

Exit ShowItem(const CommonOptions& common, const ItemArguments& given) {
  const StoreKind& kind = KindNamed(given.store);
  const std::string& id = given.id;
  const OpenedProfile profile(common);
  const ComPtr<IItemCommon> item = PcFolder(profile, kind).Get(id);
  if (!item) throw CommandError(Exit::Partial, id + ": " + UnknownItem(kind));
  const std::string text = WriteItem(kind, item.get());
  if (common.json) {
    PrintJson({{"id", id}, {"text", text}});
  } else {
    // The text is for programs too, and goes out as it is unless a terminal would obey it.
    Print(isatty(STDOUT_FILENO) != 0 ? PrintableLines(text) : text);
  }
  return Exit::Ok;
}

// What a command did, item by item: told as it happens, or in one document at the end.
class Changes {
 public:
  Changes(const CommonOptions& common, const char* done) : json_(common.json), done_(done) {}

  void Done(const std::string& id) {
    ids_.push_back(id);
    if (!json_) Print(id + "\n");
  }
  void Failed(const std::string& item, const std::string& reason) {
    failed_.push_back({{"item", item}, {"reason", reason}});
    if (result_ == Exit::Ok) result_ = Exit::Partial;
    PrintMessage(item + ": " + reason);
  }
  // Nothing more can be done.
  void Broken(const CommandError& error) {
    result_ = error.exit();
    message_ = error.what();
    PrintMessage(message_);
  }
  Exit Finish() const {
    if (!json_) return result_;
    ordered_json document = {{"result", ExitWord(result_)}, {done_, ids_}, {"failed", failed_}};
    if (!message_.empty()) document["message"] = message_;
    PrintJson(document);
    return result_;
  }

 private:
  bool json_;
  const char* done_;
  Exit result_ = Exit::Ok;
  ordered_json ids_ = ordered_json::array();
  ordered_json failed_ = ordered_json::array();
  std::string message_;
};

// An exception is added when all files are read: its series may stand behind it.
struct FoundException {
  std::string place;
  ComPtr<IItemCommon> item;
};

const Calendar* ExceptionIn(const ComPtr<IItemCommon>& item) {
  const Calendar* calendar = CalendarOf(item.get());
  return calendar != nullptr && !calendar->parentRecurUid.empty() ? calendar : nullptr;
}

class Adding {
 public:
  Adding(PcFolder& pc, Changes& changes) : pc_(pc), changes_(changes) {}

  void AddFile(const std::string& path) {
    std::unique_ptr<ItemFile> file;
    try {
      file = std::make_unique<ItemFile>(path, pc_.kind());
    } catch (const UsageError& error) {
      changes_.Failed(path, error.what());
      return;
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

  void AddExceptions() {
    for (const FoundException& found : exceptions_) {
      const std::u16string& uid = ExceptionIn(found.item)->parentRecurUid;
      const auto series = added_.find(uid);
      if (series == added_.end()) {
        changes_.Failed(found.place, "it is an exception of the series " + ToUtf8(uid) +
                                         ", which is not in these files; add both together");
        continue;
      }
      try {
        changes_.Done(pc_.AddException(series->second, found.item));
      } catch (const UsageError& error) {
        changes_.Failed(found.place, error.what());
      }
    }
  }

 private:
  void AddOne(const std::string& place, const ComPtr<IItemCommon>& item) {
    const std::string id = pc_.Add(item);
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

  // A date that stands in the text and is none is only an extra, which the PC side does not keep.
  static void NoteLostDate(const std::string& place, const ComPtr<IItemCommon>& item) {
    if (CalendarOf(item.get()) == nullptr) return;
    for (const ExtraProperty& extra : FieldsOf(item.get())->extras) {
      for (const std::u16string_view name : {u"DTSTART", u"DTEND", u"DUE"}) {
        const bool isIt =
            extra.property.starts_with(name) &&
            (extra.property.size() == name.size() || extra.property[name.size()] == u';');
        if (isIt) {
          PrintMessage("note: " + place + ": " + ToUtf8(name) + " is no date (\"" +
                       ToUtf8(extra.value) + "\"); it is added without it");
        }
      }
    }
  }

  PcFolder& pc_;
  Changes& changes_;
  std::unordered_map<std::u16string, std::string> added_;  // identifiers by uid
  std::vector<FoundException> exceptions_;
};

Exit AddItems(const CommonOptions& common, const ItemArguments& given) {
  const StoreKind& kind = KindNamed(given.store);
  const OpenedProfile profile(common);
  PcFolder pc(profile, kind);
  Changes changes(common, "added");
  try {
    Adding adding(pc, changes);
    for (const std::string& path : given.files) adding.AddFile(path);
    adding.AddExceptions();
  } catch (const CommandError& error) {
    changes.Broken(error);
  }
  return changes.Finish();
}

ComPtr<IItemCommon> OnlyItemOf(const ItemFile& file, const StoreKind& kind, bool forException) {
  const FoundItem& first = file.found().front();
  if (file.found().size() > 1) {
    throw UsageError(first.place + ": there is more than one text in the file; `replace` takes " +
                     "exactly one");
  }
  std::string fault;
  ComPtr<IItemCommon> item = file.Read(first, fault);
  if (!item) throw UsageError(first.place + ": " + fault);
  if (const StoreKind& itsKind = KindOf(kind, *item); &itsKind != &kind) {
    throw UsageError(first.place + ": it belongs in " + std::string(itsKind.name));
  }
  if (!forException && ExceptionIn(item) != nullptr) {
    throw UsageError(first.place + ": it is an exception of a series, and the item is none");
  }
  return item;
}

Exit ReplaceItem(const CommonOptions& common, const ItemArguments& given) {
  const StoreKind& kind = KindNamed(given.store);
  const OpenedProfile profile(common);
  const ItemFile file(given.file, kind);
  const std::string& id = given.id;
  const ComPtr<IItemCommon> item = OnlyItemOf(file, kind, IsSubItemId(FromUtf8(id)));
  PcFolder pc(profile, kind);
  Changes changes(common, "replaced");
  try {
    if (pc.Replace(id, item)) {
      changes.Done(id);
    } else {
      changes.Failed(id, UnknownItem(kind));
    }
  } catch (const UsageError& error) {
    changes.Failed(id, error.what());
  }
  return changes.Finish();
}

Exit DeleteItems(const CommonOptions& common, const ItemArguments& given) {
  const StoreKind& kind = KindNamed(given.store);
  const OpenedProfile profile(common);
  PcFolder pc(profile, kind);
  Changes changes(common, "deleted");
  try {
    for (const std::string& id : given.ids) {
      if (pc.Delete(id)) {
        changes.Done(id);
      } else {
        changes.Failed(id, UnknownItem(kind));
      }
    }
  } catch (const CommandError& error) {
    changes.Broken(error);
  }
  return changes.Finish();
}

enum class Takes { Nothing, Id, Ids, Files, IdAndFile };

struct ItemCommand {
  const char* name;
  const char* about;
  const char* footer;
  Takes takes;
  Exit (*run)(const CommonOptions&, const ItemArguments&);
};

constexpr ItemCommand kCommands[] = {
    {"list", "List the PC side's items: identifier, name, time of change (local)",
     "Example: qvsync list contacts", Takes::Nothing, ListItems},
    {"show", "Print one item of the PC side as text",
     "Example: qvsync show contacts 0B1E...9F > card.vcf", Takes::Id, ShowItem},
    {"add", "Add the items of files to the PC side; prints an identifier a line",
     "A file may hold many texts; \"-\" is standard input. The PC side keeps the content of an\n"
     "item: properties that it has no place for, labels it does not know and the text's UID\n"
     "are not kept. Exceptions of a series of appointments or tasks come with their series.\n"
     "Example: qvsync add calendar holidays.ics",
     Takes::Files, AddItems},
    {"replace", "Replace one item of the PC side by the one text of a file",
     "Example: qvsync replace contacts 0B1E...9F card.vcf", Takes::IdAndFile, ReplaceItem},
    {"delete", "Delete items of the PC side", "Example: qvsync delete contacts 0B1E...9F",
     Takes::Ids, DeleteItems},
};

void AddArguments(CLI::App& command, Takes takes, ItemArguments& given) {
  command.add_option("STORE", given.store, "The store: " + StoreKindNames())->required();
  if (takes == Takes::Id || takes == Takes::IdAndFile) {
    command.add_option("ID", given.id, "The item's whole identifier, as `list` prints it")
        ->required();
  }
  if (takes == Takes::Ids) {
    command.add_option("ID", given.ids, "Whole identifiers, as `list` prints them")->required();
  }
  if (takes == Takes::IdAndFile) {
    command.add_option("FILE", given.file, "A file with exactly one text; \"-\" is standard input")
        ->required();
  }
  if (takes == Takes::Files) {
    command.add_option("FILE", given.files, "Files; \"-\" is standard input")->required();
  }
}

}  // namespace

void AddItemCommands(CLI::App& app, Action& chosen) {
  for (const ItemCommand& row : kCommands) {
    const auto given = std::make_shared<ItemArguments>();
    CLI::App* command = app.add_subcommand(row.name, row.about);
    command->footer(row.footer);
    AddArguments(*command, row.takes, *given);
    command->callback([given, &chosen, run = row.run] {
      chosen = [given, run](const CommonOptions& common) { return run(common, *given); };
    });
  }
}

}  // namespace qv
