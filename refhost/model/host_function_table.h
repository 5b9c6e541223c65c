// The reference host's implementations of the host functions, by lookup name.
#pragma once

namespace refhost {
// The address of the host function with this lookup name, or of its variant that always
// fails; null for a name it doesn't know.
void* HostFunctionAddress(const char* name, bool failing = false);
}  // namespace refhost
