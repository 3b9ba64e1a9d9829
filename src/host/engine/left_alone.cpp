#include "host/engine/left_alone.h"

#include <algorithm>
#include <array>
#include <vector>

#include "host/engine/report_words.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr size_t kNamed = 3;

// Files that can be nothing but items of the kind, and what a person can do with them.
struct OtherForm {
  std::string_view store;
  std::string_view extension;
  const char* wayOut;
};
constexpr const char* kImport =
    "Move them to another folder and bring them in from there with `qvsync import`";
constexpr const char* kAddTasks =
    "Move them to another folder and bring them in from there with `qvsync add tasks`";
constexpr const char* kMove = "Move them to another folder, or leave this store out of the sync";
constexpr const char* kRename = "If they are such items, give their names that ending";
constexpr OtherForm kOtherForms[] = {
    {"contacts", ".vcard", kRename},     {"contacts", ".jcard", kMove},
    {"contacts", ".xcard", kMove},       {"contacts", ".contact", kMove},
    {"calendar", ".ics", kImport},       {"calendar", ".ical", kImport},
    {"calendar", ".icalendar", kImport}, {"calendar", ".jcal", kMove},
    {"calendar", ".xcal", kMove},        {"tasks", ".ics", kAddTasks},
    {"tasks", ".ical", kAddTasks},       {"tasks", ".icalendar", kAddTasks},
    {"tasks", ".jcal", kMove},           {"tasks", ".xcal", kMove},
    {"notes", ".vnote", kRename},        {"notes", ".ics", kMove},
    {"bookmarks", ".url", kMove},        {"bookmarks", ".webloc", kMove},
};

struct LeftWord {
  const char* words;
  const char* key;
};
constexpr std::array<LeftWord, 5> kLeftWords = {{{"another kind of file", "file"},
                                                 {"a folder", "folder"},
                                                 {"a link to a folder", "link"},
                                                 {"no file", "special"},
                                                 {"hidden", "hidden"}}};

const OtherForm* FormOf(const StoreKind& kind, const LeftAlone& left) {
  if (left.kind != LeftKind::File) return nullptr;
  const size_t dot = left.name.rfind('.');
  const std::string_view extension =
      dot == std::string::npos ? std::string_view() : std::string_view(left.name).substr(dot);
  const auto found = std::ranges::find_if(kOtherForms, [&](const OtherForm& form) {
    return form.store == kind.name && EqualsIgnoreCase(form.extension, extension);
  });
  return found == std::end(kOtherForms) ? nullptr : &*found;
}

}  // namespace

const char* LeftWords(LeftKind kind) {
  return kLeftWords.at(static_cast<size_t>(kind)).words;
}

const char* LeftKey(LeftKind kind) {
  return kLeftWords.at(static_cast<size_t>(kind)).key;
}

std::string FormStop(const StoreKind& kind, const std::string& folder,
                     std::span<const LeftAlone> left) {
  const OtherForm* first = nullptr;
  std::vector<std::string> names;
  size_t count = 0;
  for (const LeftAlone& each : left) {
    const OtherForm* form = FormOf(kind, each);
    if (form == nullptr) continue;
    if (first == nullptr) first = form;
    if (count++ < kNamed) names.push_back(each.name);
  }
  if (first == nullptr) return {};
  return "the phone's folder " + folder + " holds " + std::to_string(count) +
         (count == 1 ? " file" : " files") + " in a form that is not read here (" +
         FirstFew(names, count) + "); " + std::string(kind.items) + " would be written beside " +
         (count == 1 ? "it" : "them") + " as " + std::string(kind.extension) +
         " files, which a program for that form does not see. Nothing was changed. " +
         first->wayOut + ".";
}

}  // namespace qv
