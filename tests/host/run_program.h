// Runs the real `qvsync` in a folder of its own.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "kit/platform_fakes.h"

namespace qv::test {

struct Outcome {
  int code = -1;  // 128 and more: ended by a signal
  std::string out;
  std::string err;

  nlohmann::ordered_json Json() const {
    return nlohmann::ordered_json::parse(out, nullptr, /*allow_exceptions=*/false);
  }
};

// A profile's folder and room for other files. The user's own folders point in here too.
class ProgramFolder {
  TempFolder temp_;

 public:
  const std::string profile = temp_.File("profile");
  const TempFolder& files() const { return temp_; }

  // `qvsync -p PROFILE ARGUMENTS...`, waited for.
  Outcome Run(std::vector<std::string> arguments, std::string_view input = "") {
    arguments.insert(arguments.begin(), {"-p", profile});
    return RunBare(arguments, input);
  }
  Outcome RunBare(const std::vector<std::string>& arguments, std::string_view input = "") {
    return Finish(Start(arguments, temp_.Put("stdin", input), temp_.File("stdout")));
  }
  Outcome RunTo(const std::string& standardOutput, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"-p", profile});
    return Finish(Start(arguments, temp_.Put("stdin", ""), standardOutput));
  }
  // An empty path closes the stream.
  pid_t Start(const std::vector<std::string>& arguments, const std::string& input,
              const std::string& output) {
    std::vector<std::string> all = {QV_PROGRAM_PATH};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<std::string> environment = {"HOME=" + temp_.path(), "TZ=UTC", "LC_ALL=C",
                                            "XDG_DATA_HOME=" + temp_.File("data"),
                                            "XDG_CONFIG_HOME=" + temp_.File("config")};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const auto redirect = [&](int fd, const std::string& path, int flags) {
      if (path.empty()) {
        posix_spawn_file_actions_addclose(&actions, fd);
      } else {
        posix_spawn_file_actions_addopen(&actions, fd, path.c_str(), flags, 0600);
      }
    };
    constexpr int kWrite = O_WRONLY | O_CREAT | O_TRUNC;
    redirect(0, input, O_RDONLY);
    redirect(1, output, kWrite);
    redirect(2, temp_.File("stderr"), kWrite);
    pid_t child = -1;
    posix_spawn(&child, QV_PROGRAM_PATH, &actions, nullptr, Pointers(all).data(),
                Pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    return child;
  }
  Outcome Finish(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    Outcome outcome;
    outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    outcome.out = temp_.Get("stdout").value_or("");
    outcome.err = temp_.Get("stderr").value_or("");
    return outcome;
  }

 private:
  static std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
  }
};

inline std::string Card(const std::string& name, const std::string& more = "") {
  return "BEGIN:VCARD\r\nVERSION:2.1\r\nN:" + name + "\r\n" + more + "END:VCARD\r\n";
}

inline std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find('\n', at), text.size());
    lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return lines;
}

}  // namespace qv::test
