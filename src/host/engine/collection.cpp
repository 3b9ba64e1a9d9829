#include "host/engine/collection.h"

#include <utility>

#include "host/engine/content.h"
#include "host/engine/errors.h"
#include "host/engine/left_alone.h"
#include "host/engine/pc_side.h"
#include "host/engine/runner.h"
#include "support/vobject/marked_text.h"

namespace qv {

Collection::Collection(const std::string& phoneFolder, const StoreKind& kind)
    : kind_(kind), phone_(phoneFolder + "/" + std::string(kind.name), kind.extension) {}

void Collection::List() {
  if (isListed_) return;
  const std::error_code error = phone_.List(files_);
  if (error && error != std::errc::no_such_file_or_directory) {
    throw StoreFailure("the folder " + folder() + " cannot be read: " + error.message());
  }
  isListed_ = true;
}

void Collection::LearnContents() {
  if (isLearned_) return;
  const std::string stop = FormStop(kind_, folder(), phone_.left());
  if (!stop.empty()) throw StoreRefusal(stop);
  for (const FolderEntry& file : files_) Learn(file.name);
  isLearned_ = true;
}

// All items of a file count, also where a sync would refuse it.
void Collection::Learn(const std::string& name) {
  std::string text;
  if (const PhoneFolder::NoFile* noFile = phone_.NoFileAt(name)) {
    if (!noFile->mayBeItem) return;
    throw StoreFailure("cannot read " + folder() + "/" + name + ": " + noFile->reason +
                       ". It may hold what is to come, so nothing was added; repair or remove it");
  }
  if (const std::error_code error = phone_.Read(name, text)) {
    if (error == std::errc::no_such_file_or_directory) return;
    throw StoreFailure("cannot read " + folder() + "/" + name + ": " + error.message() +
                       ". It may hold what is to come, so nothing was added; repair or remove it");
  }
  std::string buffer;
  const auto items = kind_.open(kind_, WithoutMark(text, buffer));
  for (size_t i = 0; i < items->Count(); ++i) {
    if (const ComPtr<IItemCommon> item = items->Read(i)) {
      const std::u16string uid = UidOf(*item);
      known_.try_emplace(ExactPrintOf(kind_, *item), Known{uid, false});
    }
  }
}

const Collection::Known& Collection::Find(IItemCommon& item, const std::u16string& uid) {
  return known_.try_emplace(ExactPrintOf(kind_, item), Known{uid, true}).first->second;
}

Collection::~Collection() {
  try {
    for (const NewFile& file : staged_) phone_.Discard(file.staged);
  } catch (...) {
    // No memory: the next run finds what is left.
  }
}

std::error_code Collection::Stage(const std::u16string& uid, std::string_view text, Placed placed) {
  NewFile file{phone_.FreeName(uid), {}, std::move(placed)};
  if (const std::error_code error = phone_.Stage(file.name, text, file.staged)) return error;
  staged_.push_back(std::move(file));
  if (staged_.size() == kGroupItems) Place();
  return {};
}

void Collection::Place() {
  if (staged_.empty()) return;
  std::vector<NewFile> files = std::exchange(staged_, {});
  std::error_code error = phone_.SettleStaged();
  std::vector<std::error_code> errors;
  for (const NewFile& file : files) {
    errors.push_back(error ? error : phone_.Place(file.name, file.staged, true));
    if (errors.back()) phone_.Discard(file.staged);
  }
  if (!error) error = phone_.Sync();
  for (size_t i = 0; i < files.size(); ++i) files[i].placed(error ? error : errors[i]);
  if (error) throw StoreFailure("cannot write to " + folder() + ": " + error.message());
}

void Collection::Make() {
  if (const std::error_code error = phone_.Make()) {
    throw StoreFailure("cannot make " + folder() + ": " + error.message());
  }
  phone_.DiscardLeftovers();
}

}  // namespace qv
