// Mapping a slice: one anonymous region for the whole image, the segments' file bytes copied
// in, then the rebases and binds dyld would apply.
#include "refhost/system/macho/macho_image.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "refhost/system/system.h"

namespace refhost::macho {
namespace {

// Apple silicon's page, 16 KiB, to which both slices' segments are aligned.
constexpr uint64_t kAppleSiliconPage = 0x4000;

using namespace format;  // NOLINT: the format's own names
using os::RoundUp;

}  // namespace

Image::~Image() { free(thread_block_); }

bool Image::Map(Slice slice, const Binder& binder, std::string* error) {
  slice_ = std::move(slice);
  const uint64_t start = slice_.ImageStart();
  const uint64_t imageBytes = RoundUp(slice_.ImageSize(), kAppleSiliconPage);
  TakePages(os::MapPages(imageBytes), imageBytes);
  if (base() == nullptr) {
    *error = "no room for an image of " + std::to_string(imageBytes) + " bytes";
    return false;
  }
  for (const Segment& segment : slice_.segments) {
    if (segment.protection == 0 || segment.fileSize == 0) continue;
    if (!InImage(segment.address, segment.fileSize) || segment.fileOffset > slice_.bytes.size() ||
        segment.fileSize > slice_.bytes.size() - segment.fileOffset) {
      *error = "segment " + segment.name + " lies outside the image or the file";
      return false;
    }
    memcpy(base() + (segment.address - start), slice_.bytes.data() + segment.fileOffset, segment.fileSize);
  }
  const uint64_t slide = reinterpret_cast<uint64_t>(base()) - start;
  for (uint64_t address : slice_.rebases) {
    if (!InImage(address, 8)) {
      *error = "a rebase outside the image";
      return false;
    }
    uint64_t pointer;
    memcpy(&pointer, base() + (address - start), 8);
    pointer += slide;
    memcpy(base() + (address - start), &pointer, 8);
  }
  for (const Bind& bind : slice_.binds) {
    uint64_t target = 0;
    const auto own = slice_.exports.find(bind.symbol);
    if (bind.library <= 0 && own != slice_.exports.end()) target = reinterpret_cast<uint64_t>(base()) + own->second;
    else if (!binder(bind, &target, error)) return false;
    if (!InImage(bind.address, 8)) {
      *error = "the bind of " + bind.symbol + " lies outside the image";
      return false;
    }
    target += static_cast<uint64_t>(bind.addend);
    memcpy(base() + (bind.address - start), &target, 8);
  }
  return PlaceThreadLocals(error);
}

bool Image::InImage(uint64_t address, uint64_t bytes) const {
  const uint64_t start = slice_.ImageStart();
  return address >= start && address - start <= size() && bytes <= size() - (address - start);
}

void Image::Protect() const {
  for (const Part& part : Parts()) {
    const int protection =
        (part.readable ? PROT_READ : 0) | (part.writable ? PROT_WRITE : 0) | (part.executable ? PROT_EXEC : 0);
    mprotect(base() + part.offset, RoundUp(part.bytes, kAppleSiliconPage), protection);
  }
}

std::vector<Image::Part> Image::Parts() const {
  std::vector<Part> parts;
  for (const Segment& segment : slice_.segments) {
    if (segment.protection == 0) continue;
    parts.push_back({segment.address - slice_.ImageStart(), segment.size, (segment.protection & VM_PROT_READ) != 0,
                     (segment.protection & VM_PROT_WRITE) != 0, (segment.protection & VM_PROT_EXECUTE) != 0});
  }
  return parts;
}

std::string Image::SymbolNear(uint64_t offset) const { return slice_.NearestSymbol(slice_.ImageStart() + offset); }

uint64_t Image::Export(const std::string& name) const {
  const auto found = slice_.exports.find(name);
  return found == slice_.exports.end() ? 0 : reinterpret_cast<uint64_t>(base()) + found->second;
}

// The block: the template sections' initial values, then zeroes; each descriptor gets the
// block's address in its key.
bool Image::PlaceThreadLocals(std::string* error) {
  uint64_t low = UINT64_MAX, high = 0;
  for (const Section& section : slice_.sections) {
    const uint32_t type = section.type;
    if (type != S_THREAD_LOCAL_REGULAR && type != S_THREAD_LOCAL_ZEROFILL && type != S_THREAD_LOCAL_VARIABLES) continue;
    if (!InImage(section.address, section.size)) {
      *error = "thread-local section " + section.name + " lies outside the image";
      return false;
    }
    if (type == S_THREAD_LOCAL_VARIABLES) continue;
    low = std::min(low, section.address);
    high = std::max(high, section.address + section.size);
  }
  if (high <= low) return true;
  uint8_t* block = thread_block_ = static_cast<uint8_t*>(calloc(1, high - low));
  if (block == nullptr) {
    *error = "no room for a block of thread-local variables of " + std::to_string(high - low) + " bytes";
    return false;
  }
  const uint64_t start = slice_.ImageStart();
  for (const Section& section : slice_.sections) {
    if (section.type == S_THREAD_LOCAL_REGULAR)
      memcpy(block + (section.address - low), base() + (section.address - start), section.size);
    if (section.type != S_THREAD_LOCAL_VARIABLES) continue;
    for (uint64_t at = section.address; at + sizeof(tlv_descriptor) <= section.address + section.size;
         at += sizeof(tlv_descriptor)) {
      const auto key = reinterpret_cast<uint64_t>(block);
      memcpy(base() + (at - start) + offsetof(tlv_descriptor, key), &key, sizeof key);
    }
  }
  return true;
}

}  // namespace refhost::macho
