// What one run knows of one store on both sides: plain values, which planning reads and changes
// nothing of. Indexes stand for places in the vectors; -1 is "none".
//
// In a store with folders these are items too. On the phone an item's name is its path below the
// collection, with "/" between the parts and behind a folder: "Work/", "Work/News.vbm".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/system/identifiers.h"

namespace qv {

// What an item of a tree says, as checksums of its title and its address; of a folder the title
// alone. All zero: not known.
struct Meaning {
  Md5Digest title{};
  Md5Digest url{};
  bool operator==(const Meaning&) const = default;
  bool IsKnown() const { return title != Md5Digest{}; }
};

// A file or folder of the PC as the file system tells it from others. All zero: not known.
struct FileMark {
  uint64_t inode = 0;
  int64_t createdNs = 0;
  uint64_t size = 0;
  int64_t modifiedNs = 0;
  int64_t changedNs = 0;  // also by a rename
  bool operator==(const FileMark&) const = default;
  // Whatever has been written to it since, and wherever it is now.
  bool IsSameFile(const FileMark& other) const {
    return inode != 0 && inode == other.inode && createdNs == other.createdNs;
  }
};

// One agreed pair, as the engine's record keeps it. What it says is agreed on side by side: each
// side may need its own form of a title.
struct RecordRow {
  std::string name;  // of the phone's file or folder
  uint64_t size = 0;
  int64_t modifiedNs = 0;
  Md5Digest hash{};          // of the file's bytes
  std::u16string uid;        // inside the text; may be empty
  std::u16string sourceUid;  // on the PC side
  uint64_t inode = 0;        // of the phone's file; 0 for not known
  Meaning phoneSays = {};    // these of a tree alone
  Meaning pcSays = {};
  FileMark pcFile = {};
  bool hasFollowed = false;  // since it was read: its PC item goes by another number now
  bool isAside = false;      // its file goes by another name now, this one is another file's
};

enum class PhoneChange : uint8_t { Same, Changed, New, Unreadable };

struct PhoneItem {
  std::string name;
  bool isFolder = false;
  uint64_t size = 0;
  int64_t modifiedNs = 0;
  uint64_t inode = 0;
  Md5Digest hash{};
  std::u16string uid;
  std::string text;  // kept from planning to running when small; else empty
  int32_t record = -1;
  PhoneChange change = PhoneChange::New;
  bool unread = false;   // not even its bytes could be had
  bool isAlien = false;  // it holds an item of another store's kind: it is none of these
  Meaning says = {};     // of a tree
  // What a text that was looked into says of recurrence.
  bool isSeries = false;
  std::u16string seriesUid;  // of an exception: the uid of its series; empty for any other item
  std::string title;         // for a person, of a text that was looked into
  std::string pcLacks;  // what of such a text the PC has no field for, where that shows; else empty
};

// Against what the two sides last agreed on. `New` means that they never did, `Filtered` that the
// item is there and the store's filter keeps it from the phone.
enum class PcChange : uint8_t { Same, Changed, New, Gone, Filtered };

struct PcItem {
  std::u16string id;
  uint64_t stamp = 0;  // of its content; 0 for unknown
  PcChange change = PcChange::New;
  // Of an exception what its store forgets when the phone has taken it over; of what has no stamp
  // the time alone, also of one that is gone. Local wall-clock time.
  double modified = 0.0;
  std::u16string md5 = {};
  bool isFolder = false;
  std::u16string parent = {};  // identifier of its folder, "/" on top
  std::string label = {};      // for a person, where it was asked for; else the identifier is
  // Of a tree.
  std::u16string title = {};
  FileMark file = {};
  Meaning says = {};          // the address only where it had to be looked at
  bool isUnreadable = false;  // what it says now nobody can tell: it is left alone
  bool isBroken = false;      // a file of no bytes at all, as a loss of power leaves them
};

// How the contents of a pair compare. "More": they are equal in what the PC side can hold itself,
// and differ in what it only keeps for the phone.
enum class ContentMatch : uint8_t { Unknown, Identical, PhoneHasMore, PcHasMore, Different };

enum class Winner : uint8_t { None, Pc, Phone };

// One item of the sync: a pair, or what stands alone on one side.
struct ItemLink {
  int32_t pc = -1;
  int32_t phone = -1;
  int32_t record = -1;  // the pair's agreed row; -1 for a pair or item that has none
  // In a slow sync of a tree, of an item that is gone from the PC: its row. By it the item is known
  // again under another name; that it was deleted there is not concluded from it.
  int32_t lastRecord = -1;
  ContentMatch content = ContentMatch::Unknown;
  Winner newer = Winner::None;  // who wins where the contents differ
  bool statusWritten = false;   // the store has noted the agreement while matching
  bool adoptUid = false;        // the PC's item is to take the phone's uid: exceptions name it
  // Of a bookmark whose agreed title and address are known: which side has changed which.
  struct Changes {
    bool areKnown = false;
    bool pcTitle = false, pcUrl = false, phoneTitle = false, phoneUrl = false;
  };
  Changes changes = {};
  // Places of the links of the folders that the item lies in; -1 on top.
  int32_t pcParent = -1;
  int32_t phoneParent = -1;
  int32_t recordParent = -1;
};

inline int32_t RecordOf(const ItemLink& link) {
  return link.record >= 0 ? link.record : link.lastRecord;
}

struct Inventory {
  bool isTree = false;
  // What the store notes as agreed on was brought to both sides. A slow sync notes it while it
  // matches, and may have ended before it came to the items.
  bool isSettled = false;
  std::vector<RecordRow> records;
  std::vector<PhoneItem> phone;  // by name
  std::vector<PcItem> pc;
  std::vector<ItemLink> links;
  int64_t pcCount = 0;  // items that are there now
};

template <class Vector>
int32_t IndexOf(const Vector& vector) {
  return static_cast<int32_t>(vector.size());
}

inline bool IsFolderName(std::string_view name) {
  return name.ends_with('/');
}
// The folder of a phone's item; empty on top. And the item's own part of the name, with the "/" of
// a folder.
inline std::string_view FolderOfName(std::string_view name) {
  const size_t from = IsFolderName(name) && name.size() > 1 ? name.size() - 2 : name.npos;
  const size_t cut = name.rfind('/', from);
  return cut == name.npos ? std::string_view() : name.substr(0, cut + 1);
}
inline std::string_view BaseOfName(std::string_view name) {
  return name.substr(FolderOfName(name).size());
}

// Element by an index that is not -1.
template <class Vector>
auto& At(Vector& vector, int32_t index) {
  return vector[static_cast<size_t>(index)];
}

}  // namespace qv
