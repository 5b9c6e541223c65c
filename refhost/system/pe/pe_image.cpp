// Mapping a DLL: one anonymous region for the whole image, the headers and each section's raw
// data copied in, then the base relocations and the import address table the Windows loader
// would write; the thread's blocks in pages of their own.
#include "refhost/system/pe/pe_image.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>

#include "refhost/system/system.h"

namespace refhost::pe {
namespace {

using os::RoundUp;

// Windows places images on its allocation granularity, and sections on whole pages.
constexpr uint64_t kAllocationGranularity = 0x10000, kPage = 0x1000;

// The thread environment block's fields the DLL reads (the 64-bit layout): the bounds of the
// thread's stack (the C runtime's start-up takes StackBase as the thread's identity), the
// block's own address, the thread's identifiers, the implicit-TLS array and the process
// environment block.
constexpr uint64_t kStackBase = 0x08, kStackLimit = 0x10, kSelf = 0x30, kUniqueProcess = 0x40, kUniqueThread = 0x48,
                   kThreadLocalStoragePointer = 0x58, kProcessEnvironmentBlock = 0x60;
// The thread's pages: its environment block, a zeroed process environment block, the TLS slot
// array (the DLL's slot is 0) and the DLL's block of thread-local variables.
constexpr uint64_t kTebBytes = 0x2000, kPebAt = kTebBytes, kSlotsAt = kPebAt + kPage, kTlsBlockAt = kSlotsAt + kPage;

void PutWord(uint8_t* at, uint64_t value) { memcpy(at, &value, sizeof value); }

// `bytes` at `preferred` when this process has nothing there, else anywhere on the allocation
// granularity; null when there is no room.
uint8_t* MapRegion(uint64_t preferred, uint64_t bytes) {
  const int flags = MAP_PRIVATE | MAP_ANONYMOUS;
  void* at =
      mmap(reinterpret_cast<void*>(preferred), bytes, PROT_READ | PROT_WRITE, flags | MAP_FIXED_NOREPLACE, -1, 0);
  if (at != MAP_FAILED && reinterpret_cast<uint64_t>(at) == preferred) return static_cast<uint8_t*>(at);
  if (at != MAP_FAILED) munmap(at, bytes);  // a kernel that takes the address as a hint
  // Room for the region on a boundary, then what lies outside it given back.
  at = mmap(nullptr, bytes + kAllocationGranularity, PROT_READ | PROT_WRITE, flags, -1, 0);
  if (at == MAP_FAILED) return nullptr;
  const uint64_t raw = reinterpret_cast<uint64_t>(at), start = RoundUp(raw, kAllocationGranularity);
  if (start > raw) munmap(at, start - raw);
  munmap(reinterpret_cast<void*>(start + bytes), raw + kAllocationGranularity - start);
  return reinterpret_cast<uint8_t*>(start);
}

}  // namespace

Image::~Image() {
  if (thread_pages_ != nullptr) os::UnmapPages(thread_pages_, thread_bytes_);
}

bool Image::Map(File file, const Binder& binder, std::string* error) {
  file_ = std::move(file);
  const IMAGE_OPTIONAL_HEADER64& optional = file_.optional;
  if (optional.SectionAlignment % kPage != 0) {
    *error = "sections aligned to " + std::to_string(optional.SectionAlignment) + " bytes, less than a page";
    return false;
  }
  if (optional.ImageBase % kAllocationGranularity != 0) {
    *error = "an image base that isn't a multiple of 64 KiB";
    return false;
  }
  const uint64_t imageBytes = RoundUp(optional.SizeOfImage, kPage);
  TakePages(MapRegion(optional.ImageBase, imageBytes), imageBytes);
  if (base() == nullptr) {
    *error = "no room for an image of " + std::to_string(imageBytes) + " bytes";
    return false;
  }
  // The reader has checked that the headers and each section's raw data lie in the file, and
  // each section in the image.
  memcpy(base(), file_.bytes.data(), std::min<uint64_t>({optional.SizeOfHeaders, file_.bytes.size(), size()}));
  for (const Section& section : file_.sections) {
    const IMAGE_SECTION_HEADER& header = section.header;
    const uint64_t bytes = std::min(header.SizeOfRawData, header.VirtualSize != 0 ? header.VirtualSize : UINT32_MAX);
    memcpy(base() + header.VirtualAddress, file_.bytes.data() + header.PointerToRawData, bytes);
  }
  const uint64_t delta = reinterpret_cast<uint64_t>(base()) - optional.ImageBase;
  for (const uint32_t rva : file_.relocations) {
    uint64_t word;
    memcpy(&word, base() + rva, sizeof word);
    PutWord(base() + rva, word + delta);
  }
  for (const Import& import : file_.imports) {
    uint64_t address = 0;
    if (!binder(import, &address, error)) return false;
    PutWord(base() + import.slot, address);
  }
  return true;
}

uint64_t Image::Moved(uint64_t address, uint64_t bytes) const {
  const uint64_t rva = address - file_.optional.ImageBase;
  return rva <= size() && bytes <= size() - rva ? reinterpret_cast<uint64_t>(base()) + rva : 0;
}

bool Image::PlaceThreadBlocks(uint64_t stackLimit, uint64_t stackBase, std::string* error) {
  uint64_t templateAt = 0, templateBytes = 0, indexAt = 0, blockBytes = 0;
  if (file_.tls) {
    const IMAGE_TLS_DIRECTORY64& tls = *file_.tls;
    templateBytes = tls.EndAddressOfRawData - tls.StartAddressOfRawData;
    templateAt = Moved(tls.StartAddressOfRawData, templateBytes);
    indexAt = Moved(tls.AddressOfIndex, sizeof(uint32_t));
    if (tls.EndAddressOfRawData < tls.StartAddressOfRawData || templateAt == 0 || indexAt == 0 ||
        (tls.AddressOfCallBacks != 0 && Moved(tls.AddressOfCallBacks, sizeof(uint64_t)) == 0)) {
      *error = "a TLS directory whose template, index or callbacks lie outside the image";
      return false;
    }
    blockBytes = templateBytes + tls.SizeOfZeroFill;
  }
  thread_bytes_ = RoundUp(kTlsBlockAt + blockBytes, kPage);
  uint8_t* pages = thread_pages_ = os::MapPages(thread_bytes_);
  if (pages == nullptr) {
    *error = "no room for the thread's blocks (" + std::to_string(thread_bytes_) + " bytes)";
    return false;
  }
  PutWord(pages + kStackBase, stackBase);
  PutWord(pages + kStackLimit, stackLimit);
  PutWord(pages + kSelf, reinterpret_cast<uint64_t>(pages));
  PutWord(pages + kUniqueProcess, 1);
  PutWord(pages + kUniqueThread, 1);
  PutWord(pages + kThreadLocalStoragePointer, reinterpret_cast<uint64_t>(pages + kSlotsAt));
  PutWord(pages + kProcessEnvironmentBlock, reinterpret_cast<uint64_t>(pages + kPebAt));
  if (file_.tls) {
    PutWord(pages + kSlotsAt, reinterpret_cast<uint64_t>(pages + kTlsBlockAt));
    memcpy(pages + kTlsBlockAt, reinterpret_cast<const void*>(templateAt), templateBytes);  // then the zero fill
    memset(reinterpret_cast<void*>(indexAt), 0, sizeof(uint32_t));                          // _tls_index: slot 0
  }
  return true;
}

std::vector<Image::Part> Image::Parts() const {
  std::vector<Part> parts;
  for (const Section& section : file_.sections) {
    const IMAGE_SECTION_HEADER& header = section.header;
    const uint32_t flags = header.Characteristics;
    const bool executable = (flags & IMAGE_SCN_MEM_EXECUTE) != 0;
    parts.push_back({header.VirtualAddress, std::max(header.VirtualSize, header.SizeOfRawData),
                     executable || (flags & IMAGE_SCN_MEM_READ) != 0, (flags & IMAGE_SCN_MEM_WRITE) != 0, executable});
  }
  return parts;
}

std::string Image::SymbolNear(uint64_t offset) const {
  return offset > UINT32_MAX ? "" : file_.NearestSymbol(static_cast<uint32_t>(offset)).value_or("");
}

uint64_t Image::Export(const std::string& name) const {
  const auto found = file_.exports.find(name);
  return found == file_.exports.end() ? 0 : reinterpret_cast<uint64_t>(base()) + found->second;
}

uint64_t Image::EntryPoint() const {
  const uint32_t rva = file_.optional.AddressOfEntryPoint;
  return rva == 0 ? 0 : reinterpret_cast<uint64_t>(base()) + rva;
}

std::vector<uint64_t> Image::TlsCallbacks() const {
  std::vector<uint64_t> callbacks;
  if (!file_.tls || file_.tls->AddressOfCallBacks == 0) return callbacks;
  // The array's entries are addresses the relocations have moved already; it ends with a null.
  for (uint64_t at = Moved(file_.tls->AddressOfCallBacks, sizeof(uint64_t));
       at != 0 && Contains(at + sizeof(uint64_t) - 1); at += sizeof(uint64_t)) {
    uint64_t callback;
    memcpy(&callback, reinterpret_cast<const void*>(at), sizeof callback);
    if (callback == 0) break;
    callbacks.push_back(callback);
  }
  return callbacks;
}

}  // namespace refhost::pe
