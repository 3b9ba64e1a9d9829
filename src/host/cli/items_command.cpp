#include <unistd.h>

#include <memory>

#include "host/cli/adding.h"
#include "host/cli/commands.h"
#include "host/cli/item_files.h"
#include "host/cli/open_profile.h"
#include "host/cli/page_exchange.h"
#include "host/cli/pc_folder.h"
#include "items/folder_document.h"
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
  bool html = false;
  std::vector<std::string> ids;
  std::vector<std::string> files;
};

std::string ShownTime(DATE date, char between) {
  std::string text = ToUtf8(FormatDateTime(date));
  if (const size_t blank = text.find(' '); blank != std::string::npos) text[blank] = between;
  return text;
}

ordered_json ListJson(const std::vector<PcFolder::Entry>& items, bool isTree) {
  ordered_json list = ordered_json::array();
  for (const PcFolder::Entry& item : items) {
    ordered_json shown = {
        {"id", item.id}, {"name", item.name}, {"modified", ShownTime(item.modified, 'T')}};
    if (isTree) shown["folder"] = item.isFolder;
    if (isTree && !item.isFolder) shown["url"] = item.url;
    list.push_back(std::move(shown));
  }
  return list;
}

// The names of the entries, each folder's content below it: the identifier is the way down.
std::string TreeTable(const std::vector<PcFolder::Entry>& items) {
  std::vector<std::vector<std::string>> rows;
  for (const PcFolder::Entry& item : items) {
    std::string_view name = item.id;
    const size_t from = item.isFolder ? name.size() - 2 : name.npos;
    name.remove_prefix(name.rfind('/', from) + 1);
    rows.push_back(
        {std::string(2 * item.depth, ' ').append(name), ShownTime(item.modified, ' '), item.url});
  }
  return FormatTable({"NAME", "MODIFIED", "URL"}, rows);
}

Exit ListItems(const CommonOptions& common, const ItemArguments& given) {
  const StoreKind& kind = KindNamed(given.store);
  const OpenedProfile profile(common);
  const std::unique_ptr<PcFolder> pc = PcFolder::Open(profile, kind);
  const std::vector<PcFolder::Entry> items = pc->List();
  for (const std::string& line : pc->Hidden()) PrintMessage("note: " + line);
  if (common.json) {
    PrintJson(ListJson(items, kind.isTree));
    return Exit::Ok;
  }
  if (kind.isTree) {
    Print(TreeTable(items));
    return Exit::Ok;
  }
  std::vector<std::vector<std::string>> rows;
  for (const PcFolder::Entry& item : items) {
    rows.push_back({item.id, item.name, ShownTime(item.modified, ' ')});
  }
  Print(FormatTable({"ID", "NAME", "MODIFIED"}, rows));
  return Exit::Ok;
}

std::string UnknownItem(const StoreKind& kind) {
  return "there is no such item in " + std::string(kind.name);
}

std::string TextOf(const StoreKind& kind, const ComPtr<IItemCommon>& item) {
  const Folder* folder = FolderOf(item.get());
  return folder != nullptr ? WriteFolderDocument(*folder) : WriteItem(kind, item.get());
}

Exit ShowItem(const CommonOptions& common, const ItemArguments& given) {
  const StoreKind& kind = KindNamed(given.store);
  const std::string& id = given.id;
  if (given.html && !kind.isTree) throw UsageError("--html is for bookmarks alone");
  if (!given.html && id.empty()) throw UsageError("the identifier of the item is missing");
  const OpenedProfile profile(common);
  const std::unique_ptr<PcFolder> pc = PcFolder::Open(profile, kind);
  std::string text;
  if (given.html) {
    text = ExportPage(dynamic_cast<ShortcutFolder&>(*pc), id);
  } else {
    const ComPtr<IItemCommon> item = pc->Get(id);
    if (!item) throw CommandError(Exit::Partial, id + ": " + UnknownItem(kind));
    text = TextOf(kind, item);
  }
  if (common.json) {
    PrintJson({{"id", id}, {"text", text}});
  } else {
    // The text is for programs too, and goes out as it is unless a terminal would obey it.
    Print(isatty(STDOUT_FILENO) != 0 ? PrintableLines(text) : text);
  }
  return Exit::Ok;
}

Exit AddItems(const CommonOptions& common, const ItemArguments& given) {
  const StoreKind& kind = KindNamed(given.store);
  const OpenedProfile profile(common);
  const std::unique_ptr<PcFolder> pc = PcFolder::Open(profile, kind);
  Changes changes(common.json, "added");
  GroupedChanges group(*pc, changes);
  try {
    Adding adding(*pc, group);
    for (const std::string& path : given.files) adding.AddFile(path);
    adding.AddExceptions();
    group.Settle();
  } catch (const CommandError& error) {
    group.Broken(error);
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
  const std::unique_ptr<PcFolder> pc = PcFolder::Open(profile, kind);
  Changes changes(common.json, "replaced");
  try {
    if (pc->Replace(id, item)) {
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
  const std::unique_ptr<PcFolder> pc = PcFolder::Open(profile, kind);
  Changes changes(common.json, "deleted");
  GroupedChanges group(*pc, changes);
  try {
    for (const std::string& id : given.ids) {
      group.Begin();
      try {
        pc->Delete(id) ? group.Done(id) : group.Failed(id, UnknownItem(kind));
      } catch (const UsageError& error) {
        group.Failed(id, error.what());
      }
    }
    group.Settle();
  } catch (const CommandError& error) {
    group.Broken(error);
  }
  return changes.Finish();
}

enum class Takes { Nothing, IdOrPage, Ids, Files, IdAndFile };

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
     "With --html all bookmarks, or those of a folder, as a page that browsers import.\n"
     "Example: qvsync show contacts 0B1E...9F > card.vcf\n"
     "Example: qvsync show bookmarks --html > bookmarks.html",
     Takes::IdOrPage, ShowItem},
    {"add", "Add the items of files to the PC side; prints an identifier a line",
     "A file may hold many texts; \"-\" is standard input. The PC side keeps the content of an\n"
     "item: properties that it has no place for, labels it does not know and the text's UID\n"
     "are not kept. Exceptions of a series of appointments or tasks come with their series.\n"
     "For bookmarks a file may also be a page that a browser has exported (bookmarks.html).\n"
     "Example: qvsync add calendar holidays.ics",
     Takes::Files, AddItems},
    {"replace", "Replace one item of the PC side by the one text of a file",
     "Example: qvsync replace contacts 0B1E...9F card.vcf", Takes::IdAndFile, ReplaceItem},
    {"delete", "Delete items of the PC side", "Example: qvsync delete contacts 0B1E...9F",
     Takes::Ids, DeleteItems},
};

void AddArguments(CLI::App& command, Takes takes, ItemArguments& given) {
  command.add_option("STORE", given.store, "The store: " + StoreKindNames())->required();
  if (takes == Takes::IdOrPage || takes == Takes::IdAndFile) {
    command
        .add_option("ID", given.id,
                    "The item's whole identifier, as `list` prints it; of a bookmark its path, "
                    "\"Work/News.url\"")
        ->required(takes == Takes::IdAndFile);
  }
  if (takes == Takes::IdOrPage) {
    command.add_flag("--html", given.html, "Bookmarks as a page for browsers");
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
