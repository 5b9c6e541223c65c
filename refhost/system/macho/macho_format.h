// The parts of the Mach-O format the runner reads, named as the format names them: the
// headers, the load commands and their records, dyld's rebase and bind opcodes, the exports
// trie's flags, the symbol table's entries and the thread-local variables' descriptors. Files
// of 64-bit processors alone, whose fields are little-endian (the universal header's are
// big-endian), laid out here with natural alignment as the format lays them out.
#pragma once

#include <cstdint>

namespace refhost::macho::format {

// The universal ("fat") file: its header, then one entry a slice.
constexpr uint32_t FAT_MAGIC = 0xCAFEBABE;
struct fat_header {
  uint32_t magic, nfat_arch;
};
struct fat_arch {
  uint32_t cputype, cpusubtype, offset, size, align;
};

constexpr uint32_t CPU_ARCH_ABI64 = 0x01000000;
constexpr uint32_t CPU_TYPE_X86_64 = CPU_ARCH_ABI64 | 7, CPU_TYPE_ARM64 = CPU_ARCH_ABI64 | 12;

// A slice: its header, then its load commands, each starting with its kind and size.
constexpr uint32_t MH_MAGIC_64 = 0xFEEDFACF;
struct mach_header_64 {
  uint32_t magic, cputype, cpusubtype, filetype, ncmds, sizeofcmds, flags, reserved;
};
struct load_command {
  uint32_t cmd, cmdsize;
};

// Commands that an older dyld must refuse to load a file without understanding.
constexpr uint32_t LC_REQ_DYLD = 0x80000000;
constexpr uint32_t LC_SYMTAB = 0x2;
constexpr uint32_t LC_LOAD_DYLIB = 0xC;
constexpr uint32_t LC_LOAD_WEAK_DYLIB = 0x18 | LC_REQ_DYLD;
constexpr uint32_t LC_SEGMENT_64 = 0x19;
constexpr uint32_t LC_REEXPORT_DYLIB = 0x1F | LC_REQ_DYLD;
constexpr uint32_t LC_LAZY_LOAD_DYLIB = 0x20;
constexpr uint32_t LC_DYLD_INFO = 0x22;
constexpr uint32_t LC_DYLD_INFO_ONLY = 0x22 | LC_REQ_DYLD;
constexpr uint32_t LC_LOAD_UPWARD_DYLIB = 0x23 | LC_REQ_DYLD;
constexpr uint32_t LC_DYLD_EXPORTS_TRIE = 0x33 | LC_REQ_DYLD;
constexpr uint32_t LC_DYLD_CHAINED_FIXUPS = 0x34 | LC_REQ_DYLD;

// LC_SEGMENT_64, followed by its sections.
struct segment_command_64 {
  uint32_t cmd, cmdsize;
  char segname[16];
  uint64_t vmaddr, vmsize, fileoff, filesize;
  int32_t maxprot, initprot;
  uint32_t nsects, flags;
};
struct section_64 {
  char sectname[16], segname[16];
  uint64_t addr, size;
  uint32_t offset, align, reloff, nreloc, flags, reserved1, reserved2, reserved3;
};
constexpr int32_t VM_PROT_READ = 1, VM_PROT_WRITE = 2, VM_PROT_EXECUTE = 4;
// The low byte of a section's flags: its type.
constexpr uint32_t SECTION_TYPE = 0xFF;
constexpr uint32_t S_THREAD_LOCAL_REGULAR = 0x11;    // thread-local variables' initial values
constexpr uint32_t S_THREAD_LOCAL_ZEROFILL = 0x12;   // thread-local variables that start as zero
constexpr uint32_t S_THREAD_LOCAL_VARIABLES = 0x13;  // their descriptors

// A thread-local variable's descriptor: dyld points `thunk` at a function that takes the
// descriptor and answers the variable's address, and keeps in `key` what finds the thread's
// block, where the variable lies `offset` bytes in.
struct tlv_descriptor {
  uint64_t thunk, key, offset;
};

// The libraries a slice loads (LC_LOAD_DYLIB and its kin), the name `name.offset` bytes
// into the command.
struct lc_str {
  uint32_t offset;
};
struct dylib {
  lc_str name;
  uint32_t timestamp, current_version, compatibility_version;
};
struct dylib_command {
  uint32_t cmd, cmdsize;
  struct dylib dylib;
};

// LC_SYMTAB: the symbol table and its strings.
struct symtab_command {
  uint32_t cmd, cmdsize, symoff, nsyms, stroff, strsize;
};
struct nlist_64 {
  uint32_t n_strx;
  uint8_t n_type, n_sect;
  uint16_t n_desc;
  uint64_t n_value;
};
constexpr uint8_t N_STAB = 0xE0;  // any of these bits: a debugging entry
constexpr uint8_t N_TYPE = 0x0E;  // the bits that say where the symbol is defined
constexpr uint8_t N_SECT = 0x0E;  // in a section of the slice

// LC_DYLD_INFO(_ONLY): the opcode tables dyld runs, and the exports trie.
struct dyld_info_command {
  uint32_t cmd, cmdsize;
  uint32_t rebase_off, rebase_size, bind_off, bind_size, weak_bind_off, weak_bind_size, lazy_bind_off, lazy_bind_size,
      export_off, export_size;
};
// LC_DYLD_EXPORTS_TRIE and other tables of the __LINKEDIT segment.
struct linkedit_data_command {
  uint32_t cmd, cmdsize, dataoff, datasize;
};

// Rebase opcodes: the high nibble of a byte, the low one their immediate.
constexpr uint8_t REBASE_OPCODE_MASK = 0xF0, REBASE_IMMEDIATE_MASK = 0x0F;
constexpr uint8_t REBASE_TYPE_POINTER = 1;
constexpr uint8_t REBASE_OPCODE_DONE = 0x00;
constexpr uint8_t REBASE_OPCODE_SET_TYPE_IMM = 0x10;
constexpr uint8_t REBASE_OPCODE_SET_SEGMENT_AND_OFFSET_ULEB = 0x20;
constexpr uint8_t REBASE_OPCODE_ADD_ADDR_ULEB = 0x30;
constexpr uint8_t REBASE_OPCODE_ADD_ADDR_IMM_SCALED = 0x40;
constexpr uint8_t REBASE_OPCODE_DO_REBASE_IMM_TIMES = 0x50;
constexpr uint8_t REBASE_OPCODE_DO_REBASE_ULEB_TIMES = 0x60;
constexpr uint8_t REBASE_OPCODE_DO_REBASE_ADD_ADDR_ULEB = 0x70;
constexpr uint8_t REBASE_OPCODE_DO_REBASE_ULEB_TIMES_SKIPPING_ULEB = 0x80;

// Bind opcodes, laid out as the rebase ones.
constexpr uint8_t BIND_OPCODE_MASK = 0xF0, BIND_IMMEDIATE_MASK = 0x0F;
constexpr uint8_t BIND_TYPE_POINTER = 1;
constexpr uint8_t BIND_SYMBOL_FLAGS_WEAK_IMPORT = 0x1;
constexpr uint8_t BIND_OPCODE_DONE = 0x00;
constexpr uint8_t BIND_OPCODE_SET_DYLIB_ORDINAL_IMM = 0x10;
constexpr uint8_t BIND_OPCODE_SET_DYLIB_ORDINAL_ULEB = 0x20;
constexpr uint8_t BIND_OPCODE_SET_DYLIB_SPECIAL_IMM = 0x30;
constexpr uint8_t BIND_OPCODE_SET_SYMBOL_TRAILING_FLAGS_IMM = 0x40;
constexpr uint8_t BIND_OPCODE_SET_TYPE_IMM = 0x50;
constexpr uint8_t BIND_OPCODE_SET_ADDEND_SLEB = 0x60;
constexpr uint8_t BIND_OPCODE_SET_SEGMENT_AND_OFFSET_ULEB = 0x70;
constexpr uint8_t BIND_OPCODE_ADD_ADDR_ULEB = 0x80;
constexpr uint8_t BIND_OPCODE_DO_BIND = 0x90;
constexpr uint8_t BIND_OPCODE_DO_BIND_ADD_ADDR_ULEB = 0xA0;
constexpr uint8_t BIND_OPCODE_DO_BIND_ADD_ADDR_IMM_SCALED = 0xB0;
constexpr uint8_t BIND_OPCODE_DO_BIND_ULEB_TIMES_SKIPPING_ULEB = 0xC0;
constexpr uint8_t BIND_OPCODE_THREADED = 0xD0;

// An exports trie node's flags.
constexpr uint64_t EXPORT_SYMBOL_FLAGS_REEXPORT = 0x08;

}  // namespace refhost::macho::format
