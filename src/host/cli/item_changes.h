// The answer of a command that changes items.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/cli/output.h"
#include "host/cli/pc_folder.h"
#include "host/engine/runner.h"

namespace qv {

// What a command did, item by item: told as it happens, or in one document at the end.
class Changes {
 public:
  // `done` is the key of the changed identifiers in JSON.
  Changes(bool json, const char* done) : json_(json), done_(done) {}

  void Done(const std::string& id) {
    ids_.push_back(id);
    if (!json_) Print(id + "\n");
  }
  void Failed(const std::string& item, const std::string& reason) {
    failed_.push_back({{"item", item}, {"reason", reason}});
    if (result_ == Exit::Ok) result_ = Exit::Partial;
    PrintMessage(item + ": " + reason);
  }
  // Nothing more can be done.
  void Broken(const CommandError& error) {
    result_ = error.exit();
    message_ = error.what();
    PrintMessage(message_);
  }
  Exit Finish() const {
    if (!json_) return result_;
    nlohmann::ordered_json document = {
        {"result", ExitWord(result_)}, {done_, ids_}, {"failed", failed_}};
    if (!message_.empty()) document["message"] = message_;
    PrintJson(document);
    return result_;
  }

 private:
  bool json_;
  const char* done_;
  Exit result_ = Exit::Ok;
  nlohmann::ordered_json ids_ = nlohmann::ordered_json::array();
  nlohmann::ordered_json failed_ = nlohmann::ordered_json::array();
  std::string message_;
};

// Changes of a folder in groups: an identifier is told once it is on disk with its group.
class GroupedChanges {
 public:
  GroupedChanges(PcFolder& pc, Changes& changes) : pc_(pc), changes_(changes) {}

  // Before a change.
  void Begin() {
    if (!std::exchange(isOpen_, true)) pc_.Begin();
  }
  void Done(std::string id) {
    ids_.push_back(std::move(id));
    if (ids_.size() >= kGroupItems) Settle();
  }
  void Failed(const std::string& item, const std::string& reason) { changes_.Failed(item, reason); }
  // Behind the last change, and before something that may take its time. Throws CommandError.
  void Settle() {
    const std::vector<std::string> ids = std::exchange(ids_, {});
    if (std::exchange(isOpen_, false)) pc_.Settle();
    for (const std::string& id : ids) changes_.Done(id);
  }
  // Nothing more can be done; what was done may still be kept.
  void Broken(const CommandError& error) {
    try {
      Settle();
    } catch (const CommandError&) {
      // The first reason says more.
    }
    changes_.Broken(error);
  }

 private:
  PcFolder& pc_;
  Changes& changes_;
  bool isOpen_ = false;
  std::vector<std::string> ids_;
};

}  // namespace qv
