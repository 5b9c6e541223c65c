// The imports, a row each: libSystem's C functions as they are, the rest written here for
// one process and one thread (what the Mac's C++ runtime, clocks and system answer).
#include "refhost/system/macho/mac_imports.h"

#include <sys/random.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>

#include "platform/core_graphics.h"
#include "refhost/system/arm64/guest_bridges.h"

// rdi: the descriptor; its key holds the block, and the variable lies its offset into it
// (the words at 8 and 16: top-level assembly takes no operands).
static_assert(offsetof(refhost::macho::format::tlv_descriptor, key) == 8 &&
                  offsetof(refhost::macho::format::tlv_descriptor, offset) == 16,
              "the thunk reads the descriptor's key and offset");
asm(R"(
  .pushsection .text
  .globl PixelhostThreadLocalThunk
  .type PixelhostThreadLocalThunk, @function
PixelhostThreadLocalThunk:
  movq 8(%rdi), %rax
  addq 16(%rdi), %rax
  ret
  .popsection
)");

namespace refhost::macho {
namespace {

// mach_absolute_time's units: nanoseconds on Intel Macs, 24 MHz ticks on Apple silicon.
struct Timebase {
  uint32_t numer, denom;
};
uint64_t Nanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1000000000u + static_cast<uint64_t>(now.tv_nsec);
}
uint64_t IntelAbsoluteTime() { return Nanoseconds(); }
int IntelTimebase(Timebase* timebase) {
  *timebase = {1, 1};
  return 0;  // KERN_SUCCESS
}
uint64_t AppleSiliconAbsoluteTime() {
  return static_cast<uint64_t>(static_cast<unsigned __int128>(Nanoseconds()) * 3 / 125);
}
int AppleSiliconTimebase(Timebase* timebase) {
  *timebase = {125, 3};
  return 0;
}

// hw.optional.avx512f, …bw and …vbmi as this processor has them; other names don't exist.
int Sysctlbyname(const char* name, void* value, size_t* size, void*, size_t) {
  std::optional<int32_t> has;
  if (strcmp(name, "hw.optional.avx512f") == 0) has = __builtin_cpu_supports("avx512f");
  if (strcmp(name, "hw.optional.avx512bw") == 0) has = __builtin_cpu_supports("avx512bw");
  if (strcmp(name, "hw.optional.avx512vbmi") == 0) has = __builtin_cpu_supports("avx512vbmi");
  if (!has || value == nullptr || size == nullptr || *size < sizeof(int32_t)) return -1;
  memcpy(value, &*has, sizeof(int32_t));
  *size = sizeof(int32_t);
  return 0;
}

// Function-local statics: one thread, so the first byte of the guard says done.
int GuardAcquire(uint64_t* guard) { return *reinterpret_cast<uint8_t*>(guard) == 0 ? 1 : 0; }
void GuardRelease(uint64_t* guard) { *reinterpret_cast<uint8_t*>(guard) = 1; }
void GuardAbort(uint64_t*) {}

void Bzero(void* to, size_t bytes) { memset(to, 0, bytes); }
void* OperatorNew(size_t bytes) {
  void* memory = malloc(bytes);
  if (memory == nullptr) abort();  // where operator new would throw
  return memory;
}
void StackSmashed() {
  fprintf(stderr, "pixelhost: the Mac bundle's stack guard was overwritten\n");
  abort();
}
// Bound, as dyld binds them, and never called: lazy binding (every pointer is bound at load)
// and C++ exceptions, which the plug-in never lets out of its code.
void NeverCalled() {
  fprintf(stderr,
          "pixelhost: the Mac bundle threw a C++ exception or bound a symbol lazily, which the runner "
          "doesn't serve\n");
  abort();
}

uint64_t gStackGuard = [] {
  uint64_t guard = 0;
  if (getrandom(&guard, sizeof guard, 0) != sizeof guard) guard = 0x2F8A'E53C'71D0'4600u;
  return guard & ~uint64_t{0xFF};  // as Apple's: a zero low byte stops string overruns
}();
FILE* gStderr = stderr;
alignas(16) uint64_t gTypeInfoVtables[2][8];  // only type information reads them

struct Row {
  const char* symbol;
  std::optional<Cpu> only;  // the slice that imports it so, or both
  ServedImport served;      // a datum has no handler
};

template <typename R, typename... A>
Row Function(const char* symbol, R (*function)(A...), bool keepsMappings = true,
             std::optional<Cpu> only = std::nullopt) {
  return {symbol, only, arm64::Served(function, keepsMappings)};
}
Row Datum(const char* symbol, void* address) { return {symbol, std::nullopt, {address, nullptr, true}}; }

const Row* Rows(size_t* count) {
  static const Row kRows[] = {
      Function("_strlen", &strlen),
      Function("_memcpy", &memcpy),
      Function("___bzero", &Bzero),
      Function("_bzero", &Bzero),
      Function("_calloc", &calloc, false),
      Function("_free", &free, false),
      Function("__Znwm", &OperatorNew, false),
      Function("__ZdlPv", &free, false),
      Function("_fwrite", &fwrite),
      Function("_abort", &abort),
      Datum("___stderrp", &gStderr),
      Function("___cxa_guard_acquire", &GuardAcquire),
      Function("___cxa_guard_release", &GuardRelease),
      Function("___cxa_guard_abort", &GuardAbort),
      Function("_CGBitmapContextGetData", &CGBitmapContextGetData),
      Function("_CGBitmapContextGetWidth", &CGBitmapContextGetWidth),
      Function("_CGBitmapContextGetHeight", &CGBitmapContextGetHeight),
      Function("_CGBitmapContextGetBytesPerRow", &CGBitmapContextGetBytesPerRow),
      Function("_CGBitmapContextGetBitsPerPixel", &CGBitmapContextGetBitsPerPixel),
      Function("_CGBitmapContextGetAlphaInfo", &CGBitmapContextGetAlphaInfo),
      Function("_mach_absolute_time", &IntelAbsoluteTime, true, Cpu::kX86_64),
      Function("_mach_timebase_info", &IntelTimebase, true, Cpu::kX86_64),
      Function("_mach_absolute_time", &AppleSiliconAbsoluteTime, true, Cpu::kArm64),
      Function("_mach_timebase_info", &AppleSiliconTimebase, true, Cpu::kArm64),
      Function("_sysctlbyname", &Sysctlbyname),
      Function("__tlv_bootstrap", &PixelhostThreadLocalThunk, true, Cpu::kX86_64),
      Function("__tlv_bootstrap", &ThreadLocalAddress, true, Cpu::kArm64),
      Function("___stack_chk_fail", &StackSmashed),
      Datum("___stack_chk_guard", &gStackGuard),
      Datum("__ZTVN10__cxxabiv117__class_type_infoE", gTypeInfoVtables[0]),
      Datum("__ZTVN10__cxxabiv120__si_class_type_infoE", gTypeInfoVtables[1]),
      Function("dyld_stub_binder", &NeverCalled),
      Function("___gxx_personality_v0", &NeverCalled),
      Function("__Unwind_Resume", &NeverCalled),
      Function("___cxa_begin_catch", &NeverCalled),
      Function("__ZSt9terminatev", &NeverCalled),
  };
  *count = sizeof kRows / sizeof kRows[0];
  return kRows;
}

}  // namespace

uint64_t ThreadLocalAddress(const format::tlv_descriptor* descriptor) { return descriptor->key + descriptor->offset; }

bool FindImport(const std::string& symbol, Cpu cpu, ServedImport* served) {
  size_t count = 0;
  const Row* rows = Rows(&count);
  for (size_t i = 0; i < count; ++i) {
    const Row& row = rows[i];
    if (symbol != row.symbol || (row.only && *row.only != cpu)) continue;
    *served = row.served;
    return true;
  }
  return false;
}

}  // namespace refhost::macho
