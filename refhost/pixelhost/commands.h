// The commands of pixelhost: what each reads from its command line, and how it runs.
#pragma once

#include <set>
#include <string>

#include "refhost/pixelhost/command_line.h"

namespace pixelhost {

struct Command {
  std::string name;
  std::string usage;  // what follows the name
  size_t operands;
  std::set<std::string> valued;  // options with a value
  std::set<std::string> flags;   // options without one
  int (*run)(const CommandLine& line);
};

Command InfoCommand();
Command DemoCommand();
#if PIXELBRIDGE_WITH_LIBGD
Command ToMemoryCommand();
Command ToPictureCommand();
#endif

}  // namespace pixelhost
