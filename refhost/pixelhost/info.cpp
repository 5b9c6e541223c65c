// pixelhost info: the control version the plug-in chose and the methods it registered.
#include <cstdio>

#include "refhost/pixelhost/commands.h"
#include "refhost/pixelhost/session.h"

namespace pixelhost {
namespace {

void PrintMethods(const char* group, const std::vector<refhost::RegisteredMethod>& methods) {
  printf("%s (%zu methods):\n", group, methods.size());
  for (const auto& method : methods) printf("  %s\n", method.declaration.c_str());
}

int RunInfo(const CommandLine& line) {
  Session session(line);
  const refhost::Host& host = session.host();
  printf("%s host %.7g, control version %d\n", session.host_name().c_str(), host.config().version,
         host.control_version().value_or(0));
  PrintMethods("Picture", host.picture_methods());
  PrintMethods("global", host.global_methods());
  return 0;
}

}  // namespace

Command InfoCommand() { return {"info", kHostUsage, 0, WithHostOptions({}), {}, RunInfo}; }

}  // namespace pixelhost
