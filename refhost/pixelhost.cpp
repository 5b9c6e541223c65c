// pixelhost: the reference host as a command-line tool.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "refhost/host.h"

namespace {

int Usage() {
  fprintf(stderr,
          "usage: pixelhost info [--host desktop|console|web] [--version 2013.03] [--plugin PATH]\n");
  return 2;
}

bool ParseHost(const char* text, refhost::HostKind* kind) {
  if (strcmp(text, "desktop") == 0) *kind = refhost::HostKind::Desktop;
  else if (strcmp(text, "console") == 0) *kind = refhost::HostKind::Console;
  else if (strcmp(text, "web") == 0) *kind = refhost::HostKind::Web;
  else return false;
  return true;
}

void PrintMethods(const char* group, const std::vector<refhost::RegisteredMethod>& methods) {
  printf("%s (%zu methods):\n", group, methods.size());
  for (const auto& method : methods) printf("  %s\n", method.declaration.c_str());
}

int Info(const refhost::HostConfig& config) {
  refhost::Host host(config);
  std::string error;
  if (!host.Load(&error)) {
    fprintf(stderr, "pixelhost: %s\n", error.c_str());
    return 1;
  }
  printf("host version %.5g, control version %d\n", config.version, host.control_version().value_or(0));
  PrintMethods("Picture", host.picture_methods());
  PrintMethods("global", host.global_methods());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return Usage();
  refhost::HostConfig config;
  for (int i = 2; i < argc; ++i) {
    const bool hasValue = i + 1 < argc;
    if (strcmp(argv[i], "--host") == 0 && hasValue) {
      if (!ParseHost(argv[++i], &config.kind)) return Usage();
    } else if (strcmp(argv[i], "--version") == 0 && hasValue) {
      config.version = strtod(argv[++i], nullptr);
    } else if (strcmp(argv[i], "--plugin") == 0 && hasValue) {
      config.plugin_path = argv[++i];
    } else {
      return Usage();
    }
  }
  if (strcmp(argv[1], "info") == 0) return Info(config);
  return Usage();
}
