// Which kind of application the host runs, from the application classes it knows.
#include "host/host_kind.h"

#include "host/host_functions.h"

bool IsDesktop = false;
bool IsConsole = false;

void DetectHostKind() {
  const bool desktop = REALGetClassRef("Application") != nullptr;
  const bool web = REALGetClassRef("WebApplication") != nullptr;
  const bool console = REALGetClassRef("ConsoleApplication") != nullptr;
  if (desktop) IsDesktop = true;
  else if (console || web) IsConsole = true;
}
