// The engine against any edits of two trees: nothing that one side alone made or changed is lost,
// nothing that went on one side and stood still on the other stays, and the third sync has nothing
// to do.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <map>
#include <set>

#include "host/tree_rig.h"

namespace qv {
namespace {

// "News(2)" is "News": which of two equal titles got the number does not count.
std::string WithoutNumbers(std::string line) {
  for (size_t at = 0; (at = line.find('(', at)) != line.npos;) {
    const size_t end = line.find_first_not_of("0123456789", at + 1);
    const bool isNumber = end != line.npos && end > at + 1 && line[end] == ')';
    if (isNumber) {
      line.erase(at, end + 1 - at);
    } else {
      ++at;
    }
  }
  return line;
}

namespace fs = std::filesystem;
using test::TreeRig;

enum class Op : int { AddBookmark, AddFolder, Edit, Rename, Move, Delete, Sync };

struct Action {
  Op op = Op::Sync;
  bool onPc = false;
  size_t pick = 0;
  size_t other = 0;
};

std::ostream& operator<<(std::ostream& out, const Action& action) {
  constexpr const char* kWords[] = {"add", "folder", "edit", "rename", "move", "delete", "sync"};
  return out << (action.onPc ? "pc " : "phone ") << kWords[static_cast<int>(action.op)] << " "
             << action.pick << " " << action.other;
}

// Which bookmark, and which versions of its address: "http://7/3". One that was renamed on the PC
// and got another address on the phone is two from then on.
using Versions = std::map<int, std::set<int>>;

class World {
 public:
  void Do(const Action& action) {
    const fs::path root = action.onPc ? rig_.PcPath("") : rig_.PhonePath("");
    const fs::path folder = Folder(root, action.other);
    switch (action.op) {
      case Op::AddBookmark:
        return Write(action.onPc, folder, Name(action.pick), ++last_, 1);
      case Op::AddFolder:
        fs::create_directories(folder / Name(action.pick));
        return;
      case Op::Sync:
        return Sync();
      default:
        break;
    }
    const std::vector<fs::path> entries = Entries(root);
    if (entries.empty()) return;
    const fs::path& entry = entries[action.pick % entries.size()];
    if (action.op == Op::Edit) return Edit(action.onPc, entry);
    if (action.op == Op::Delete) {
      fs::remove_all(entry);
      return;
    }
    const std::string tail = entry.extension().string();
    const fs::path to = action.op == Op::Move ? folder / entry.filename()
                                              : entry.parent_path() / (Name(action.other) + tail);
    const bool intoItself = (to.string() + "/").starts_with(entry.string() + "/");
    if (!fs::exists(to) && !intoItself) fs::rename(entry, to);
  }

 private:
  static std::string Name(size_t pick) {
    static const char* const kNames[] = {"News", "news", "Work", "Work(2)", "a+b"};
    return kNames[pick % std::size(kNames)];
  }
  static std::vector<fs::path> Entries(const fs::path& root) {
    std::vector<fs::path> entries;
    for (const auto& entry : fs::recursive_directory_iterator(root)) entries.push_back(entry);
    std::ranges::sort(entries);
    return entries;
  }
  static fs::path Folder(const fs::path& root, size_t pick) {
    std::vector<fs::path> folders = {root};
    for (const fs::path& entry : Entries(root)) {
      if (fs::is_directory(entry)) folders.push_back(entry);
    }
    return folders[pick % folders.size()];
  }

  void Write(bool onPc, const fs::path& folder, const std::string& title, int which, int version) {
    const std::string url = "http://" + std::to_string(which) + "/" + std::to_string(version);
    const fs::path root = onPc ? rig_.PcPath("") : rig_.PhonePath("");
    std::string path = (folder / title).lexically_relative(root);
    while (fs::exists(root / (path + (onPc ? ".url" : ".vbm")))) path += "x";
    // The title of the phone's text need not be what its file is called.
    onPc ? rig_.PcPut(path + ".url", url) : rig_.PhonePut(path + ".vbm", title, url);
  }
  void Edit(bool onPc, const fs::path& entry) {
    if (fs::is_directory(entry)) return;
    std::string bytes;
    RC_ASSERT(!Files::Default().Read(entry, bytes));
    const auto phone = ParseVBookmark(bytes);
    const auto [which, version] = Of(phone ? ToUtf8(phone->url) : ToUtf8(ShortcutUrl(bytes)));
    const std::string url =
        "http://" + std::to_string(which) + "/" + std::to_string(++lastVersion_ + version);
    const fs::path root = onPc ? rig_.PcPath("") : rig_.PhonePath("");
    const std::string path = entry.lexically_relative(root);
    onPc ? rig_.PcPut(path, url) : rig_.PhonePut(path, ToUtf8(phone->title), url);
  }

