// The imports, a row each: the C runtime's functions as this process has them where their C
// types agree, the rest written here for one process and one thread (locks that are never
// contended, slots of the one thread, the system's clocks in Windows' units).
#include "refhost/system/pe/win_imports.h"

#include <strings.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace refhost::pe {
namespace {

using arm64::Arm64Machine;
using arm64::GuestArguments;
using arm64::ServedImport;

// Windows' types by their sizes on 64-bit Windows (LLP64).
using BOOL = int32_t;
using BOOLEAN = uint8_t;
using DWORD = uint32_t;

uint64_t Nanoseconds(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1000000000u + static_cast<uint64_t>(now.tv_nsec);
}

// Locks and condition variables of the one thread: never contended, so taking one always
// succeeds and waking nobody does nothing.
void NoLock(void*) {}
BOOLEAN TryAcquireSRWLockExclusive(void*) { return 1; }
BOOL TryEnterCriticalSection(void*) { return 1; }
BOOL CloseHandle(void*) { return 1; }
BOOL SwitchToThread() { return 0; }  // no other thread to run
DWORD ThreadId() { return 1; }
DWORD ThreadIdOf(void*) { return 1; }
DWORD GetLastError() { return 0; }
void Sleep(DWORD milliseconds) {
  const timespec pause{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000};
  nanosleep(&pause, nullptr);
}

// Fiber-local and thread-local slots of the one thread; a slot's callback would run when the
// thread ends, which it doesn't while the DLL is loaded.
constexpr DWORD kSlots = 128, kOutOfIndexes = 0xFFFFFFFF;
void* gFiberSlots[kSlots];
void* gThreadSlots[kSlots];
DWORD gFiberSlotsTaken = 0;
DWORD FlsAlloc(void*) { return gFiberSlotsTaken < kSlots ? gFiberSlotsTaken++ : kOutOfIndexes; }
void* FlsGetValue(DWORD index) { return index < kSlots ? gFiberSlots[index] : nullptr; }
BOOL FlsSetValue(DWORD index, void* value) { return index < kSlots ? (gFiberSlots[index] = value, 1) : 0; }
void* TlsGetValue(DWORD index) { return index < kSlots ? gThreadSlots[index] : nullptr; }

// Clocks: the performance counter in nanoseconds, file times in 100 ns since 1601.
BOOL QueryPerformanceCounter(int64_t* count) {
  *count = static_cast<int64_t>(Nanoseconds(CLOCK_MONOTONIC));
  return 1;
}
BOOL QueryPerformanceFrequency(int64_t* frequency) {
  *frequency = 1000000000;
  return 1;
}
uint64_t GetTickCount64() { return Nanoseconds(CLOCK_MONOTONIC) / 1000000; }
void GetSystemTimePreciseAsFileTime(uint64_t* fileTime) {
  constexpr uint64_t kFrom1601To1970 = 116444736000000000;
  *fileTime = Nanoseconds(CLOCK_REALTIME) / 100 + kFrom1601To1970;
}
BOOL IsDBCSLeadByteEx(uint32_t, uint8_t) { return 0; }  // single-byte code pages alone

// The C runtime: msvcrt's stdin, stdout and stderr are three 48-byte FILE records.
uint8_t gStandardFiles[3][48];
FILE* NativeFile(const void* file) {
  const auto index = static_cast<uint64_t>(static_cast<const uint8_t*>(file) - gStandardFiles[0]) / 48;
  return index == 0 ? stdin : index == 1 ? stdout : stderr;
}
void* IobFunc() { return gStandardFiles; }
size_t Fwrite(const void* data, size_t size, size_t count, void* file) {
  return fwrite(data, size, count, NativeFile(file));
}
int Fputc(int c, void* file) { return fputc(c, NativeFile(file)); }
int Fflush(void* file) { return fflush(file != nullptr ? NativeFile(file) : nullptr); }
// The format alone, for its va_list is the guest's: enough for a last message.
int Vfprintf(void* file, const char* format, void*) { return fputs(format, NativeFile(file)); }

int gErrno = 0;
int* Errno() { return &gErrno; }
void* AlignedMalloc(size_t bytes, size_t alignment) {
  void* memory = nullptr;
  return posix_memalign(&memory, alignment < sizeof(void*) ? sizeof(void*) : alignment, bytes) == 0 ? memory : nullptr;
}
const void* Memchr(const void* bytes, int c, size_t count) { return memchr(bytes, c, count); }
size_t Wcslen(const char16_t* text) {  // wchar_t has 16 bits on Windows
  size_t length = 0;
  while (text[length] != 0) ++length;
  return length;
}
int Isxdigit(int c) { return isxdigit(c); }
void NoRuntimeLock(int) {}
uint32_t CodePage() { return 0; }  // the "C" locale
int MbCurMax() { return 1; }
// msvcrt's lconv: ten texts, then eight numbers (CHAR_MAX: not given).
struct Lconv {
  const char* texts[10];
  char numbers[8];
};
const Lconv gLconv = {{".", "", "", "", "", "", "", "", "", ""}, {127, 127, 127, 127, 127, 127, 127, 127}};
const Lconv* Localeconv() { return &gLconv; }

// Runs each initializer of [begin, end) that isn't null, in order, in the guest.
void Initterm(Arm64Machine& machine, void*) {
  GuestArguments in(machine);
  const auto* at = reinterpret_cast<const uint64_t*>(in.Next(8));
  const auto* end = reinterpret_cast<const uint64_t*>(in.Next(8));
  for (; at < end; ++at)
    if (*at != 0) machine.Call(*at, nullptr, nullptr, 0);
}

// An INIT_ONCE is one pointer, not zero once its function has succeeded: the guest's function
// runs nested, its BOOL back.
void InitOnceExecuteOnce(Arm64Machine& machine, void*) {
  GuestArguments in(machine);
  const uint64_t once = in.Next(8), function = in.Next(8), parameter = in.Next(8), context = in.Next(8);
  auto* done = reinterpret_cast<uint64_t*>(once);
  BOOL succeeded = 1;
  if (*done == 0) {
    const uint64_t words[3] = {once, parameter, context};
    const uint8_t sizes[3] = {8, 8, 8};
    succeeded = static_cast<BOOL>(machine.Call(function, words, sizes, 3));
    if (succeeded != 0) *done = 1;
  }
  machine.Return(succeeded != 0);
}

// Calls that end the process, saying why and where the DLL called from.
void Abort(Arm64Machine& machine, void*) { machine.Abandon("called abort"); }
void AmsgExit(Arm64Machine& machine, void*) {
  machine.Abandon("ended with the C runtime's error " + std::to_string(GuestArguments(machine).Next(4) & 0xFFFFFFFF));
}
void RaiseException(Arm64Machine& machine, void*) {
  char code[24];
  snprintf(code, sizeof code, "0x%08llx",
           static_cast<unsigned long long>(GuestArguments(machine).Next(4) & 0xFFFFFFFF));
  machine.Abandon(std::string("raised exception ") + code + ", which the runner doesn't handle");
}
void Unserved(Arm64Machine& machine, void* name) {
  machine.Abandon(std::string("called ") + static_cast<const char*>(name) + ", which the runner doesn't serve");
}

struct Row {
  const char* dll;
  const char* name;
  ServedImport served;
};

template <typename R, typename... A>
Row Function(const char* dll, const char* name, R (*function)(A...), bool keepsMappings = true) {
  return {dll, name, arm64::Served(function, keepsMappings)};
}
// A handler that reads its own arguments: it may call the guest, so it keeps no mapping.
Row Handler(const char* dll, const char* name, arm64::StubHandler handler) {
  return {dll, name, {nullptr, handler, false}};
}
Row Unserved(const char* dll, const char* name) { return {dll, name, {const_cast<char*>(name), &Unserved, true}}; }

constexpr const char* kKernel32 = "KERNEL32.dll";
constexpr const char* kMsvcrt = "msvcrt.dll";

const Row* Rows(size_t* count) {
  static const Row kRows[] = {
      Function(kKernel32, "AcquireSRWLockExclusive", &NoLock),
      Function(kKernel32, "ReleaseSRWLockExclusive", &NoLock),
      Function(kKernel32, "TryAcquireSRWLockExclusive", &TryAcquireSRWLockExclusive),
      Function(kKernel32, "InitializeCriticalSection", &NoLock),
      Function(kKernel32, "DeleteCriticalSection", &NoLock),
      Function(kKernel32, "EnterCriticalSection", &NoLock),
      Function(kKernel32, "LeaveCriticalSection", &NoLock),
      Function(kKernel32, "TryEnterCriticalSection", &TryEnterCriticalSection),
      Function(kKernel32, "WakeAllConditionVariable", &NoLock),
      Function(kKernel32, "WakeConditionVariable", &NoLock),
      Handler(kKernel32, "InitOnceExecuteOnce", &InitOnceExecuteOnce),
      Function(kKernel32, "CloseHandle", &CloseHandle),
      Function(kKernel32, "SwitchToThread", &SwitchToThread),
      Function(kKernel32, "GetCurrentThreadId", &ThreadId),
      Function(kKernel32, "GetThreadId", &ThreadIdOf),
      Function(kKernel32, "GetLastError", &GetLastError),
      Function(kKernel32, "Sleep", &Sleep),
      Function(kKernel32, "FlsAlloc", &FlsAlloc),
      Function(kKernel32, "FlsGetValue", &FlsGetValue),
      Function(kKernel32, "FlsSetValue", &FlsSetValue),
      Function(kKernel32, "TlsGetValue", &TlsGetValue),
      Function(kKernel32, "QueryPerformanceCounter", &QueryPerformanceCounter),
      Function(kKernel32, "QueryPerformanceFrequency", &QueryPerformanceFrequency),
      Function(kKernel32, "GetTickCount64", &GetTickCount64),
      Function(kKernel32, "GetSystemTimePreciseAsFileTime", &GetSystemTimePreciseAsFileTime),
      Function(kKernel32, "IsDBCSLeadByteEx", &IsDBCSLeadByteEx),
      Handler(kKernel32, "RaiseException", &RaiseException),
      // Waiting for another thread, character sets, the unwinder (no C++ exception leaves the
      // plug-in's code) and changes of protection (its C runtime has no pseudo-relocation to
      // apply): imported, never called by the plug-in.
      Unserved(kKernel32, "SleepConditionVariableSRW"),
      Unserved(kKernel32, "WaitForSingleObjectEx"),
      Unserved(kKernel32, "MultiByteToWideChar"),
      Unserved(kKernel32, "WideCharToMultiByte"),
      Unserved(kKernel32, "RtlLookupFunctionEntry"),
      Unserved(kKernel32, "RtlRestoreContext"),
      Unserved(kKernel32, "RtlUnwindEx"),
      Unserved(kKernel32, "RtlVirtualUnwind"),
      Unserved(kKernel32, "VirtualProtect"),
      Unserved(kKernel32, "VirtualQuery"),
      Function(kMsvcrt, "malloc", &malloc),
      Function(kMsvcrt, "calloc", &calloc),
      Function(kMsvcrt, "realloc", &realloc, false),
      Function(kMsvcrt, "free", &free, false),
      Function(kMsvcrt, "_aligned_malloc", &AlignedMalloc),
      Function(kMsvcrt, "_aligned_free", &free, false),
      Function(kMsvcrt, "memchr", &Memchr),
      Function(kMsvcrt, "strcmp", &strcmp),
      Function(kMsvcrt, "strncmp", &strncmp),
      Function(kMsvcrt, "strlen", &strlen),
      Function(kMsvcrt, "wcslen", &Wcslen),
      Function(kMsvcrt, "isxdigit", &Isxdigit),
      Function(kMsvcrt, "strerror", &strerror),
      Function(kMsvcrt, "_errno", &Errno),
      Function(kMsvcrt, "_lock", &NoRuntimeLock),
      Function(kMsvcrt, "_unlock", &NoRuntimeLock),
      Function(kMsvcrt, "___lc_codepage_func", &CodePage),
      Function(kMsvcrt, "___mb_cur_max_func", &MbCurMax),
      Function(kMsvcrt, "localeconv", &Localeconv),
      Function(kMsvcrt, "__iob_func", &IobFunc),
      Function(kMsvcrt, "fwrite", &Fwrite),
      Function(kMsvcrt, "fputc", &Fputc),
      Function(kMsvcrt, "fflush", &Fflush),
      Function(kMsvcrt, "vfprintf", &Vfprintf),
      Handler(kMsvcrt, "_initterm", &Initterm),
      Handler(kMsvcrt, "abort", &Abort),
      Handler(kMsvcrt, "_amsg_exit", &AmsgExit),
      Unserved(kMsvcrt, "_beginthreadex"),
  };
  *count = sizeof kRows / sizeof kRows[0];
  return kRows;
}

}  // namespace

bool FindImport(const std::string& dll, const std::string& name, ServedImport* served) {
  size_t count = 0;
  const Row* rows = Rows(&count);
  for (size_t i = 0; i < count; ++i) {
    if (name != rows[i].name || strcasecmp(dll.c_str(), rows[i].dll) != 0) continue;
    *served = rows[i].served;
    return true;
  }
  return false;
}

}  // namespace refhost::pe
