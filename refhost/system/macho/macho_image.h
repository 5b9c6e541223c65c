// A Mach-O slice laid out in this process's memory as dyld would lay it out: its segments
// at one slide from their addresses, the pointers its rebases name moved by that slide, the
// pointers its binds name set to what this process serves for each import, and one block of
// thread-local variables (a process runs one thread of the plug-in) whose address each
// variable's descriptor holds in its key word.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "refhost/system/arm64/guest_image.h"
#include "refhost/system/macho/macho_file.h"

namespace refhost::macho {

class Image : public arm64::GuestImage {
 public:
  Image() = default;
  ~Image() override;

  // The address an import is bound to (0 for a weak import nothing serves), or false with
  // why it can't be served.
  using Binder = std::function<bool(const Bind& bind, uint64_t* address, std::string* error)>;

  // Maps `slice` (read and write, nothing run yet), rebases and binds it; false with the reason.
  bool Map(Slice slice, const Binder& binder, std::string* error);
  // Each segment as its protection says, to run the slice on this processor.
  void Protect() const;

  const Slice& slice() const { return slice_; }
  // The segments that map (all but __PAGEZERO).
  std::vector<Part> Parts() const override;
  std::string SymbolNear(uint64_t offset) const override;
  // The address of an export ("_REALPluginMain"), 0 when the slice has none.
  uint64_t Export(const std::string& name) const;

 private:
  // Whether `bytes` bytes at the unslid `address` lie in the image.
  bool InImage(uint64_t address, uint64_t bytes) const;
  bool PlaceThreadLocals(std::string* error);

  Slice slice_;
  uint8_t* thread_block_ = nullptr;
};

}  // namespace refhost::macho
