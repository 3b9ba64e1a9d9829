// Pairing what stands alone on both sides, by what it holds.
#include <functional>
#include <unordered_map>

#include "host/engine/links.h"

namespace qv {
namespace {

// The lone items of both sides, and the pairing of them.
class LoneLinks {
 public:
  LoneLinks(Inventory& sides, const std::vector<LoneItem>& phone, const std::vector<LoneItem>& pc)
      : sides_(sides), phone_(phone), pc_(pc), phoneDone_(phone.size()), pcDone_(pc.size()) {}

  // Pairs items of equal key; `key` is empty for an item without one.
  using KeyOf = std::function<std::string(const LoneItem&)>;
  void By(const KeyOf& key) {
    std::unordered_multimap<std::string, size_t> open;
    // From the back, so that equal keys come out in the order of the items.
    for (size_t i = pc_.size(); i-- > 0;) {
      std::string text = pcDone_[i] ? std::string() : key(pc_[i]);
      if (!text.empty()) open.emplace(std::move(text), i);
    }
    for (size_t i = 0; i < phone_.size() && !open.empty(); ++i) {
      const std::string text = phoneDone_[i] ? std::string() : key(phone_[i]);
      const auto found = text.empty() ? open.end() : open.find(text);
      if (found == open.end()) continue;
      Pair(i, found->second);
      open.erase(found);
    }
  }

 private:
  void Pair(size_t phone, size_t pc) {
    phoneDone_[phone] = true;
    pcDone_[pc] = true;
    if (sides_.isTree) {
      ItemLink& link = JoinInTree(sides_, phone_[phone].link, pc_[pc].link);
      if (link.record < 0) link.content = Compare(phone_[phone].says, pc_[pc].says);
      return;
    }
    ItemLink& link = JoinLinks(sides_, phone_[phone].link, pc_[pc].link);
    link.adoptUid = MustAdopt(At(sides_.phone, link.phone), pc_[pc].uid);
    if (phone_[phone].print && pc_[pc].print) {
      link.content = Compare(*phone_[phone].print, *pc_[pc].print);
    }
  }
  static ContentMatch Compare(const Meaning& phone, const Meaning& pc) {
    return phone == pc ? ContentMatch::Identical : ContentMatch::Different;
  }
  static ContentMatch Compare(const ContentPrint& phone, const ContentPrint& pc) {
    return qv::Compare(phone, pc);
  }

  Inventory& sides_;
  const std::vector<LoneItem>& phone_;
  const std::vector<LoneItem>& pc_;
  std::vector<bool> phoneDone_;
  std::vector<bool> pcDone_;
};

std::string Bytes(const std::u16string& text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

std::string UidKey(const LoneItem& item) {
  return Bytes(item.uid);
}

std::string PrintKey(const LoneItem& item, Md5Digest ContentPrint::*part) {
  if (!item.print) return {};
  const Md5Digest& digest = (*item.print).*part;
  return {reinterpret_cast<const char*>(digest.data()), digest.size()};
}

// An item of the phone that went from its place on the PC; and any item of the PC alone.
bool MayHaveMoved(const Inventory& sides, const LoneItem& item) {
  const ItemLink& link = At(sides.links, item.link);
  return link.phone < 0 || link.record >= 0 || link.lastRecord >= 0;
}

std::string Bytes(const Md5Digest& digest) {
  return {reinterpret_cast<const char*>(digest.data()), digest.size()};
}

// Both parts of what an item says, or one of them; empty for one that cannot be read.
std::string SaysKey(const LoneItem& item) {
  return item.says.IsKnown() ? Bytes(item.says.title) + Bytes(item.says.url) : std::string();
}
std::string TitleKey(const LoneItem& item) {
  return item.says.IsKnown() ? Bytes(item.says.title) : std::string();
}
std::string UrlKey(const LoneItem& item) {
  return item.says.IsKnown() ? Bytes(item.says.url) : std::string();
}

void LinkTreeLone(const Inventory& sides, LoneLinks& links) {
  const auto inPlace = [](const LoneItem& item, const std::string& key) {
    return item.place.empty() || key.empty() ? std::string() : key + Bytes(item.place);
  };
  const auto moved = [&](const LoneItem& item, const std::string& key) {
    return MayHaveMoved(sides, item) ? key : std::string();
  };
  links.By([&](const LoneItem& item) { return inPlace(item, SaysKey(item)); });
  links.By([&](const LoneItem& item) { return moved(item, SaysKey(item)); });
  links.By([&](const LoneItem& item) { return moved(item, inPlace(item, UrlKey(item))); });
  links.By([&](const LoneItem& item) { return moved(item, UrlKey(item)); });
  links.By([&](const LoneItem& item) { return moved(item, inPlace(item, TitleKey(item))); });
}

}  // namespace

void LinkLone(Inventory& sides, const std::vector<LoneItem>& phone,
              const std::vector<LoneItem>& pc) {
  LoneLinks links(sides, phone, pc);
  const auto content = [&](const LoneItem& item) {
    return sides.isTree ? SaysKey(item) : PrintKey(item, &ContentPrint::exact);
  };
  links.By([&](const LoneItem& item) {
    const std::string key = content(item);
    return item.uid.empty() || key.empty() ? std::string() : UidKey(item) + key;
  });
  links.By(UidKey);
  if (sides.isTree) {
    LinkTreeLone(sides, links);
    return DropEmptyLinks(sides);
  }
  links.By(content);
  links.By([](const LoneItem& item) { return PrintKey(item, &ContentPrint::core); });
  DropEmptyLinks(sides);
}

}  // namespace qv
