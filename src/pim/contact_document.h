// One `.contact` file in memory: what its values and nodes are called, and everything else in it
// left as it stands.
//
// The format: UTF-8 (or what the XML declaration says), root `contact` with the attribute
// Version="1", all of the namespace "http://schemas.microsoft.com/Contact". Below it the leaves
// `CreationDate` and `Notes`, `Extended` with elements of other namespaces, and one element
// `XCollection` a collection, with nodes `X` that each have an ElementID (a GUID), leaves as child
// elements, and labels as LabelCollection/Label. A leaf may be missing as an element with
// xsi:nil="true"; an array node with it is one that was removed, and has no number.
//
// Paths and their numbers: see platform/contacts/contact_objects.h. A malformed path names nothing.
// Where an element stands twice the first counts. Bytes that no XML text can hold are replaced: a
// control character by a blank, half a surrogate pair by U+FFFD.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct _xmlDoc;
struct _xmlNode;
struct _xmlNs;

namespace qv {

class ContactDocument {
 public:
  // Nothing, with the reason for a person in `why`, for bytes that are no contact: no XML, cut,
  // another root, another version, or with a document type, which contacts have none of and which
  // could make a few bytes into gigabytes. Nothing outside the bytes is ever read.
  static std::optional<ContactDocument> Parse(std::string_view bytes, std::string& why);
  // A contact of nothing but its id and the moment that it was made ("2026-11-24T10:00:00Z").
  static ContactDocument New(std::u16string_view guid, std::string_view now);

  ContactDocument(ContactDocument&&) noexcept;
  ContactDocument& operator=(ContactDocument&&) noexcept;
  ~ContactDocument();

  // UTF-8, whatever it was read in.
  std::string Bytes() const;
  // Whether anything was changed since it was read or made.
  bool IsChanged() const { return isChanged_; }
  // Values that change from now on, where they say when they did, did at this moment.
  void SetNow(std::string_view now) { now_ = now; }

  enum class Found { Yes, NoValue, NoNode };
  Found GetString(std::u16string_view path, std::u16string& value) const;
  // These are false, and nothing changes, without the node. A value that stays keeps the attributes
  // of its element, and its form. An empty one takes the leaf away.
  bool SetString(std::u16string_view path, std::u16string_view value);
  // Bytes as base64.
  Found GetBinary(std::u16string_view path, std::u16string& contentType, std::string& bytes) const;
  bool SetBinary(std::u16string_view path, std::u16string_view contentType, std::string_view bytes);
  bool SetLabels(std::u16string_view node, std::span<const std::u16string_view> labels);
  std::vector<std::u16string> Labels(std::u16string_view node) const;
  // Of the form "XCollection"; its path, empty for a name of another form. Behind the others.
  std::u16string CreateNode(std::u16string_view collection);
  bool DeleteNode(std::u16string_view node);
  // To this number, from 1; one past the end is the end.
  bool MoveNode(std::u16string_view node, size_t number);
  // The paths of the nodes that carry all of these labels, in order.
  std::vector<std::u16string> Nodes(std::u16string_view collection,
                                    std::span<const std::u16string_view> labels) const;

  // The first ContactID, as 36 upper-case characters; empty for none, and for what is no GUID.
  std::u16string Id() const;
  void SetId(std::u16string_view guid);

 private:
  struct Path;
  struct FreeDoc {
    void operator()(_xmlDoc* doc) const noexcept;
  };
  explicit ContactDocument(std::unique_ptr<_xmlDoc, FreeDoc> doc);

  _xmlNode* Root() const;
  _xmlNode* FindCollection(std::string_view name) const;
  _xmlNode* FindNode(const Path& path) const;
  // What a path without a leaf, or with one, stands for: the node of the tree that has the leaf.
  _xmlNode* FindOwner(const Path& path) const;
  _xmlNode* Append(_xmlNode* parent, std::string_view name);
  void Remove(_xmlNode* element);
  void SetText(_xmlNode* element, std::string_view value);
  void Touch(_xmlNode* element);
  _xmlNs* AttributeNs();

  std::unique_ptr<_xmlDoc, FreeDoc> doc_;
  std::string now_;
  bool isChanged_ = false;
  // The node that was asked for last: walks ask for one after the other.
  struct Cursor {
    std::string collection;
    size_t number = 0;
    _xmlNode* node = nullptr;
  };
  mutable Cursor cursor_;
};

// The 36 characters of a GUID within an id or a value, upper case; empty for none.
std::u16string GuidWithin(std::u16string_view id);

}  // namespace qv
