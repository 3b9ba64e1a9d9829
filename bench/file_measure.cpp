// Measures what reads and writes files, for scripts/bench: tables, documents and files of cards.
//   qv_file_measure FOLDER ROUNDS [csv|xml|split]
// Prints "NAME VALUE" lines: seconds of the processor, and ratios, whose names end with "_ratio".
// What is compared is measured in turn; values are medians. FOLDER should be on a memory file
// system, with 500 MB free.
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>

#include "csv_yardstick.h"
#include "file_samples.h"
#include "host/engine/file_store.h"
#include "host/profile.h"
#include "measuring.h"
#include "platform/system/debug_log.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/csv_document.h"
#include "support/text.h"
#include "support/vobject/item_files.h"
#include "support/xml/xml_tree.h"

namespace qv {
namespace {

namespace fs = std::filesystem;

void Require(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(what);
}

void Print(const std::string& name, double value) {
  std::printf("%s %.6f\n", name.c_str(), value);
  std::fflush(stdout);
}

void PrintRatio(const std::string& name, double a, double b) {
  std::printf("%s_ratio %.3f\n", name.c_str(), a / b);
  std::fflush(stdout);
}

// In a child, so that the memory that it takes is not there to be reused.
double MakeFile(const std::string& path, const std::function<std::string()>& content) {
  InChild([&] {
    std::ofstream(path, std::ios::binary) << content();
    return 0;
  });
  return static_cast<double>(fs::file_size(path));
}

std::u16string ModulePath(const std::string& path) {
  return FromNativePath(path).value();
}

std::string Bytes(const std::string& path) {
  std::string bytes;
  Require(!Files::Default().Read(path, bytes), "cannot read a sample");
  return bytes;
}

// Runs alternatives in turn, each time in a new process, and gathers what they cost.
class Race {
 public:
  using Entrant = std::function<Cost()>;

  Race(int rounds, const std::vector<Entrant>& entrants) : costs_(entrants.size()) {
    for (int round = 0; round < rounds; ++round) {
      for (size_t i = 0; i < entrants.size(); ++i) costs_[i].push_back(InChild(entrants[i]));
    }
  }
  double seconds(size_t entrant) const { return MedianOf(entrant, &Cost::seconds); }
  double bytes(size_t entrant) const { return MedianOf(entrant, &Cost::bytes); }

 private:
  double MedianOf(size_t entrant, double Cost::*part) const {
    std::vector<double> values;
    for (const Cost& cost : costs_[entrant]) values.push_back(cost.*part);
    return Median(std::move(values));
  }