  static std::pair<int, int> Of(const std::string& url) {
    const size_t slash = url.rfind('/');
    return {std::stoi(url.substr(7, slash - 7)), std::stoi(url.substr(slash + 1))};
  }
  static Versions Have(const std::multiset<std::string>& tree) {
    Versions have;
    for (const std::string& line : tree) {
      const size_t url = line.find(" -> ");
      if (url == line.npos) continue;
      const auto [which, version] = Of(line.substr(url + 4));
      have[which].insert(version);
    }
    return have;
  }
  // The way through the folders and the address: names may have got a number on one side.
  static std::multiset<std::string> Shape(const std::multiset<std::string>& tree) {
    std::multiset<std::string> shape;
    for (std::string line : tree) {
      const size_t url = line.find(" -> ");
      if (url != line.npos) line.erase(line.rfind('/', url) + 1, url - line.rfind('/', url) - 1);
      line = WithoutNumbers(std::move(line));
      std::ranges::transform(line, line.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
      });
      shape.insert(std::move(line));
    }
    return shape;
  }

  void Sync() {
    const Versions pc = Have(rig_.PcTree());
    const Versions phone = Have(rig_.PhoneTree());
    const StoreReport report = rig_.TwoWay();
    RC_ASSERT(report.message == std::string());
    for (const ItemFailure& failure : report.failed) RC_LOG() << failure.item << failure.reason;
    RC_ASSERT(report.failed.empty());
    const Versions now = Have(rig_.PcTree());
    RC_ASSERT(now == Have(rig_.PhoneTree()));
    RC_ASSERT(Shape(rig_.PcTree()) == Shape(rig_.PhoneTree()));
    for (int which = 1; which <= last_; ++which) Judge(which, pc, phone, now);
    agreed_ = now;
    SyncOptions look;
    look.dryRun = true;
    for (const std::string& step : rig_.Sync(DS_SYNCTYPE_NONE, look).steps)
      RC_LOG() << step << "\n";
    const StoreReport again = rig_.TwoWay();
    RC_ASSERT(again.failed.empty());
    for (const SideCounts& counts : {again.pc, again.phone}) {
      RC_ASSERT(counts.added + counts.replaced + counts.deleted == 0);
    }
  }

  static std::set<int> At(const Versions& versions, int which) {
    const auto found = versions.find(which);
    return found == versions.end() ? std::set<int>() : found->second;
  }
  // A file in the place of another is a change of that one: then the loser is kept beside.
  bool IsKept(int which, int version, const std::set<int>& is) const {
    const std::string url = "http://" + std::to_string(which) + "/" + std::to_string(version);
    return is.contains(version) ||
           std::ranges::any_of(rig_.ConflictTexts(), [&](const std::string& text) {
             return text.find("URL:" + url + "\r\n") != text.npos;
           });
  }
  // What one side alone holds anew is there afterwards; what both have thrown away is not.
  void Judge(int which, const Versions& pcWas, const Versions& phoneWas,
             const Versions& now) const {
    const std::set<int> agreed = At(agreed_, which);
    const std::set<int> pc = At(pcWas, which);
    const std::set<int> phone = At(phoneWas, which);
    const std::set<int> is = At(now, which);
    if (pc == agreed && phone == agreed) RC_ASSERT(is == agreed);
    if (pc.empty() && phone.empty()) RC_ASSERT(is.empty());
    for (const int version : pc) {
      const bool isNew = !agreed.contains(version);
      const bool phoneNew = std::ranges::any_of(phone, [&](int v) { return !agreed.contains(v); });
      if (isNew && !phoneNew) RC_ASSERT(IsKept(which, version, is));
      if (!isNew && phone.contains(version)) RC_ASSERT(IsKept(which, version, is));
    }
    for (const int version : phone) {
      const bool isNew = !agreed.contains(version);
      const bool pcNew = std::ranges::any_of(pc, [&](int v) { return !agreed.contains(v); });
      if (isNew && !pcNew) RC_ASSERT(IsKept(which, version, is));
      if (isNew && pcNew) RC_ASSERT(IsKept(which, version, is));
    }
  }

  TreeRig rig_;
  Versions agreed_;
  int last_ = 0;
  int lastVersion_ = 0;
};

}  // namespace
}  // namespace qv

namespace rc {
template <>
struct Arbitrary<qv::Action> {
  static Gen<qv::Action> arbitrary() {
    using qv::Op;
    const auto op = gen::weightedElement<Op>({{4, Op::AddBookmark},
                                              {2, Op::AddFolder},
                                              {3, Op::Edit},
                                              {3, Op::Rename},
                                              {4, Op::Move},
                                              {2, Op::Delete},
                                              {4, Op::Sync}});
    const auto number = gen::inRange<size_t>(0, 40);
    return gen::construct<qv::Action>(op, gen::arbitrary<bool>(), number, number);
  }
};
}  // namespace rc

namespace qv {
namespace {

TEST(EngineTreeModel, AnyEditsOfBothTreesComeTogether) {
  EXPECT_TRUE(rc::check([](const std::vector<Action>& actions) {
    World world;
    for (const Action& action : actions) world.Do(action);
    world.Do({});
  }));
}

}  // namespace
}  // namespace qv
