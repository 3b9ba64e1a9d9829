// Runs a command and prints its wall-clock seconds and its peak memory in KiB, for scripts/bench:
//   qv_measure OUTPUT-FILE COMMAND [ARGUMENT...]
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: qv_measure OUTPUT-FILE COMMAND [ARGUMENT...]\n");
    return 2;
  }
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    execvp(argv[2], argv + 2);
    std::perror(argv[2]);
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  if (child < 0 || wait4(child, &status, 0, &usage) < 0) {
    std::perror("qv_measure");
    return 2;
  }
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  std::FILE* out = std::fopen(argv[1], "w");
  if (out == nullptr) {
    std::perror(argv[1]);
    return 2;
  }
  std::fprintf(out, "%.6f %ld\n", elapsed.count(), usage.ru_maxrss);
  std::fclose(out);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128;
}
