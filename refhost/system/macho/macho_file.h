// One slice of a Mach-O file as dyld sees it: the slice for a processor (from a universal
// file, or the file itself), its segments and sections, the libraries it loads, the fixups
// dyld applies (rebases, and binds of every kind from LC_DYLD_INFO), its exports and its
// symbols. Reading only: nothing here maps or runs anything.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "refhost/system/macho/macho_format.h"

namespace refhost::macho {

enum class Cpu : uint32_t { kX86_64 = format::CPU_TYPE_X86_64, kArm64 = format::CPU_TYPE_ARM64 };
const char* CpuName(Cpu cpu);

struct Segment {
  std::string name;
  uint64_t address = 0, size = 0, fileOffset = 0, fileSize = 0;
  uint32_t protection = 0;  // its initial protection: VM_PROT_READ, _WRITE, _EXECUTE
};

struct Section {
  std::string segment, name;
  uint64_t address = 0, size = 0;
  uint32_t type = 0;  // its flags' SECTION_TYPE bits: S_THREAD_LOCAL_REGULAR...
};

// A pointer dyld fills with a symbol's address: at `address` (unslid), from library `library`
// (1-based, in load order; 0 and below: the image itself, the main program or a flat lookup).
struct Bind {
  uint64_t address = 0;
  std::string symbol;
  int64_t addend = 0;
  int library = 0;
  bool weakImport = false;  // may stay null when no library has it
};

struct Symbol {
  uint64_t address = 0;  // unslid
  std::string name;
};

struct Slice {
  Cpu cpu = Cpu::kX86_64;
  uint64_t fileOffset = 0;  // where the slice starts in the file
  std::vector<uint8_t> bytes;
  std::vector<Segment> segments;  // in order: fixups name them by their index
  std::vector<Section> sections;
  std::vector<std::string> libraries;
  std::vector<uint64_t> rebases;            // unslid addresses of the pointers that move with the image
  std::vector<Bind> binds;                  // immediate and lazy ones alike: every one is bound at load
  std::map<std::string, uint64_t> exports;  // name to offset from the image's start
  std::vector<Symbol> symbols;              // the symbol table's definitions, by address

  uint64_t ImageStart() const;  // the lowest mapped segment's address (__PAGEZERO maps nothing)
  uint64_t ImageSize() const;   // from there to the end of the highest segment
  // "_Name+0x1c", the symbol at or before an unslid address ("" when none).
  std::string NearestSymbol(uint64_t address) const;
  // The file offset (from the slice's start) of an unslid address in a segment's file bytes;
  // none for an address that no segment's file bytes hold.
  std::optional<uint64_t> FileOffsetOf(uint64_t address) const;
};

// The slice for `cpu` of the Mach-O file `file` (universal or thin); false with what stands
// in the way in `error`: no such slice, a malformed command or opcode, or a kind of fixup the
// reader doesn't apply (chained fixups, threaded rebases).
bool ReadSlice(const std::vector<uint8_t>& file, Cpu cpu, Slice* slice, std::string* error);

}  // namespace refhost::macho
