// Which kind of application the host runs: desktop pictures are bitmap contexts, console
// and web pictures are true-colour images.
#include "plugin/registration.h"

bool IsDesktop = false;
bool IsConsole = false;

void DetectHostKind() {
  const bool desktop = REALGetClassRef("Application") != nullptr;
  const bool web = REALGetClassRef("WebApplication") != nullptr;
  const bool console = REALGetClassRef("ConsoleApplication") != nullptr;
  if (desktop) IsDesktop = true;
  else if (console || web) IsConsole = true;
}
