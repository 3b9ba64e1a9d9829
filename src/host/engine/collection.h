// One kind of items on the phone, as files that go there or come from there see it: a list of
// files, and the contents that are there already.
#pragma once

#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/engine/phone_folder.h"
#include "host/store_kinds.h"
#include "platform/system/identifiers.h"

namespace qv {

class Collection {
 public:
  // An item that is there, or on its way in this run.
  struct Known {
    std::u16string uid;
    bool isNew = false;
  };

  Collection(const std::string& phoneFolder, const StoreKind& kind);
  Collection(const Collection&) = delete;
  Collection& operator=(const Collection&) = delete;
  // What was not placed goes.
  ~Collection();

  const StoreKind& kind() const { return kind_; }
  const std::string& folder() const { return phone_.folder(); }
  const std::vector<FolderEntry>& files() const { return files_; }

  // These read once, however often they are called. A missing folder has no files. Throw
  // StoreRefusal where new files do not belong, and StoreFailure: for a file whose bytes cannot be
  // had, too, since it may be one of those to come.
  void List();
  void LearnContents();

  // The item with this content; one that was not known is from now on, as new and with this uid.
  // The item is stripped of its identifiers.
  const Known& Find(IItemCommon& item, const std::u16string& uid);

  std::error_code Read(const std::string& name, std::string& text) const {
    // What is no file is never opened.
    if (phone_.NoFileAt(name) != nullptr) return std::make_error_code(std::errc::invalid_argument);
    return phone_.Read(name, text);
  }
  // What lies there and is no item.
  const std::vector<LeftAlone>& left() const { return phone_.left(); }
  // A new file. It is there when `placed` has been called without an error, which waits for the
  // disk together with others: in a later call when there are enough of them, or in `Place`. The
  // answer is why it cannot even be staged (see phone_folder.h); `Stage` and `Place` throw
  // StoreFailure when a group cannot be kept.
  using Placed = std::function<void(const std::error_code& error)>;
  std::error_code Stage(const std::u16string& uid, std::string_view text, Placed placed);
  void Place();
  // Ready for new files. Throws StoreFailure.
  void Make();

 private:
  struct DigestHash {
    size_t operator()(const Md5Digest& digest) const noexcept {
      size_t hash = 0;
      std::memcpy(&hash, digest.data(), sizeof hash);
      return hash;
    }
  };

  struct NewFile {
    std::string name;
    StagedFile staged;
    Placed placed;
  };

  void Learn(const std::string& name);

  const StoreKind& kind_;
  PhoneFolder phone_;
  std::vector<FolderEntry> files_;
  std::unordered_map<Md5Digest, Known, DigestHash> known_;
  std::vector<NewFile> staged_;
  bool isListed_ = false;
  bool isLearned_ = false;
};

}  // namespace qv
