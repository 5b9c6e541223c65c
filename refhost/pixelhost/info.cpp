// pixelhost info: the plug-in's version, the control version it chose and the methods it
// registered.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "refhost/pixelhost/commands.h"
#include "refhost/pixelhost/session.h"

namespace pixelhost {
namespace {

// The version the plug-in keeps in its file after this marker; it exports nothing to ask.
std::string PluginVersion(const std::string& path) {
  static const std::string kMarker = "@(#)pixelbridge ";
  std::ifstream file(path, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const size_t at = bytes.find(kMarker);
  if (at == std::string::npos) return "unknown";
  return bytes.c_str() + at + kMarker.size();
}

void PrintMethods(const char* group, const std::vector<refhost::RegisteredMethod>& methods) {
  printf("%s (%zu methods):\n", group, methods.size());
  for (const auto& method : methods) printf("  %s\n", method.declaration.c_str());
}

int RunInfo(const CommandLine& line) {
  Session session(line);
  const refhost::Host& host = session.host();
  printf("pixelhost %s, plug-in %s: pixelbridge %s\n", PIXELBRIDGE_VERSION, host.config().plugin_path.c_str(),
         PluginVersion(host.config().plugin_path).c_str());
  printf("%s host %.7g, control version %d\n", session.host_name().c_str(), host.config().version,
         host.control_version().value_or(0));
  PrintMethods("Picture", host.picture_methods());
  PrintMethods("global", host.global_methods());
  return 0;
}

}  // namespace

Command InfoCommand() { return {"info", kHostUsage, 0, WithHostOptions({}), {}, RunInfo}; }

}  // namespace pixelhost