  std::vector<std::vector<Cost>> costs_;
};

constexpr int kRows = 100'000;

Cost LoadSheet(const std::string& path) {
  CsvDocument document;
  return CostOf([&] {
    Require(document.LoadFile(ModulePath(path)) && document.rowCount() == kRows,
            "the sheet cannot be read");
  });
}

Cost LoadWithLibcsv(const std::string& path) {
  PlainRows rows;
  const Cost cost = CostOf([&] { rows = ReadWithLibcsv(path); });
  Require(rows.size() == kRows + 1, "libcsv cannot read the sheet");
  return cost;
}

FileJob JobFor(const std::string& path) {
  const fs::path whole(path);
  FileJob job;
  job.row = FindFileStore(FileFormat::Csv, "contacts");
  job.folder = ModulePath(whole.parent_path().string());
  job.fileNames = ModulePath(whole.filename().string());
  job.mappingXml = MappingOfContacts(ModulePath(path));
  return job;
}

// A store that has read the file.
Cost OpenStore(Profile& profile, const std::string& path) {
  const FileJob job = JobFor(path);
  std::unique_ptr<FileStore> store;
  const Cost cost = CostOf([&] { store = std::make_unique<FileStore>(profile, job); });
  Require(store->Count() == kRows, "the sheet was not read whole");
  return cost;
}

// One that has also told what there is, and has given away every contact, as item and as text.
Cost ImportContacts(Profile& profile, const std::string& path) {
  const FileJob job = JobFor(path);
  return CostOf([&] {
    FileStore store(profile, job);
    const int32_t count = store.Count();
    Require(count == kRows, "the sheet was not read whole");
    for (int32_t i = 0; i < count; ++i) {
      ComPtr<IItemCommon> item;
      Require(!store.Get(i, item).empty(), "a contact is missing");
    }
  });
}

void MeasureSheet(const std::string& folder, const std::string& name, int filled, int rounds) {
  const std::string path = folder + "/" + name + ".csv";
  const double size = MakeFile(path, [&] { return SheetOfContacts(kRows, filled); });
  Print(name + "_bytes", size);
  std::vector<Race::Entrant> entrants = {[&] { return LoadSheet(path); }};
  if (HasLibcsv()) entrants.push_back([&] { return LoadWithLibcsv(path); });
  const Race loads(rounds, entrants);
  Print(name + "_load", loads.seconds(0));
  if (HasLibcsv()) {
    Print(name + "_libcsv", loads.seconds(1));
    PrintRatio(name + "_load", loads.seconds(0), loads.seconds(1));
    PrintRatio(name + "_libcsv_memory", loads.bytes(1), size);
  }
  PrintRatio(name + "_memory", loads.bytes(0), size);

  // The import as a host does it, with a store of its own bag.
  Profile profile(folder + "/profile");
  const Race imports(rounds, {[&] { return OpenStore(profile, path); },
                              [&] { return ImportContacts(profile, path); }});
  Print(name + "_open", imports.seconds(0));
  PrintRatio(name + "_open_memory", imports.bytes(0), size);
  Print(name + "_import", imports.seconds(1));
  PrintRatio(name + "_import_memory", imports.bytes(1), size);
  fs::remove(path);
}

Cost RewriteXml(const std::string& from, const std::string& to) {
  XmlTreeNode tree;
  const Cost cost = CostOf([&] {
    XmlResults results;
    tree = ParseXmlFile(ModulePath(from), u"contacts", results);
    Require(results.error == XmlError::None, "the document cannot be read");
    Require(tree.WriteFile(ModulePath(to), false) == XmlError::None, "cannot write");
  });
  return cost;
}

// Blanks between elements are dropped, as the other side does it.
constexpr int kLibxmlOptions = XML_PARSE_NOBLANKS | XML_PARSE_COMPACT | XML_PARSE_HUGE;

Cost RewriteWithLibxml(const std::string& from, const std::string& to) {
  return CostOf([&] {
    const xmlDocPtr document = xmlReadFile(from.c_str(), nullptr, kLibxmlOptions);
    Require(document != nullptr, "libxml2 cannot read the document");
    Require(xmlSaveFile(to.c_str(), document) > 0, "libxml2 cannot write");
  });
}

Cost RewriteXmlText(const std::string& from) {
  const std::u16string source = FromUtf8(Bytes(from));
  std::u16string text = source;
  return CostOf([&] {
    XmlResults results;
    const XmlTreeNode tree = ParseXmlText(std::move(text), u"contacts", results);
    Require(results.error == XmlError::None, "the document cannot be read");
    Require(tree.ToText(false).size() > source.size() / 2, "the document was not written whole");
  });
}

Cost RewriteTextWithLibxml(const std::string& from) {
  const std::string source = Bytes(from);
  return CostOf([&] {
    const int size = static_cast<int>(source.size());
    const xmlDocPtr document = xmlReadMemory(source.data(), size, nullptr, nullptr, kLibxmlOptions);
    Require(document != nullptr, "libxml2 cannot read the document");
    xmlChar* text = nullptr;
    int written = 0;
    xmlDocDumpMemory(document, &text, &written);
    Require(written > size / 2, "libxml2 did not write the document whole");
  });
}

// Files in UTF-16 on both sides; libxml2 from and to UTF-8, which is half the bytes and what it
// holds inside; and texts in memory, each in its own form.
void MeasureXml(const std::string& folder, int rounds) {
  constexpr size_t kCharacters = 25'000'000;
  const std::string wide = folder + "/wide.xml";
  const std::string narrow = folder + "/narrow.xml";
  const std::string out = folder + "/out.xml";
  Print("xml_bytes", MakeFile(wide, [] {
          return "\xFF\xFE" + ToUtf16Le(FromUtf8(ContactsDocument(kCharacters, "utf-16")));
        }));
  MakeFile(narrow, [] { return ContactsDocument(kCharacters, "utf-8"); });
  const Race race(
      rounds,
      {[&] { return RewriteXml(wide, out); }, [&] { return RewriteWithLibxml(wide, out); },
       [&] { return RewriteWithLibxml(narrow, out); }, [&] { return RewriteXmlText(narrow); },
       [&] { return RewriteTextWithLibxml(narrow); }});
  Print("xml_rewrite", race.seconds(0));
  Print("xml_libxml2", race.seconds(1));
  Print("xml_libxml2_utf8", race.seconds(2));
  Print("xml_text", race.seconds(3));
  Print("xml_text_libxml2", race.seconds(4));
  PrintRatio("xml", race.seconds(0), race.seconds(1));
  PrintRatio("xml_utf8", race.seconds(0), race.seconds(2));
  PrintRatio("xml_text", race.seconds(3), race.seconds(4));
  PrintRatio("xml_memory", race.bytes(0), race.bytes(1));
  for (const std::string& path : {wide, narrow, out}) fs::remove(path);
}

size_t WalkLines(const std::string& text) {
  size_t lines = 0;
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at < end; ++at, ++lines) {
    at = static_cast<const char*>(std::memchr(at, '\n', static_cast<size_t>(end - at)));
    if (at == nullptr) break;
  }
  return lines;
}

struct SplitTimes {
  double walk;
  double blocks;  // where the cards stand
  double cards;   // each handed out as the converter takes it
};

// The text is read by all three, so they share a process.
void MeasureSplit(const std::string& name, int photoEach, int rounds) {
  constexpr size_t kSize = 100'000'000;
  const SplitTimes times = InChild([&] {
    const std::string text = CardFile(kSize, photoEach);
    std::vector<double> walks;
    std::vector<double> blocks;
    std::vector<double> cards;
    for (int round = 0; round < rounds; ++round) {
      size_t found = 0;
      walks.push_back(ProcessorSeconds([&] { found = WalkLines(text); }));
      Require(found > 0, "the file has no lines");
      blocks.push_back(
          ProcessorSeconds([&] { found = SplitBlocks(text, "BEGIN:VCARD", "END:VCARD").size(); }));
      size_t cut = 0;
      cards.push_back(ProcessorSeconds([&] {
        VCardCutter cutter(text);
        for (std::string card; cutter.Next(card);) ++cut;
      }));
      Require(cut == found, "the cards were not found");
    }
    return SplitTimes{Median(walks), Median(blocks), Median(cards)};
  });
  Print(name + "_walk", times.walk);
  Print(name + "_blocks", times.blocks);
  Print(name + "_cards", times.cards);
  PrintRatio(name + "_blocks", times.blocks, times.walk);
  PrintRatio(name + "_cards", times.cards, times.walk);
}

struct Part {
  std::string_view name;
  void (*measure)(const std::string& folder, int rounds);
};

constexpr Part kParts[] = {
    // Every cell filled is what a reader has most to do with; address books are emptier.
    {"csv",
     [](const std::string& folder, int rounds) {
       Profile::Create(folder + "/profile");
       MeasureSheet(folder, "csv_full", 100, rounds);
       MeasureSheet(folder, "csv_third", 33, rounds);
     }},
    {"xml", MeasureXml},
    {"split",
     [](const std::string&, int rounds) {
       MeasureSplit("split_plain", 0, rounds);
       MeasureSplit("split_photos", 5, rounds);
     }},
};

int Run(const std::string& folder, int rounds, std::string_view wanted) {
  SilentLog silent;
  const ScopedService<DebugLog> quiet(silent);
  for (const Part& part : kParts) {
    if (wanted.empty() || wanted == part.name) part.measure(folder, rounds);
  }
  return 0;
}

}  // namespace
}  // namespace qv

int main(int argc, char** argv) {
  if (argc != 3 && argc != 4) {
    std::fprintf(stderr, "usage: qv_file_measure FOLDER ROUNDS [csv|xml|split]\n");
    return 2;
  }
  const std::string folder = std::filesystem::absolute(argv[1]).string();
  return qv::Run(folder, std::atoi(argv[2]), argc == 4 ? argv[3] : "");
}
