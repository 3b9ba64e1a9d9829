#include "host/bookmark_page.h"

#include <libxml/HTMLparser.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "platform/system/code_page.h"
#include "platform/system/utf8.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kWhiteSpace = " \t\n\r\f";
constexpr std::string_view kDoctype = "NETSCAPE-Bookmark-file";
constexpr size_t kHeadSize = 4096;  // a page names its charset early

std::string_view Trim(std::string_view text) {
  const size_t begin = text.find_first_not_of(kWhiteSpace);
  if (begin == text.npos) return {};
  return text.substr(begin, text.find_last_not_of(kWhiteSpace) - begin + 1);
}

std::string OneBlankEach(std::string_view text) {
  std::string result;
  for (text = Trim(text); !text.empty();) {
    const std::string_view word = text.substr(0, text.find_first_of(kWhiteSpace));
    if (!result.empty()) result += ' ';
    result += word;
    text = Trim(text.substr(word.size()));
  }
  return result;
}

// Empty where the page does not say.
std::string_view CharsetOf(std::string_view html) {
  constexpr std::string_view kKey = "charset=";
  const std::string_view head = html.substr(0, kHeadSize);
  for (size_t at = 0; at + kKey.size() <= head.size(); ++at) {
    if (!EqualsIgnoreCase(head.substr(at, kKey.size()), kKey)) continue;
    std::string_view name = head.substr(at + kKey.size());
    name.remove_prefix(std::min(name.find_first_not_of("\"' "), name.size()));
    return name.substr(0, name.find_first_of("\"' ;/>\r\n"));
  }
  return {};
}

// Done here and not by the parser, which ends a page at the first byte it cannot decode.
std::u16string Decode(std::string_view html) {
  const std::string_view charset = CharsetOf(html);
  // A page whose charset could be read is neither of UTF-16 nor of UTF-32, whatever it says.
  if (EqualsIgnoreCase(charset.substr(0, 3), "utf")) return FromUtf8(html);
  // ISO-8859-1 means windows-1252 to every browser.
  CodePages& pages = CodePages::Default();
  if (!EqualsIgnoreCase(charset, "ISO-8859-1")) {
    if (std::optional<std::u16string> text = pages.DecodeNamed(html, charset)) {
      return *std::move(text);
    }
  }
  return pages.DecodeNamed(html, "windows-1252").value_or(FromUtf8(html));
}

// Valid UTF-8 without a mark.
std::string Utf8Of(std::string_view html) {
  if (html.starts_with(kByteOrderMark)) html.remove_prefix(kByteOrderMark.size());
  std::u16string wide;
  std::string text = AppendUtf8(html, wide) ? std::string(html) : ToUtf8(Decode(html));
  // The parser would take it for the end of the page.
  std::replace(text.begin(), text.end(), '\0', ' ');
  return text;
}

// Seconds, though some browsers write milliseconds or microseconds.
int64_t ReadTime(std::string_view text) {
  constexpr int64_t kMaxSeconds = 100'000'000'000;
  text = Trim(text);
  int64_t time = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), time);
  if (error != std::errc() || end != text.data() + text.size() || time < 0) return 0;
  for (const int64_t unit : {1, 1000, 1'000'000}) {
    if (time / unit < kMaxSeconds) return time / unit;
  }
  return 0;
}

// Null where it is missing or has no value.
const char* Attribute(const xmlChar** attributes, std::string_view name) {
  for (; attributes != nullptr && *attributes != nullptr; attributes += 2) {
    if (name == reinterpret_cast<const char*>(*attributes)) {
      return reinterpret_cast<const char*>(attributes[1]);
    }
  }
  return nullptr;
}

// What an element is here; the rest of a page means nothing.
enum class Tag { kOther, kList, kFolder, kLink, kBreak };

