// What a Mac bundle's slices import from libSystem, libc++ and CoreGraphics, served by this
// process: the x86_64 slice calls the native functions themselves (Apple's x86-64 convention
// is System V's), the arm64 slice reaches them through stubs that bridge their C types.
#pragma once

#include <string>

#include "refhost/system/arm64/guest_bridges.h"
#include "refhost/system/macho/macho_file.h"

namespace refhost::macho {

using arm64::ServedImport;

// The import `symbol` of a slice for `cpu`, or false when this process doesn't serve it.
bool FindImport(const std::string& symbol, Cpu cpu, ServedImport* served);

// What a thread-local variable's descriptor leads to, once Image has put its thread's block
// in the key: the x86_64 thunk (which keeps every register but rax, as dyld's does), or the
// function the arm64 stub calls.
extern "C" void PixelhostThreadLocalThunk();
uint64_t ThreadLocalAddress(const format::tlv_descriptor* descriptor);

}  // namespace refhost::macho
