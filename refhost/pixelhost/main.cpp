// pixelhost: the reference host as a command-line tool. Every command loads the plug-in and
// works through the methods it registered.
#include <cstdio>
#include <cstring>
#include <vector>

#include "refhost/pixelhost/commands.h"

namespace {

std::vector<pixelhost::Command> Commands() {
  std::vector<pixelhost::Command> commands = {pixelhost::InfoCommand()};
#if PIXELBRIDGE_WITH_LIBGD
  commands.push_back(pixelhost::ToMemoryCommand());
  commands.push_back(pixelhost::ToPictureCommand());
#endif
  commands.push_back(pixelhost::DemoCommand());
  return commands;
}

// Asked for, the usage goes to stdout and the run succeeds.
int Usage(const std::vector<pixelhost::Command>& commands, bool asked) {
  FILE* out = asked ? stdout : stderr;
  fputs("usage:\n  pixelhost --version\n", out);
  for (const auto& command : commands) fprintf(out, "  pixelhost %s %s\n", command.name.c_str(), command.usage.c_str());
  return asked ? 0 : 2;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<pixelhost::Command> commands = Commands();
  const pixelhost::Command* command = nullptr;
  for (const auto& candidate : commands)
    if (argc >= 2 && candidate.name == argv[1]) command = &candidate;
  if (argc == 2 && strcmp(argv[1], "--version") == 0) {
    printf("pixelhost %s\n", PIXELBRIDGE_VERSION);
    return 0;
  }
  if (command == nullptr) {
    const bool asked = argc >= 2 && (strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "help") == 0);
    if (argc >= 2 && !asked) fprintf(stderr, "pixelhost: unknown command \"%s\"\n", argv[1]);
    return Usage(commands, asked);
  }
  try {
    const pixelhost::CommandLine line(std::vector<std::string>(argv + 2, argv + argc), command->valued, command->flags);
    if (line.operands().size() != command->operands)
      throw pixelhost::UsageError(command->name + " takes " + std::to_string(command->operands) + " operands, not " +
                                  std::to_string(line.operands().size()));
    return command->run(line);
  } catch (const pixelhost::UsageError& error) {
    fprintf(stderr, "pixelhost: %s\nusage: pixelhost %s %s\n", error.what(), command->name.c_str(),
            command->usage.c_str());
    return 2;
  } catch (const pixelhost::Failure& error) {
    if (error.what()[0] != '\0') fprintf(stderr, "pixelhost: %s\n", error.what());
    return 1;
  } catch (const std::exception& error) {
    fprintf(stderr, "pixelhost: %s\n", error.what());
    return 1;
  }
}
