// The PC side of one kind, as its own user sees and edits it: nothing of a sync's state is touched.
//
// Failures of the PC side itself throw CommandError(Failed) with the reason.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/profile.h"

namespace qv {

class PcFolder {
 public:
  struct Entry {
    std::string id;
    std::string name;
    DATE modified = 0.0;  // local wall-clock time
    // Of a tree: an entry lies in the nearest folder before it of a smaller depth.
    bool isFolder = false;
    size_t depth = 0;
    std::string url = {};
  };

  // The folder of the kind. Throws UsageError when the configured one does not exist.
  static std::unique_ptr<PcFolder> Open(const Profile& profile, const StoreKind& kind);
  explicit PcFolder(const StoreKind& kind) : kind_(kind) {}
  PcFolder(const PcFolder&) = delete;
  PcFolder& operator=(const PcFolder&) = delete;
  virtual ~PcFolder() = default;

  const StoreKind& kind() const { return kind_; }

  virtual std::vector<Entry> List() = 0;
  // What is there and the last `List` could not show, a line with the way out for each.
  virtual std::vector<std::string> Hidden() { return {}; }
  virtual int64_t Count() = 0;
  // Exceptions of series are items too, see outlook_manager.h. Null for an unknown identifier.
  virtual ComPtr<IItemCommon> Get(const std::string& id) = 0;
  // Each change is on disk when the call returns, or with its group. False for an unknown
  // identifier. Throw UsageError for an item that the PC side cannot hold.
  virtual std::string Add(const ComPtr<IItemCommon>& item) = 0;
  // An exception of the series. Throws UsageError when the series has another of its occurrence.
  virtual std::string AddException(const std::string& series, const ComPtr<IItemCommon>& item) = 0;
  // As AddException where the item is one.
  virtual bool Replace(const std::string& id, const ComPtr<IItemCommon>& item) = 0;
  virtual bool Delete(const std::string& id) = 0;
  // The changes between the two are a group, which waits for the disk as one when it ends. A change
  // that throws is none of it. When `Settle` throws, the group is not to be counted on.
  virtual void Begin() = 0;
  virtual void Settle() = 0;

 private:
  const StoreKind& kind_;
};

}  // namespace qv