Tag TagOf(const xmlChar* name) {
  const std::string_view tag = reinterpret_cast<const char*>(name);
  if (tag == "dl") return Tag::kList;
  if (tag == "h3") return Tag::kFolder;
  if (tag == "a") return Tag::kLink;
  return tag == "dt" || tag == "dd" || tag == "hr" ? Tag::kBreak : Tag::kOther;
}

// Collects the entries from the parser's events. There is no tree: nobody closes <DT>, so that each
// bookmark would lie within the one before it.
class PageReader {
 public:
  // Nothing for what is no bookmark page, and for one that could not be read to its end.
  std::optional<std::vector<PageEntry>> Read(const std::string& html);

 private:
  using Parser = std::unique_ptr<htmlParserCtxt, decltype(&htmlFreeParserCtxt)>;

  static htmlSAXHandler Handler();
  // No exception may pass through the parser.
  template <typename Action>
  static void Guard(void* reader, Action action) {
    auto& self = *static_cast<PageReader*>(reader);
    if (self.failure_ != nullptr) return;
    try {
      action(self);
    } catch (...) {
      self.failure_ = std::current_exception();
    }
  }

  void OnDoctype(std::string_view name);
  void OnStart(Tag tag, const xmlChar** attributes);
  void OnEnd(Tag tag);
  void AddEntry(bool isFolder, const xmlChar** attributes);
  void EndTitle();

  std::vector<PageEntry> entries_;
  std::vector<bool> lists_;    // the open ones: whether each is a folder's content
  size_t depth_ = 0;           // those of a folder
  bool isFolderNext_ = false;  // the next list is the content of the last entry
  bool isInTitle_ = false;     // text belongs to the last entry
  std::string title_;          // as it stands in the page
  bool isBookmarkPage_ = false;
  std::exception_ptr failure_;
};

htmlSAXHandler PageReader::Handler() {
  htmlSAXHandler handler{};
  handler.internalSubset = [](void* reader, const xmlChar* name, const xmlChar*, const xmlChar*) {
    if (name == nullptr) return;
    Guard(reader, [&](PageReader& self) { self.OnDoctype(reinterpret_cast<const char*>(name)); });
  };
  handler.startElement = [](void* reader, const xmlChar* name, const xmlChar** attributes) {
    Guard(reader, [&](PageReader& self) { self.OnStart(TagOf(name), attributes); });
  };
  handler.endElement = [](void* reader, const xmlChar* name) {
    Guard(reader, [&](PageReader& self) { self.OnEnd(TagOf(name)); });
  };
  handler.characters = [](void* reader, const xmlChar* text, int length) {
    Guard(reader, [&](PageReader& self) {
      if (!self.isInTitle_) return;
      self.title_.append(reinterpret_cast<const char*>(text), static_cast<size_t>(length));
    });
  };
  handler.ignorableWhitespace = handler.characters;
  return handler;
}

std::optional<std::vector<PageEntry>> PageReader::Read(const std::string& html) {
  if (html.size() > INT_MAX) return std::nullopt;
  const Parser parser(htmlNewParserCtxt(), htmlFreeParserCtxt);
  if (parser == nullptr) throw std::bad_alloc();
  *parser->sax = Handler();
  parser->userData = this;
  constexpr int kOptions = HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING |
                           HTML_PARSE_NONET | HTML_PARSE_NOIMPLIED | HTML_PARSE_NODEFDTD;
  htmlCtxtReadMemory(parser.get(), html.data(), static_cast<int>(html.size()), nullptr, "UTF-8",
                     kOptions);
  if (failure_ != nullptr) std::rethrow_exception(failure_);
  if (parser->errNo == XML_ERR_NO_MEMORY) throw std::bad_alloc();
  EndTitle();
  // Set where the parser gave up. Half a page taken for the whole would look like deletions.
  if (!isBookmarkPage_ || parser->disableSAX != 0) return std::nullopt;
  return std::move(entries_);
}

