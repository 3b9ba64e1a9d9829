// The configuration bag that the module reads, over a file of `key = value` lines.
//
// An unknown key reads as VT_EMPTY. A value that is set to persist is written at once: the file is
// read again, one line changes, and the whole is replaced atomically, so that comments, unknown
// keys, their order and an edit made by hand meanwhile are kept. A value that is not to persist is
// held in memory alone.
#pragma once

#include <map>
#include <string>

#include "host/conf_text.h"
#include "platform/com/com_object.h"
#include "platform/com/engine_config.h"

namespace qv {

class ConfBag final : public ComObject<IEngineConfig> {
 public:
  // `text` is what the file at `path` (native) holds.
  ConfBag(std::string path, ConfText text);

  HRESULT GetValue(BSTR key, VARIANT* value) noexcept override;
  // E_INVALIDARG for a key or value that one line cannot hold; E_FAIL, and no change, when the
  // file cannot be read or written.
  HRESULT SetValue(BSTR key, VARIANT text, BOOL persist) noexcept override;

 private:
  HRESULT WriteBack(const std::string& key, const std::string& value);

  std::string path_;
  ConfText text_;
  std::map<std::string, std::string> memory_;
};

}  // namespace qv
