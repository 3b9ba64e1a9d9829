#include "pim/contact_document.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <new>
#include <utility>

#include "platform/com/guid.h"
#include "platform/system/utf8.h"
#include "support/text.h"
#include "support/vobject/decode.h"
#include "support/vobject/encode.h"

namespace qv {
namespace {

constexpr std::string_view kNamespace = "http://schemas.microsoft.com/Contact";
constexpr std::string_view kInstance = "http://www.w3.org/2001/XMLSchema-instance";
constexpr std::string_view kRootName = "contact";
constexpr std::string_view kVersion = "1";
constexpr std::string_view kCollectionEnd = "Collection";
constexpr std::string_view kIdPath = "ContactIDCollection/ContactID[1]/Value";
constexpr size_t kGuidLength = 36;

const xmlChar* Xml(const char* text) {
  return reinterpret_cast<const xmlChar*>(text);
}
const xmlChar* Xml(const std::string& text) {
  return Xml(text.c_str());
}
std::string_view View(const xmlChar* text) {
  return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

// Owns what libxml2 allocated.
struct FreeXml {
  void operator()(void* memory) const noexcept { xmlFree(memory); }
};
using XmlText = std::unique_ptr<xmlChar, FreeXml>;

template <class Pointer>
Pointer* NotNull(Pointer* made) {
  if (made == nullptr) throw std::bad_alloc();
  return made;
}

bool IsOurs(const xmlNode* node) {
  return node->type == XML_ELEMENT_NODE && node->ns != nullptr &&
         View(node->ns->href) == kNamespace;
}
bool IsOurs(const xmlNode* node, std::string_view name) {
  return IsOurs(node) && View(node->name) == name;
}

// Written with a prefix by the programs that make such files; read without one too.
std::string Attribute(const xmlNode* element, const char* name) {
  auto* node = const_cast<xmlNode*>(element);
  XmlText text(xmlGetNsProp(node, Xml(name), Xml(kNamespace.data())));
  if (!text) text.reset(xmlGetNoNsProp(node, Xml(name)));
  return std::string(View(text.get()));
}

bool IsNil(const xmlNode* element) {
  const XmlText text(
      xmlGetNsProp(const_cast<xmlNode*>(element), Xml("nil"), Xml(kInstance.data())));
  return View(text.get()) == "true" || View(text.get()) == "1";
}

bool IsBlank(const xmlNode* node) {
  return node != nullptr && node->type == XML_TEXT_NODE && xmlIsBlankNode(node) != 0;
}

xmlNode* FirstChild(const xmlNode* parent, std::string_view name) {
  for (xmlNode* child = parent->children; child != nullptr; child = child->next) {
    if (IsOurs(child, name)) return child;
  }
  return nullptr;
}

// The next of the nodes that have a number, from `node` itself on.
xmlNode* Counted(xmlNode* node, std::string_view name) {
  while (node != nullptr && (!IsOurs(node, name) || IsNil(node))) node = node->next;
  return node;
}

std::string TextOf(const xmlNode* element) {
  const XmlText text(xmlNodeGetContent(element));
  return std::string(View(text.get()));
}

// What an XML text can hold, as UTF-8.
std::string Writable(std::u16string_view value) {
  std::string text = ToUtf8(value);
  for (char& c : text) {
    const bool isControl = static_cast<unsigned char>(c) < 0x20;
    if (isControl && c != '\t' && c != '\n' && c != '\r') c = ' ';
  }
  // U+FFFE and U+FFFF are no characters of XML.
  for (const std::string_view none : {"\xEF\xBF\xBE", "\xEF\xBF\xBF"}) {
    for (size_t at = text.find(none); at != text.npos; at = text.find(none, at)) {
      text.replace(at, none.size(), "\xEF\xBF\xBD");
    }
  }
  return text;
}

// As such files have them.
std::string LowerGuid(std::u16string_view guid) {
  std::string text = ToUtf8(guid);
  for (char& c : text) {
    if (c >= 'A' && c <= 'F') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

void OnDocumentType(void* context, const xmlChar*, const xmlChar*, const xmlChar*) {
  auto* parser = static_cast<xmlParserCtxt*>(context);
  *static_cast<bool*>(parser->_private) = true;
  xmlStopParser(parser);
}

void Ignore(void*, const char*, ...) {}
void IgnoreError(void*, xmlError*) {}

std::string Reason(const xmlParserCtxt* parser) {
  const xmlError& error = parser->lastError;
  std::string text = error.message == nullptr ? "it is no XML" : error.message;
  while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
  return error.line > 0 ? "line " + std::to_string(error.line) + ": " + text : text;
}

}  // namespace

// "Collection/Element[n]/Leaf", "Collection/Element[n]", or "Leaf" alone: collection is empty then.
struct ContactDocument::Path {
  std::string collection;
  std::string element;
  size_t number = 0;
  std::string leaf;

  static std::optional<Path> Of(std::u16string_view text) {
    Path path;
    const std::string utf8 = ToUtf8(text);
    const std::string_view all = utf8;
    const size_t slash = all.find('/');
    if (slash == all.npos) {
      path.leaf = all;
      return IsName(path.leaf) ? std::optional(path) : std::nullopt;
    }
    path.collection = all.substr(0, slash);
    std::string_view rest = all.substr(slash + 1);
    const size_t open = rest.find('[');
    const size_t close = rest.find(']');
    if (open == rest.npos || close == rest.npos || close < open) return std::nullopt;
    path.element = rest.substr(0, open);
    const auto [end, error] =
        std::from_chars(rest.data() + open + 1, rest.data() + close, path.number);
    if (error != std::errc() || end != rest.data() + close || path.number == 0) return std::nullopt;
    rest.remove_prefix(close + 1);
    if (!rest.empty()) {
      if (rest.front() != '/' || !IsName(rest.substr(1))) return std::nullopt;
      path.leaf = rest.substr(1);
    }
    return IsName(path.collection) && IsName(path.element) ? std::optional(path) : std::nullopt;
  }

  static bool IsName(std::string_view name) {
    const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    return !name.empty() && std::ranges::all_of(name, isLetter);
  }
};

void ContactDocument::FreeDoc::operator()(_xmlDoc* doc) const noexcept {
  xmlFreeDoc(doc);
}

ContactDocument::ContactDocument(std::unique_ptr<_xmlDoc, FreeDoc> doc) : doc_(std::move(doc)) {}
ContactDocument::ContactDocument(ContactDocument&&) noexcept = default;
ContactDocument& ContactDocument::operator=(ContactDocument&&) noexcept = default;
ContactDocument::~ContactDocument() = default;

std::optional<ContactDocument> ContactDocument::Parse(std::string_view bytes, std::string& why) {
  if (bytes.empty() || bytes.size() > INT_MAX) {
    why = bytes.empty() ? "it is empty" : "it is too large";
    return std::nullopt;
  }
  struct FreeParser {
    void operator()(xmlParserCtxt* parser) const noexcept { xmlFreeParserCtxt(parser); }
  };
  const std::unique_ptr<xmlParserCtxt, FreeParser> parser(NotNull(xmlNewParserCtxt()));
  bool hasType = false;
  parser->_private = &hasType;
  parser->sax->internalSubset = OnDocumentType;
  parser->sax->error = Ignore;
  parser->sax->warning = Ignore;
  parser->sax->serror = IgnoreError;
  // Without a document type nothing can be expanded, so that the limits of the parser, which would
  // refuse a large photo, are not needed.
  constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_NOERROR |
                           XML_PARSE_NOWARNING | XML_PARSE_COMPACT;
  std::unique_ptr<xmlDoc, FreeDoc> doc(xmlCtxtReadMemory(
      parser.get(), bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr, kOptions));
  if (hasType) {
    why = "it has a document type (<!DOCTYPE>), which a contact has not";
    return std::nullopt;
  }
  const xmlNode* root = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
  if (root == nullptr) {
    why = Reason(parser.get());
    return std::nullopt;
  }
  if (!IsOurs(root, kRootName)) {
    why = "its outermost element is \"" + std::string(View(root->name)) + "\", not a contact";
    return std::nullopt;
  }
  const std::string version = Attribute(root, "Version");
  if (!version.empty() && version != kVersion) {
    why = "it is of version " + version + "; known is version 1";
    return std::nullopt;
  }
  return ContactDocument(std::move(doc));
}

ContactDocument ContactDocument::New(std::u16string_view guid, std::string_view now) {
  std::unique_ptr<xmlDoc, FreeDoc> doc(NotNull(xmlNewDoc(Xml("1.0"))));
  xmlNode* root = NotNull(xmlNewDocNode(doc.get(), nullptr, Xml(kRootName.data()), nullptr));
  xmlDocSetRootElement(doc.get(), root);
  xmlNs* ns = NotNull(xmlNewNs(root, Xml(kNamespace.data()), Xml("c")));
  NotNull(xmlNewNs(root, Xml(kInstance.data()), Xml("xsi")));
  xmlSetNs(root, ns);
  NotNull(xmlSetNsProp(root, ns, Xml("Version"), Xml(kVersion.data())));
  xmlAddChild(root, NotNull(xmlNewText(Xml("\n"))));
  ContactDocument contact(std::move(doc));
  contact.SetText(contact.Append(root, "CreationDate"), now);
  contact.SetId(guid);
  return contact;
}

std::string ContactDocument::Bytes() const {
  xmlChar* memory = nullptr;
  int size = 0;
  // Whatever it was read in: not every encoding that is read can be written to be read again.
  xmlDocDumpMemoryEnc(doc_.get(), &memory, &size, "UTF-8");
  const XmlText text(NotNull(memory));
  return {reinterpret_cast<const char*>(memory), static_cast<size_t>(size)};
}

_xmlNode* ContactDocument::Root() const {
  return xmlDocGetRootElement(doc_.get());
}

_xmlNode* ContactDocument::FindCollection(std::string_view name) const {
  return FirstChild(Root(), name);
}

_xmlNode* ContactDocument::FindNode(const Path& path) const {
  const bool isOn = cursor_.node != nullptr && cursor_.collection == path.collection &&
                    cursor_.number <= path.number && View(cursor_.node->name) == path.element;
  if (!isOn) {
    const xmlNode* collection = FindCollection(path.collection);
    if (collection == nullptr) return nullptr;
    xmlNode* first = Counted(collection->children, path.element);
    if (first == nullptr) return nullptr;
    cursor_ = {path.collection, 1, first};
  }
  while (cursor_.number < path.number) {
    xmlNode* next = Counted(cursor_.node->next, path.element);
    if (next == nullptr) return nullptr;
    cursor_.node = next;
    ++cursor_.number;
  }
  return cursor_.node;
}

_xmlNode* ContactDocument::FindOwner(const Path& path) const {
  return path.collection.empty() ? Root() : FindNode(path);
}

ContactDocument::Found ContactDocument::GetString(std::u16string_view text,
                                                  std::u16string& value) const {
  value.clear();
  const auto path = Path::Of(text);
  const xmlNode* owner = path && !path->leaf.empty() ? FindOwner(*path) : nullptr;
  if (owner == nullptr) return Found::NoNode;
  const xmlNode* leaf = FirstChild(owner, path->leaf);
  if (leaf == nullptr || IsNil(leaf)) return Found::NoValue;
  value = FromUtf8(TextOf(leaf));
  return Found::Yes;
}

bool ContactDocument::SetString(std::u16string_view text, std::u16string_view value) {
  const auto path = Path::Of(text);
  xmlNode* owner = path && !path->leaf.empty() ? FindOwner(*path) : nullptr;
  if (owner == nullptr) return false;
  xmlNode* leaf = FirstChild(owner, path->leaf);
  if (value.empty()) {
    if (leaf != nullptr) Remove(leaf);
    return true;
  }
  const std::string wanted = Writable(value);
  if (leaf != nullptr && !IsNil(leaf) && TextOf(leaf) == wanted) return true;
  if (leaf == nullptr) leaf = Append(owner, path->leaf);
  SetText(leaf, wanted);
  return true;
}

ContactDocument::Found ContactDocument::GetBinary(std::u16string_view text,
                                                  std::u16string& contentType,
                                                  std::string& bytes) const {
  contentType.clear();
  bytes.clear();
  std::u16string base64;
  const Found found = GetString(text, base64);
  if (found != Found::Yes) return found;
  const auto path = Path::Of(text);
  contentType = FromUtf8(Attribute(FirstChild(FindOwner(*path), path->leaf), "ContentType"));
  return AppendBase64(ToUtf8(base64), bytes) ? Found::Yes : Found::NoValue;
}

bool ContactDocument::SetBinary(std::u16string_view text, std::u16string_view contentType,
                                std::string_view bytes) {
  if (!SetString(text, FromUtf8(ToBase64(bytes)))) return false;
  const auto path = Path::Of(text);
  xmlNode* leaf = FirstChild(FindOwner(*path), path->leaf);
  if (leaf == nullptr) return true;
  NotNull(xmlSetNsProp(leaf, AttributeNs(), Xml("ContentType"), Xml(Writable(contentType))));
  return NotNull(xmlSetNsProp(leaf, AttributeNs(), Xml("type"), Xml("binary"))) != nullptr;
}

std::vector<std::u16string> ContactDocument::Labels(std::u16string_view text) const {
  std::vector<std::u16string> labels;
  const auto path = Path::Of(text);
  const xmlNode* node = path && path->leaf.empty() ? FindNode(*path) : nullptr;
  const xmlNode* list = node == nullptr ? nullptr : FirstChild(node, "LabelCollection");
  if (list == nullptr) return labels;
  for (const xmlNode* label = list->children; label != nullptr; label = label->next) {
    if (IsOurs(label, "Label") && !IsNil(label)) labels.push_back(FromUtf8(TextOf(label)));
  }
  return labels;
}

bool ContactDocument::SetLabels(std::u16string_view text,
                                std::span<const std::u16string_view> labels) {
  const auto path = Path::Of(text);
  xmlNode* node = path && path->leaf.empty() ? FindNode(*path) : nullptr;
  if (node == nullptr) return false;
  if (std::ranges::equal(Labels(text), labels)) return true;
  if (xmlNode* old = FirstChild(node, "LabelCollection")) Remove(old);
  if (labels.empty()) return true;
  xmlNode* list = Append(node, "LabelCollection");
  for (const std::u16string_view label : labels) SetText(Append(list, "Label"), Writable(label));
  return true;
}

std::u16string ContactDocument::CreateNode(std::u16string_view collection) {
  const std::string name = ToUtf8(collection);
  if (!Path::IsName(name) || !name.ends_with(kCollectionEnd)) return {};
  const std::string element = name.substr(0, name.size() - kCollectionEnd.size());
  if (element.empty()) return {};
  xmlNode* list = FindCollection(name);
  if (list == nullptr) list = Append(Root(), name);
  xmlNode* node = Append(list, element);
  NotNull(xmlSetNsProp(node, AttributeNs(), Xml("ElementID"), Xml(LowerGuid(MakeGuidText()))));
  size_t number = 0;
  const bool isOn =
      cursor_.node != nullptr && cursor_.collection == name && View(cursor_.node->name) == element;
  xmlNode* last = isOn ? cursor_.node : Counted(list->children, element);
  for (number = isOn ? cursor_.number : 1; last != node; ++number) {
    last = Counted(last->next, element);
  }
  cursor_ = {name, number, node};
  return Concat(
      {collection, u"/", FromUtf8(element), u"[", Decimal(static_cast<int32_t>(number)), u"]"});
}

bool ContactDocument::DeleteNode(std::u16string_view text) {
  const auto path = Path::Of(text);
  xmlNode* node = path && path->leaf.empty() ? FindNode(*path) : nullptr;
  if (node == nullptr) return false;
  Remove(node);
  return true;
}

bool ContactDocument::MoveNode(std::u16string_view text, size_t number) {
  const auto path = Path::Of(text);
  xmlNode* node = path && path->leaf.empty() ? FindNode(*path) : nullptr;
  if (node == nullptr || number == 0) return false;
  if (number == path->number) return true;
  isChanged_ = true;
  // With the blanks in front of it, so that the lines stay.
  xmlNode* blank = IsBlank(node->prev) ? node->prev : nullptr;
  cursor_ = {};
  xmlNode* parent = node->parent;
  if (blank != nullptr) xmlUnlinkNode(blank);
  xmlUnlinkNode(node);
  Path other = *path;
  other.number = number;
  xmlNode* place = FindNode(other);
  cursor_ = {};
  if (place != nullptr) {
    xmlNode* before = IsBlank(place->prev) ? place->prev : place;
    xmlAddPrevSibling(before, node);
  } else if (IsBlank(parent->last)) {
    xmlAddPrevSibling(parent->last, node);
  } else {
    xmlAddChild(parent, node);
  }
  if (blank != nullptr) xmlAddPrevSibling(node, blank);
  return true;
}

std::vector<std::u16string> ContactDocument::Nodes(
    std::u16string_view collection, std::span<const std::u16string_view> labels) const {
  std::vector<std::u16string> paths;
  const std::string name = ToUtf8(collection);
  if (!name.ends_with(kCollectionEnd)) return paths;
  const std::u16string_view element =
      collection.substr(0, collection.size() - kCollectionEnd.size());
  for (int32_t number = 1;; ++number) {
    std::u16string path = Concat({collection, u"/", element, u"[", Decimal(number), u"]"});
    const auto parsed = Path::Of(path);
    if (!parsed || FindNode(*parsed) == nullptr) return paths;
    const std::vector<std::u16string> own = Labels(path);
    const bool hasAll = std::ranges::all_of(labels, [&](std::u16string_view label) {
      return std::ranges::find(own, label) != own.end();
    });
    if (hasAll) paths.push_back(std::move(path));
  }
}

std::u16string ContactDocument::Id() const {
  std::u16string value;
  GetString(FromUtf8(kIdPath), value);
  return GuidWithin(value);
}

void ContactDocument::SetId(std::u16string_view guid) {
  const std::u16string path = FromUtf8(kIdPath);
  std::u16string value;
  if (GetString(path, value) == Found::NoNode) CreateNode(u"ContactIDCollection");
  SetString(path, FromUtf8(LowerGuid(guid)));
}

_xmlNs* ContactDocument::AttributeNs() {
  xmlNode* root = Root();
  for (xmlNs* ns = root->nsDef; ns != nullptr; ns = ns->next) {
    if (ns->prefix != nullptr && View(ns->href) == kNamespace) return ns;
  }
  return NotNull(xmlNewNs(root, Xml(kNamespace.data()), Xml("c")));
}

// On a line of its own, where the file has lines.
_xmlNode* ContactDocument::Append(_xmlNode* parent, std::string_view name) {
  isChanged_ = true;
  xmlNode* node = NotNull(xmlNewDocNode(doc_.get(), Root()->ns, Xml(std::string(name)), nullptr));
  const bool hasLines = IsBlank(Root()->children);
  size_t depth = 0;
  for (const xmlNode* at = parent; at != Root(); at = at->parent) ++depth;
  const auto line = [&](size_t tabs) {
    std::string text(1, '\n');
    text.append(tabs, '\t');
    return NotNull(xmlNewText(Xml(text)));
  };
  if (!hasLines) {
    xmlAddChild(parent, node);
  } else if (IsBlank(parent->last)) {
    xmlNode* end = parent->last;
    xmlAddPrevSibling(end, node);
    if (!IsBlank(node->prev)) xmlAddPrevSibling(node, line(depth + 1));
  } else {
    xmlAddChild(parent, line(depth + 1));
    xmlAddChild(parent, node);
    xmlAddChild(parent, line(depth));
  }
  return node;
}

void ContactDocument::Remove(_xmlNode* element) {
  isChanged_ = true;
  cursor_ = {};
  if (IsBlank(element->prev)) {
    xmlNode* blank = element->prev;
    xmlUnlinkNode(blank);
    xmlFreeNode(blank);
  }
  xmlUnlinkNode(element);
  xmlFreeNode(element);
}

void ContactDocument::SetText(_xmlNode* element, std::string_view value) {
  isChanged_ = true;
  while (element->children != nullptr) {
    xmlNode* child = element->children;
    xmlUnlinkNode(child);
    xmlFreeNode(child);
  }
  for (xmlAttr* attribute = element->properties; attribute != nullptr;) {
    xmlAttr* next = attribute->next;
    const bool isNil = View(attribute->name) == "nil" && attribute->ns != nullptr &&
                       View(attribute->ns->href) == kInstance;
    if (isNil) xmlRemoveProp(attribute);
    attribute = next;
  }
  xmlAddChild(element,
              NotNull(xmlNewTextLen(Xml(std::string(value)), static_cast<int>(value.size()))));
  Touch(element);
}

// Elements that count their versions go on counting.
void ContactDocument::Touch(_xmlNode* element) {
  for (xmlAttr* attribute = element->properties; attribute != nullptr;
       attribute = attribute->next) {
    const auto* value = reinterpret_cast<xmlNode*>(attribute);
    if (View(attribute->name) == "Version") {
      const int32_t version = ToInt(FromUtf8(TextOf(value)));
      const std::string next = std::to_string(version < INT_MAX ? version + 1 : version);
      xmlSetNsProp(element, attribute->ns, Xml("Version"), Xml(next));
    } else if (View(attribute->name) == "ModificationDate" && !now_.empty()) {
      xmlSetNsProp(element, attribute->ns, Xml("ModificationDate"), Xml(now_));
    }
  }
}

std::u16string GuidWithin(std::u16string_view id) {
  for (size_t at = 0; at + kGuidLength <= id.size(); ++at) {
    const std::u16string braced = Concat({u"{", id.substr(at, kGuidLength), u"}"});
    if (const auto guid = ParseGuid(std::u16string_view(braced))) {
      return FormatGuid(*guid).substr(1, kGuidLength);
    }
  }
  return {};
}

}  // namespace qv
