#include "host/cli/export_report.h"

#include <algorithm>

#include "host/cli/sync_report.h"
#include "host/engine/report_words.h"
#include "platform/system/code_page.h"
#include "platform/system/service.h"

namespace qv {
namespace {

using nlohmann::ordered_json;

constexpr size_t kMaxShown = 5;

// Whether the code page cannot hold a text.
bool IsForeign(std::u16string_view text) {
  if (std::ranges::all_of(text, [](char16_t unit) { return unit < 0x80; })) return false;
  CodePages& pages = Service<CodePages>::Get();
  return pages.Decode(pages.Encode(text, kAnsiPage), kAnsiPage) != text;
}

std::string FilesText(const ExportOutcome& outcome, const std::string& folder) {
  const std::vector<std::string>& files = outcome.report.files;
  std::string text = std::to_string(outcome.report.done) + " in " + std::to_string(files.size()) +
                     (files.size() == 1 ? " file" : " files") + " in " + Printable(folder) + "\n";
  const size_t shown = std::min(files.size(), kMaxShown);
  for (size_t i = 0; i < shown; ++i) text += "  " + Printable(files[i]) + "\n";
  if (shown < files.size()) {
    text += "  ... and " + std::to_string(files.size() - shown) + " more\n";
  }
  return text;
}

std::string AccountText(const ContentAccount& account) {
  std::string text;
  if (account.formulas > 0) {
    text += "  cells that a spreadsheet takes for formulas: " + std::to_string(account.formulas) +
            "; they are written as they are\n";
  }
  if (account.foreign > 0) {
    text += "  cells with characters that the code page " + Service<CodePages>::Get().AnsiPage() +
            " lacks, now \"?\": " + std::to_string(account.foreign) +
            "; Platform.AnsiCodePage in qvsync.conf names another, vcf and vcs files need none\n";
  }
  if (account.incomplete > 0) {
    text += "  items of which a CSV file does not bring everything back: " +
            std::to_string(account.incomplete) + "; vcf and vcs files hold it all\n";
  }
  return text;
}

}  // namespace

void ContentAccount::Add(const SheetKind& kind, IItemCommon& item, const GroupTable& groups,
                         const CellClock& clock) {
  const std::vector<FieldCell> cells = kind.fields.write(&item, groups);
  formulas += CountFormulas(cells);
  foreign +=
      std::ranges::count_if(cells, [](const FieldCell& cell) { return IsForeign(cell.text); });
  incomplete += LosesInCells(kind, item, groups, clock);
}

std::string NothingInCells(const SheetKind& kind, IItemCommon& item, const GroupTable& groups) {
  const std::vector<FieldCell> cells = kind.fields.write(&item, groups);
  const bool hasText =
      std::ranges::any_of(cells, [](const FieldCell& cell) { return !cell.text.empty(); });
  if (hasText) return {};
  if (kind.store == "notes") return "it has no text, so there is nothing of it to write";
  return "it has nothing that a CSV file holds; a vcf or vcs file would hold it";
}

std::string ExportText(const ExportOutcome& outcome, const std::string& folder) {
  const TransferReport& report = outcome.report;
  std::string text = std::string(outcome.row->kind) + ": ";
  if (!report.files.empty()) {
    text += FilesText(outcome, folder) + AccountText(outcome.account);
  } else if (report.message.empty()) {
    text += "nothing to write\n";
  }
  if (!report.message.empty()) {
    text += (report.files.empty() ? "" : "  ") + Printable(report.message) + "\n";
  }
  for (const ItemFailure& altered : report.altered) {
    text += "  " + Printable(WithName(altered.item, altered.name)) + ": " +
            Printable(altered.reason) + "\n";
  }
  for (const ItemFailure& failure : report.failed) {
    text += "  " + Printable(WithName(failure.item, failure.name)) + ": " +
            Printable(failure.reason) + "\n";
  }
  return text + LeftAloneText("  ", report.left);
}

ordered_json ExportJson(const ExportOutcome& outcome) {
  const auto list = [](const std::vector<ItemFailure>& items) {
    ordered_json lines = ordered_json::array();
    for (const ItemFailure& item : items) {
      lines.push_back({{"item", item.item}, {"reason", item.reason}});
      if (!item.name.empty()) lines.back()["name"] = item.name;
    }
    return lines;
  };
  ordered_json document = {{"store", outcome.row->kind},
                           {"items", outcome.report.done},
                           {"files", outcome.report.files},
                           {"formulas", outcome.account.formulas},
                           {"lacking_characters", outcome.account.foreign},
                           {"incomplete", outcome.account.incomplete},
                           {"altered", list(outcome.report.altered)},
                           {"failed", list(outcome.report.failed)}};
  PutLeftAlone(outcome.report.left, document);
  if (!outcome.report.message.empty()) document["message"] = outcome.report.message;
  return document;
}

}  // namespace qv
