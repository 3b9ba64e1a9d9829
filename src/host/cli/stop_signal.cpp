#include "host/cli/stop_signal.h"

#include "support/user_flags.h"

namespace qv {
namespace {

volatile std::sig_atomic_t stopAsked = 0;

void AskStop(int) {
  stopAsked = 1;
}

}  // namespace

StopSignal::StopSignal() : below_(Service<Registry>::Get()), scope_(*this) {
  stopAsked = 0;
  struct sigaction action {};
  action.sa_handler = AskStop;
  action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, &oldInterrupt_);
  sigaction(SIGTERM, &action, &oldTerminate_);
}

StopSignal::~StopSignal() {
  sigaction(SIGINT, &oldInterrupt_, nullptr);
  sigaction(SIGTERM, &oldTerminate_, nullptr);
}

bool StopSignal::KeyExists(std::string_view key) {
  return (stopAsked != 0 && key == kSyncKey) || below_.KeyExists(key);
}

bool StopSignal::CreateKey(std::string_view key) {
  return below_.CreateKey(key);
}

std::optional<uint32_t> StopSignal::ReadNumber(std::string_view key, std::string_view value) {
  if (stopAsked != 0 && value == "SyncStop" && key == kSyncKey) return 1;
  return below_.ReadNumber(key, value);
}

std::optional<std::u16string> StopSignal::ReadText(std::string_view key, std::string_view value) {
  return below_.ReadText(key, value);
}

bool StopSignal::WriteNumber(std::string_view key, std::string_view value, uint32_t number) {
  return below_.WriteNumber(key, value, number);
}

bool StopSignal::WriteText(std::string_view key, std::string_view value, std::u16string_view text) {
  return below_.WriteText(key, value, text);
}

}  // namespace qv