void PageReader::OnDoctype(std::string_view name) {
  // The parser tells of one amid the text, too.
  const bool isAtBegin = entries_.empty() && lists_.empty();
  isBookmarkPage_ |= isAtBegin && EqualsIgnoreCase(name.substr(0, kDoctype.size()), kDoctype);
}

void PageReader::OnStart(Tag tag, const xmlChar** attributes) {
  if (tag == Tag::kOther) return;
  EndTitle();
  if (tag == Tag::kList) {
    lists_.push_back(isFolderNext_);
    if (isFolderNext_) ++depth_;
    isFolderNext_ = false;
  } else if (tag != Tag::kBreak) {
    AddEntry(tag == Tag::kFolder, attributes);
  }
}

void PageReader::OnEnd(Tag tag) {
  if (tag == Tag::kOther) return;
  EndTitle();
  if (tag != Tag::kList || lists_.empty()) return;
  if (lists_.back()) --depth_;
  lists_.pop_back();
  isFolderNext_ = false;
}

void PageReader::AddEntry(bool isFolder, const xmlChar** attributes) {
  const char* url = isFolder ? nullptr : Attribute(attributes, "href");
  const char* added = Attribute(attributes, "add_date");
  PageEntry entry;
  entry.isFolder = isFolder;
  entry.depth = depth_;
  if (url != nullptr) entry.url = Trim(url);
  if (added != nullptr) entry.added = ReadTime(added);
  entries_.push_back(std::move(entry));
  isBookmarkPage_ |= !lists_.empty() && (isFolder || url != nullptr);
  isFolderNext_ = isFolder;
  isInTitle_ = true;
}

void PageReader::EndTitle() {
  if (!isInTitle_) return;
  entries_.back().title = OneBlankEach(title_);
  title_.clear();
  isInTitle_ = false;
}

std::string Escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

constexpr std::string_view kHeader =
    "<!DOCTYPE NETSCAPE-Bookmark-file-1>\n"
    "<META HTTP-EQUIV=\"Content-Type\" CONTENT=\"text/html; charset=UTF-8\">\n"
    "<TITLE>Bookmarks</TITLE>\n"
    "<H1>Bookmarks</H1>\n";

class PageWriter {
 public:
  PageWriter() : page_(kHeader) { OpenList(); }

  void Add(const PageEntry& entry) {
    while (!folders_.empty() && folders_.back() >= entry.depth) CloseFolder();
    Indent().append(entry.isFolder ? "<DT><H3" : "<DT><A");
    if (!entry.isFolder) page_.append(" HREF=\"").append(Escaped(entry.url)).append("\"");
    if (entry.added > 0) {
      page_.append(" ADD_DATE=\"").append(std::to_string(entry.added)).append("\"");
    }
    page_.append(">").append(Escaped(entry.title)).append(entry.isFolder ? "</H3>\n" : "</A>\n");
    if (!entry.isFolder) return;
    Indent();
    OpenList();
    folders_.push_back(entry.depth);
  }

  std::string Finish() {
    while (!folders_.empty()) CloseFolder();
    page_ += kListEnd;
    return std::move(page_);
  }

 private:
  static constexpr std::string_view kListEnd = "</DL><p>\n";

  std::string& Indent() { return page_.append((folders_.size() + 1) * 4, ' '); }
  void OpenList() { page_ += "<DL><p>\n"; }
  void CloseFolder() {
    folders_.pop_back();
    Indent().append(kListEnd);
  }

  std::string page_;
  std::vector<size_t> folders_;  // the depths of the open ones
};

}  // namespace

std::optional<std::vector<PageEntry>> ReadBookmarkPage(std::string_view html) {
  return PageReader().Read(Utf8Of(html));
}

std::string WriteBookmarkPage(const std::vector<PageEntry>& entries) {
  PageWriter writer;
  for (const PageEntry& entry : entries) writer.Add(entry);
  return writer.Finish();
}

}  // namespace qv
