// What a machine needs of the image it runs, whatever the file it came from: where the image
// lies in this process, its parts with their protection, and the symbol nearest an address in
// it, for fault reports. Each runner's image implements it, and hands it the pages it mapped
// the image into, which the image owns.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "refhost/system/system.h"

namespace refhost::arm64 {

class GuestImage {
 public:
  // A part of the image (a segment, a section): `offset` bytes from the image's start.
  struct Part {
    uint64_t offset = 0, bytes = 0;
    bool readable = false, writable = false, executable = false;
  };

  GuestImage() = default;
  virtual ~GuestImage() {
    if (base_ != nullptr) os::UnmapPages(base_, size_);
  }
  GuestImage(const GuestImage&) = delete;
  GuestImage& operator=(const GuestImage&) = delete;

  uint8_t* base() const { return base_; }
  uint64_t size() const { return size_; }  // whole pages
  // The parts to map, in order; the rest of the image maps read-only.
  virtual std::vector<Part> Parts() const = 0;
  // "_Name+0x1c", the symbol at or before `offset` from the image's start ("" when none).
  virtual std::string SymbolNear(uint64_t offset) const = 0;

  bool Contains(uint64_t address) const { return address - reinterpret_cast<uint64_t>(base()) < size(); }
  // "offset 0x1234 in the image, in _Name+0x10" for an address in it; "" elsewhere.
  std::string Describe(uint64_t address) const {
    if (!Contains(address)) return "";
    const uint64_t offset = address - reinterpret_cast<uint64_t>(base());
    char text[40];
    snprintf(text, sizeof text, "offset 0x%llx in the image", static_cast<unsigned long long>(offset));
    const std::string symbol = SymbolNear(offset);
    return text + (symbol.empty() ? "" : ", in " + symbol);
  }

 protected:
  // The pages a runner mapped the image into, from now on the image's: null, or whole pages.
  void TakePages(uint8_t* base, uint64_t size) {
    base_ = base;
    size_ = size;
  }

 private:
  uint8_t* base_ = nullptr;
  uint64_t size_ = 0;
};

}  // namespace refhost::arm64
