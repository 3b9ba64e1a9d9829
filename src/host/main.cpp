#include "host/cli/commands.h"

int main(int argc, char** argv) {
  return qv::RunProgram(argc, argv);
}
