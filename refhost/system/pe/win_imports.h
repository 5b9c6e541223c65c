// What an ARM64 Windows DLL imports from KERNEL32.dll and msvcrt.dll, served by this process
// for one thread, each function bridged by its C type under the Windows convention.
#pragma once

#include <string>

#include "refhost/system/arm64/guest_bridges.h"

namespace refhost::pe {

// The function `name` imported from `dll` (in any case), or false when this process doesn't
// serve it. A few are served by a stub that ends the process with the import's name: what a
// DLL imports and the runner leaves out (threads, the unwinder, character sets).
bool FindImport(const std::string& dll, const std::string& name, arm64::ServedImport* served);

}  // namespace refhost::pe
