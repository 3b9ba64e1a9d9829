// Per-user registry values: texts and 32-bit numbers under keys with "\" between their parts.
//
// The Linux form is a key file (one group a key). Another process's write is seen at the next call,
// where a look at the file less than 20 microseconds ago counts as present; a look at a value that
// did not change reads no file.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qv {

class Registry {
 public:
  virtual ~Registry() = default;
  virtual bool KeyExists(std::string_view key) = 0;
  // Makes the key when it is missing. False when that cannot be written.
  virtual bool CreateKey(std::string_view key) = 0;
  // Nothing for a missing key, a missing value, or a value of the other kind.
  virtual std::optional<uint32_t> ReadNumber(std::string_view key, std::string_view value) = 0;
  virtual std::optional<std::u16string> ReadText(std::string_view key, std::string_view value) = 0;
  // False when the key does not exist (it is not created) or cannot be written. The file is
  // replaced whole, so that a reader sees the old or the new one.
  virtual bool WriteNumber(std::string_view key, std::string_view value, uint32_t number) = 0;
  virtual bool WriteText(std::string_view key, std::string_view value,
                         std::u16string_view text) = 0;

  // Under the user's configuration folder.
  static Registry& Default();
};

// A registry in a file of the caller's choice (UTF-8 path); the file need not exist yet.
class FileRegistry final : public Registry {
 public:
  explicit FileRegistry(std::string path);
  ~FileRegistry() override;
  bool KeyExists(std::string_view key) override;
  bool CreateKey(std::string_view key) override;
  std::optional<uint32_t> ReadNumber(std::string_view key, std::string_view value) override;
  std::optional<std::u16string> ReadText(std::string_view key, std::string_view value) override;
  bool WriteNumber(std::string_view key, std::string_view value, uint32_t number) override;
  bool WriteText(std::string_view key, std::string_view value, std::u16string_view text) override;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qv
