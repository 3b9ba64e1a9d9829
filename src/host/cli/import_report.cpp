#include "host/cli/import_report.h"

#include <algorithm>

#include "host/cli/sync_report.h"
#include "host/engine/report_words.h"
#include "support/text.h"

namespace qv {
namespace {

using nlohmann::ordered_json;

constexpr size_t kMaxLines = 20;

const char* SeparatorWord(char16_t separator) {
  if (separator == u'\t') return "tab";
  return separator == u';' ? "semicolon" : separator == u',' ? "comma" : "another sign";
}

std::string Quoted(std::u16string_view text) {
  return std::string("\"").append(Printable(ToUtf8(text))).append("\"");
}

// At most so many, and how many more; `beyond` are not even in the list.
template <class List, class Line>
void AppendLines(std::string& text, const List& list, Line&& line, size_t beyond = 0) {
  const size_t shown = std::min(list.size(), kMaxLines);
  for (size_t i = 0; i < shown; ++i) text.append("  ").append(line(list[i])).append("\n");
  if (const size_t more = list.size() - shown + beyond; more > 0) {
    text += "  ... and " + std::to_string(more) + " more like it\n";
  }
}

std::string LostText(const LostColumn& lost) {
  const std::string why = lost.reason.empty() ? "as told" : lost.reason;
  return "not taken: " + Quoted(lost.heading) + " (" + Printable(why) +
         "), cells with text: " + std::to_string(lost.cells);
}

std::string SheetText(const SheetImport& import) {
  std::string text = std::string(import.mapping.kind->store) + " in " + import.sheet.encoding +
                     ", separated by " + SeparatorWord(import.sheet.separator) +
                     ", rows: " + std::to_string(import.sheet.rows.size()) + "\n";
  std::vector<std::vector<std::string>> rows;
  for (const FieldAccount& field : import.account.fields) {
    rows.push_back({ToUtf8(field.heading), ToUtf8(field.field), std::to_string(field.kept),
                    std::to_string(field.changed), std::to_string(field.dropped)});
  }
  text += FormatTable({"  column", "field", "kept", "changed", "dropped"}, [&] {
    for (auto& row : rows) row[0].insert(0, "  ");
    return rows;
  }());
  for (const FieldAccount& field : import.account.fields) {
    for (const std::string& example : field.examples) {
      text += "  " + ToUtf8(field.field) + ", " + Printable(example) + "\n";
    }
  }
  // Columns are few, and each is one that a person may want.
  for (const LostColumn& lost : import.account.lost)
    text.append("  ").append(LostText(lost)).append("\n");
  AppendLines(text, import.conversions, [](const Conversion& conversion) {
    return Quoted(conversion.heading) + ": " + Printable(conversion.what) +
           ", cells: " + std::to_string(conversion.cells);
  });
  const auto problemLine = [](const SheetProblem& problem) {
    return "line " + std::to_string(problem.line) + ": " + problem.text;
  };
  AppendLines(text, import.sheet.problems, problemLine, import.sheet.moreProblems);
  AppendLines(text, import.leftOut, problemLine);
  return text;
}

ordered_json SheetJson(const SheetImport& import) {
  ordered_json fields = ordered_json::array();
  for (const FieldAccount& field : import.account.fields) {
    fields.push_back({{"column", ToUtf8(field.heading)},
                      {"field", ToUtf8(field.field)},
                      {"kept", field.kept},
                      {"changed", field.changed},
                      {"dropped", field.dropped},
                      {"examples", field.examples}});
  }
  ordered_json lost = ordered_json::array();
  for (const LostColumn& column : import.account.lost) {
    lost.push_back(
        {{"column", ToUtf8(column.heading)}, {"reason", column.reason}, {"cells", column.cells}});
  }
  ordered_json conversions = ordered_json::array();
  for (const Conversion& conversion : import.conversions) {
    conversions.push_back({{"column", ToUtf8(conversion.heading)},
                           {"what", conversion.what},
                           {"cells", conversion.cells}});
  }
  const auto list = [](const std::vector<SheetProblem>& from) {
    ordered_json lines = ordered_json::array();
    for (const SheetProblem& problem : from) {
      lines.push_back({{"line", problem.line}, {"text", problem.text}});
    }
    return lines;
  };
  return {{"encoding", import.sheet.encoding},
          {"separator", SeparatorWord(import.sheet.separator)},
          {"rows", import.sheet.rows.size()},
          {"fields", fields},
          {"not_taken", lost},
          {"converted", conversions},
          {"problems", list(import.sheet.problems)},
          {"more_problems", import.sheet.moreProblems},
          {"left_out", list(import.leftOut)}};
}

}  // namespace

std::string ImportPlanText(const ImportFile& file) {
  std::string text = Printable(file.path) + ": ";
  if (!file.problem.empty()) return text + Printable(file.problem) + "\n";
  text += file.sheet ? SheetText(*file.sheet) : std::string(file.job.row->kind) + "\n";
  for (const std::string& note : file.notes) text += "  note: " + Printable(note) + "\n";
  AppendLines(text, file.unread, [](const ItemFailure& failure) {
    return Printable(failure.item) + ": " + Printable(failure.reason);
  });
  return text;
}

std::string ImportResultText(const ImportFile& file, const TransferReport* report, bool dryRun) {
  if (!file.problem.empty()) return {};
  if (report == nullptr) return Printable(file.path) + ": not reached\n";
  std::string text = Printable(file.path) + ": " + std::to_string(report->done) +
                     (dryRun ? " would go to the phone" : " went to the phone") + ", " +
                     std::to_string(report->alreadyThere) + " were there already";
  if (report->repeated > 0) {
    text += ", " + std::to_string(report->repeated) + " stand in the files twice";
  }
  text += "\n";
  AppendLines(text, report->failed, [&](const ItemFailure& failure) {
    return Printable(WithName(failure.item, failure.name)) + ": " + Printable(failure.reason);
  });
  if (!report->message.empty()) text += "  " + Printable(report->message) + "\n";
  return text + LeftAloneText("  ", report->left);
}

ordered_json ImportJson(const ImportFile& file, const TransferReport* report) {
  ordered_json document = {{"file", file.path}};
  if (!file.problem.empty()) {
    document["message"] = file.problem;
    return document;
  }
  document["store"] = file.job.row->kind;
  if (file.sheet) document["sheet"] = SheetJson(*file.sheet);
  if (!file.notes.empty()) document["notes"] = file.notes;
  document["added"] = report == nullptr ? 0 : report->done;
  document["already_there"] = report == nullptr ? 0 : report->alreadyThere;
  document["repeated"] = report == nullptr ? 0 : report->repeated;
  ordered_json failed = ordered_json::array();
  for (const ItemFailure& failure : file.unread) {
    failed.push_back({{"item", failure.item}, {"reason", failure.reason}});
  }
  if (report != nullptr) {
    for (const ItemFailure& failure : report->failed) {
      failed.push_back({{"item", failure.item}, {"reason", failure.reason}});
      if (!failure.name.empty()) failed.back()["name"] = failure.name;
    }
    if (!report->message.empty()) document["message"] = report->message;
  }
  document["failed"] = failed;
  if (report != nullptr) PutLeftAlone(report->left, document);
  return document;
}

}  // namespace qv
