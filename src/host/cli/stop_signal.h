// Makes SIGINT and SIGTERM press stop, for as long as it lives: to every reader the stop flag then
// reads 1. A second signal of the same kind ends the program as usual.
//
// The flag in the profile's file is left alone; all else passes through to the registry before.
#pragma once

#include <csignal>

#include "platform/system/registry.h"
#include "platform/system/service.h"

namespace qv {

class StopSignal final : public Registry {
 public:
  StopSignal();
  ~StopSignal() override;
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;

  bool KeyExists(std::string_view key) override;
  bool CreateKey(std::string_view key) override;
  std::optional<uint32_t> ReadNumber(std::string_view key, std::string_view value) override;
  std::optional<std::u16string> ReadText(std::string_view key, std::string_view value) override;
  bool WriteNumber(std::string_view key, std::string_view value, uint32_t number) override;
  bool WriteText(std::string_view key, std::string_view value, std::u16string_view text) override;

 private:
  Registry& below_;
  ScopedService<Registry> scope_;
  struct sigaction oldInterrupt_ {};
  struct sigaction oldTerminate_ {};
};

}  // namespace qv
