// The emulated arm64 processor: shared mappings, stubs by a code hook, pages lent on first
// touch, calls in (nested ones too) and faults reported with where the guest was.
#include "refhost/system/arm64/arm64_machine.h"

#include <unicorn/unicorn.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "refhost/system/process_maps.h"
#include "refhost/system/system.h"

namespace refhost::arm64 {
namespace {

constexpr uint64_t kStubBytes = 0x10000, kSlotBytes = 16;
constexpr int kSlots = kStubBytes / kSlotBytes;
constexpr int kDeepest = 16;  // nested calls; the last slots are where each depth's call returns to
constexpr uint64_t kStackBytes = 8 << 20;
constexpr uint64_t kRedZone = 512;          // below a stub's caller's stack pointer, kept when calling in again
constexpr uint64_t kEmulatorPage = 0x1000;  // the emulator maps whole pages of 4 KiB
constexpr uint64_t kLendBytes = 1 << 20;
using os::RoundUp;

// The bytes an argument of `bytes` takes on the stack under `convention`.
uint64_t StackSlot(Convention convention, uint64_t bytes) { return convention == Convention::kWindows ? 8 : bytes; }

}  // namespace

std::unique_ptr<Arm64Machine> Arm64Machine::Start(const std::string& what, Convention convention, std::string* error) {
  std::unique_ptr<Arm64Machine> machine(new Arm64Machine(what, convention));
  Arm64Machine& m = *machine;
  uc_err err = uc_open(UC_ARCH_ARM64, UC_MODE_ARM, &m.uc_);
  if (err == UC_ERR_OK) err = uc_ctl_set_cpu_model(m.uc_, UC_CPU_ARM64_MAX);
  m.stubs_ = os::MapPages(kStubBytes);
  m.stack_ = os::MapPages(kStackBytes);
  if (err != UC_ERR_OK || m.stubs_ == nullptr || m.stack_ == nullptr) {
    *error = std::string("no emulated arm64 processor: ") + uc_strerror(err);
    return nullptr;
  }
  for (uint64_t at = 0; at < kStubBytes; at += kSlotBytes) memcpy(m.stubs_ + at, "\xC0\x03\x5F\xD6", 4);  // ret
  if (!m.Map(reinterpret_cast<uint64_t>(m.stubs_), kStubBytes, UC_PROT_READ | UC_PROT_EXEC, error) ||
      !m.Map(reinterpret_cast<uint64_t>(m.stack_), kStackBytes, UC_PROT_READ | UC_PROT_WRITE, error))
    return nullptr;
  uc_hook hook;
  const uint64_t stubs = reinterpret_cast<uint64_t>(m.stubs_);
  uc_hook_add(m.uc_, &hook, UC_HOOK_CODE, reinterpret_cast<void*>(&OnStub), &m, stubs, stubs + kStubBytes - 1);
  uc_hook_add(m.uc_, &hook, UC_HOOK_MEM_UNMAPPED, reinterpret_cast<void*>(&OnUnmapped), &m, 1, 0);
  return machine;
}

Arm64Machine::~Arm64Machine() {
  if (uc_ != nullptr) uc_close(uc_);
  if (stubs_ != nullptr) os::UnmapPages(stubs_, kStubBytes);
  if (stack_ != nullptr) os::UnmapPages(stack_, kStackBytes);
}

bool Arm64Machine::Load(const GuestImage& image, std::string* error) {
  image_ = &image;
  const uint64_t base = reinterpret_cast<uint64_t>(image.base());
  uint64_t mapped = base;
  for (const GuestImage::Part& part : image.Parts()) {
    const uint64_t at = base + part.offset;
    const uint64_t bytes = RoundUp(part.bytes, kEmulatorPage);  // a part needn't be whole pages (__LINKEDIT isn't)
    const uint32_t protection =
        (part.readable ? UC_PROT_READ : 0) | (part.writable ? UC_PROT_WRITE : 0) | (part.executable ? UC_PROT_EXEC : 0);
    if (!Map(at, bytes, protection, error)) return false;
    mapped = std::max(mapped, at + bytes);
  }
  return mapped >= base + image.size() || Map(mapped, base + image.size() - mapped, UC_PROT_READ, error);
}

bool Arm64Machine::Share(uint8_t* pages, uint64_t bytes, std::string* error) {
  return Map(reinterpret_cast<uint64_t>(pages), RoundUp(bytes, kEmulatorPage), UC_PROT_READ | UC_PROT_WRITE, error);
}

void Arm64Machine::StackBounds(uint64_t* limit, uint64_t* base) const {
  *limit = reinterpret_cast<uint64_t>(stack_);
  *base = *limit + kStackBytes;
}

bool Arm64Machine::Map(uint64_t address, uint64_t bytes, uint32_t protection, std::string* error) {
  const uc_err err = uc_mem_map_ptr(uc_, address, bytes, protection, reinterpret_cast<void*>(address));
  if (err != UC_ERR_OK) *error = std::string("the emulator can't map the image: ") + uc_strerror(err);
  return err == UC_ERR_OK;
}

uint64_t Arm64Machine::Stub(const std::string& name, StubHandler handler, void* native, bool keepsMappings) {
  const uint64_t stubs = reinterpret_cast<uint64_t>(stubs_);
  for (size_t i = 0; i < slots_.size(); ++i)
    if (slots_[i].handler == handler && slots_[i].native == native && slots_[i].name == name)
      return stubs + i * kSlotBytes;
  if (slots_.size() == kSlots - kDeepest) {
    fprintf(stderr, "pixelhost: the arm64 runner is out of stubs (%d)\n", kSlots - kDeepest);
    abort();
  }
  slots_.push_back({name, handler, native, keepsMappings});
  return stubs + (slots_.size() - 1) * kSlotBytes;
}

uint64_t Arm64Machine::Register(int id) {
  uint64_t value = 0;
  uc_reg_read(uc_, id, &value);
  return value;
}

void Arm64Machine::Return(uint64_t word) { uc_reg_write(uc_, UC_ARM64_REG_X0, &word); }

void Arm64Machine::ReturnDouble(double value) {
  uint64_t bits[2] = {0, 0};
  memcpy(bits, &value, sizeof value);
  uc_reg_write(uc_, UC_ARM64_REG_D0, bits);
}

uint64_t GuestArguments::Next(int bytes) {
  if (register_ < 8) return machine_.Register(UC_ARM64_REG_X0 + register_++);
  const uint64_t slot = StackSlot(machine_.convention(), static_cast<uint64_t>(bytes));
  stack_ = RoundUp(stack_, slot);
  uint64_t value = 0;
  memcpy(&value, reinterpret_cast<const void*>(machine_.Register(UC_ARM64_REG_SP) + stack_),
         static_cast<size_t>(bytes));
  stack_ += slot;
  return value;
}

uint64_t Arm64Machine::Call(uint64_t function, const uint64_t* words, const uint8_t* sizes, int count) {
  if (depth_ == kDeepest) {
    fprintf(stderr, "pixelhost: calls into the arm64 slice nested %d deep\n", kDeepest);
    abort();
  }
  ForgetLent();  // native code ran since the guest last did
  uc_context* caller = nullptr;
  uint64_t sp = reinterpret_cast<uint64_t>(stack_) + kStackBytes;
  if (depth_ > 0) {  // from a stub's handler: below its caller's frame
    uc_context_alloc(uc_, &caller);
    uc_context_save(uc_, caller);
    sp = Register(UC_ARM64_REG_SP) - kRedZone;
  }
  // Arguments past the eighth on the stack, each in its slot (its size and alignment on Apple's).
  uint64_t stackBytes = 0;
  for (int i = 8; i < count; ++i) {
    const uint64_t slot = StackSlot(convention_, sizes[i]);
    stackBytes = RoundUp(stackBytes, slot) + slot;
  }
  sp = (sp - stackBytes) & ~uint64_t{15};
  uint64_t offset = 0;
  for (int i = 8; i < count; ++i) {
    offset = RoundUp(offset, StackSlot(convention_, sizes[i]));
    memcpy(reinterpret_cast<void*>(sp + offset), &words[i], sizes[i]);
    offset += StackSlot(convention_, sizes[i]);
  }
  for (int i = 0; i < count && i < 8; ++i) {
    // The caller extends arguments narrower than 32 bits to 32.
    const uint64_t word = sizes[i] == 1 ? (words[i] & 0xFF) : sizes[i] == 2 ? (words[i] & 0xFFFF) : words[i];
    uc_reg_write(uc_, UC_ARM64_REG_X0 + i, &word);
  }
  const uint64_t exit = reinterpret_cast<uint64_t>(stubs_) + (kSlots - 1 - depth_) * kSlotBytes, frame = 0;
  uc_reg_write(uc_, UC_ARM64_REG_LR, &exit);
  uc_reg_write(uc_, UC_ARM64_REG_FP, &frame);
  uc_reg_write(uc_, UC_ARM64_REG_SP, &sp);
  if (convention_ == Convention::kWindows) uc_reg_write(uc_, UC_ARM64_REG_X18, &platform_register_);
  ++depth_;
  const uc_err err = uc_emu_start(uc_, function, exit, 0, 0);
  --depth_;
  if (err != UC_ERR_OK) Fault(err);
  const uint64_t result = Register(UC_ARM64_REG_X0);
  if (caller != nullptr) {
    uc_context_restore(uc_, caller);
    uc_context_free(caller);
  }
  return result;
}

void Arm64Machine::OnStub(uc_struct*, uint64_t address, uint32_t, void* self) {
  auto& m = *static_cast<Arm64Machine*>(self);
  const uint64_t slot = (address - reinterpret_cast<uint64_t>(m.stubs_)) / kSlotBytes;
  if (slot >= m.slots_.size()) return;  // where a call returns to
  // Copied: a handler may add stubs, and the slots move.
  const StubHandler handler = m.slots_[slot].handler;
  void* native = m.slots_[slot].native;
  const bool keepsMappings = m.slots_[slot].keepsMappings;
  handler(m, native);
  if (!keepsMappings) m.ForgetLent();  // the handler may have freed or remapped what was lent
}

// A page of this process the guest touched: the aligned megabyte around it, as far as the
// mapping that holds it reaches, readable or writable as it is now, less what the emulator
// maps already (a megabyte, not the whole mapping: the emulator forgets a page at a cost);
// for an access across the megabyte's end, the next one too. Pages that can't be read stay
// out, so the guest faults there as it would on the Mac.
bool Arm64Machine::OnUnmapped(uc_struct*, int, uint64_t address, int size, int64_t, void* self) {
  auto& m = *static_cast<Arm64Machine*>(self);
  for (const uint64_t touched : {address, address + static_cast<uint64_t>(std::max(size, 1)) - 1}) {
    m.fault_address_ = touched;
    Mapping mapping;
    if (touched < kNullPagesEnd || !MappingAt(touched, &mapping) || !mapping.readable) return false;
    mapping.begin = std::max(mapping.begin, touched & ~(kLendBytes - 1));
    mapping.end = std::min(mapping.end, (touched & ~(kLendBytes - 1)) + kLendBytes);
    m.Lend(mapping);
  }
  return true;
}

void Arm64Machine::Lend(const Mapping& mapping) {
  uc_mem_region* regions = nullptr;
  uint32_t count = 0;
  uc_mem_regions(uc_, &regions, &count);
  std::vector<std::pair<uint64_t, uint64_t>> taken;  // first byte, byte past
  for (uint32_t i = 0; i < count; ++i)
    if (regions[i].end >= mapping.begin && regions[i].begin < mapping.end)
      taken.emplace_back(regions[i].begin, regions[i].end + 1);
  uc_free(regions);
  std::sort(taken.begin(), taken.end());
  const uint32_t protection = UC_PROT_READ | (mapping.writable ? UC_PROT_WRITE : 0);
  const auto lend = [&](uint64_t from, uint64_t to) {
    if (from < to && uc_mem_map_ptr(uc_, from, to - from, protection, reinterpret_cast<void*>(from)) == UC_ERR_OK)
      lent_.emplace_back(from, to - from);
  };
  uint64_t from = mapping.begin;
  for (const auto& [begin, end] : taken) {
    lend(from, begin);
    from = std::max(from, end);
  }
  lend(from, mapping.end);
}

void Arm64Machine::ForgetLent() {
  for (const auto& [begin, bytes] : lent_) uc_mem_unmap(uc_, begin, bytes);
  lent_.clear();
}

void Arm64Machine::Fault(int error) {
  const uint64_t pc = Register(UC_ARM64_REG_PC);
  std::string what = uc_strerror(static_cast<uc_err>(error));
  if (error == UC_ERR_READ_UNMAPPED || error == UC_ERR_WRITE_UNMAPPED || error == UC_ERR_WRITE_PROT ||
      error == UC_ERR_READ_PROT) {
    char address[80];
    snprintf(address, sizeof address, " at 0x%llx, ", static_cast<unsigned long long>(fault_address_));
    what += address + std::string(DescribeFaultAddress(fault_address_));
  }
  const std::string where = image_ != nullptr ? image_->Describe(pc) : "";
  fprintf(stderr, "pixelhost: %s faulted: %s; pc 0x%llx%s%s\n", what_.c_str(), what.c_str(),
          static_cast<unsigned long long>(pc), where.empty() ? " (outside the image)" : ", ", where.c_str());
  fflush(stderr);
  signal(SIGSEGV, SIG_DFL);
  raise(SIGSEGV);
  abort();
}

void Arm64Machine::Abandon(const std::string& why) {
  const uint64_t caller = Register(UC_ARM64_REG_LR);
  const std::string where = image_ != nullptr ? image_->Describe(caller) : "";
  fprintf(stderr, "pixelhost: %s %s; called from 0x%llx%s%s\n", what_.c_str(), why.c_str(),
          static_cast<unsigned long long>(caller), where.empty() ? " (outside the image)" : ", ", where.c_str());
  fflush(stderr);
  abort();
}

}  // namespace refhost::arm64
