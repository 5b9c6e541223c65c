// An arm64 processor emulated by Unicorn inside this process, to run an arm64 image (a Mac
// bundle's arm64 slice, a Windows ARM64 DLL; what it needs of the image is guest_image.h's,
// of the system its calling convention): it sees the image,
// its stack and its stubs at the addresses this process has them, and any other page of this
// process (the host's objects, memory blocks and pixels) from the guest's first touch, so
// pointers mean the same on both sides. Only the image's own instructions are emulated: each
// import and host function is a stub that runs natively.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "refhost/system/arm64/guest_image.h"

struct uc_struct;

namespace refhost {
struct Mapping;
}

namespace refhost::arm64 {

class Arm64Machine;
// Runs for the guest: takes its arguments from `machine` (GuestArguments), calls or reads
// `native` and leaves its result in `machine`.
using StubHandler = void (*)(Arm64Machine& machine, void* native);

// Where the two arm64 conventions differ: past x0 to x7, Apple packs arguments on the stack at
// their own size and alignment, Windows gives each an 8-byte slot; Windows also keeps x18 for
// the thread environment block.
enum class Convention { kApple, kWindows };

class Arm64Machine {
 public:
  // A processor with its stubs and stack; `what` names what it runs in reports ("the arm64
  // slice of PATH").
  static std::unique_ptr<Arm64Machine> Start(const std::string& what, Convention convention, std::string* error);
  ~Arm64Machine();
  Arm64Machine(const Arm64Machine&) = delete;
  Arm64Machine& operator=(const Arm64Machine&) = delete;
  // Maps `image`, which stays where it is, each part as its protection says.
  bool Load(const GuestImage& image, std::string* error);
  // Whole pages of this process the guest sees for good, readable and writable (the thread
  // environment block and thread-local blocks a loader makes).
  bool Share(uint8_t* pages, uint64_t bytes, std::string* error);
  // x18 on every call in (Windows: the thread environment block).
  void SetPlatformRegister(uint64_t value) { platform_register_ = value; }
  // The guest's stack, from its lowest address to the one past its top.
  void StackBounds(uint64_t* limit, uint64_t* base) const;
  Convention convention() const { return convention_; }

  // A guest address whose call runs `handler` and returns to the caller (the same one for
  // the same three). `keepsMappings`: the handler maps and frees nothing, so what the guest
  // was lent stays lent.
  uint64_t Stub(const std::string& name, StubHandler handler, void* native, bool keepsMappings = false);
  // Calls the guest's `function` with integer arguments `words`, `sizes[i]` bytes each, as
  // the convention passes them; x0 back. A stub's handler may call in again.
  uint64_t Call(uint64_t function, const uint64_t* words, const uint8_t* sizes, int count);

  // For a handler: registers, and the result it leaves.
  uint64_t Register(int id);
  void Return(uint64_t word);
  void ReturnDouble(double value);
  // For a handler that can't go on: says why and where the guest called from, and ends the
  // process as an abort does.
  [[noreturn]] void Abandon(const std::string& why);

 private:
  Arm64Machine(const std::string& what, Convention convention) : what_(what), convention_(convention) {}
  bool Map(uint64_t address, uint64_t bytes, uint32_t protection, std::string* error);
  void Lend(const Mapping& mapping);
  void ForgetLent();
  [[noreturn]] void Fault(int error);
  static void OnStub(uc_struct* uc, uint64_t address, uint32_t size, void* self);
  static bool OnUnmapped(uc_struct* uc, int type, uint64_t address, int size, int64_t value, void* self);

  struct Slot {
    std::string name;
    StubHandler handler;
    void* native;
    bool keepsMappings;
  };
  const GuestImage* image_ = nullptr;
  std::string what_;
  Convention convention_;
  uint64_t platform_register_ = 0;
  uc_struct* uc_ = nullptr;
  uint8_t* stubs_ = nullptr;  // one return instruction a slot
  std::vector<Slot> slots_;
  uint8_t* stack_ = nullptr;
  int depth_ = 0;
  std::vector<std::pair<uint64_t, uint64_t>> lent_;  // begin, bytes
  uint64_t fault_address_ = 0;
};

// A handler's integer arguments in order, as the machine's convention passes them: the first
// eight in x0 to x7, the rest on the stack.
class GuestArguments {
 public:
  explicit GuestArguments(Arm64Machine& machine) : machine_(machine) {}
  uint64_t Next(int bytes);

 private:
  Arm64Machine& machine_;
  int register_ = 0;
  uint64_t stack_ = 0;
};

}  // namespace refhost::arm64
