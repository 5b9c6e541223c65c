// A 64-bit ARM Windows DLL laid out in this process's memory as the Windows loader lays it
// out: at its preferred base when this process has nothing there, else elsewhere (on a 64 KiB
// boundary, as Windows allocates) with its base relocations applied; each import address
// table entry set to what this process serves for the import; and the blocks of the one
// thread that runs it: its thread environment block, whose ThreadLocalStoragePointer leads
// through the DLL's TLS slot to a copy of the DLL's thread-local template.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "refhost/system/arm64/guest_image.h"
#include "refhost/system/pe/pe_file.h"

namespace refhost::pe {

class Image : public arm64::GuestImage {
 public:
  Image() = default;
  ~Image() override;

  // The address an import is bound to, or false with why it can't be served.
  using Binder = std::function<bool(const Import& import, uint64_t* address, std::string* error)>;

  // Maps `file` (read and write, nothing run yet), relocates and binds it; false with the reason.
  bool Map(File file, const Binder& binder, std::string* error);
  // The thread's blocks, its stack between `stackLimit` and `stackBase`; false with the reason.
  bool PlaceThreadBlocks(uint64_t stackLimit, uint64_t stackBase, std::string* error);
  // The pages that hold them, which the guest reads and writes, and the block's address (x18).
  uint8_t* thread_pages() const { return thread_pages_; }
  uint64_t thread_bytes() const { return thread_bytes_; }
  uint64_t thread_environment_block() const { return reinterpret_cast<uint64_t>(thread_pages_); }

  const File& file() const { return file_; }
  // The sections, as their characteristics say.
  std::vector<Part> Parts() const override;
  std::string SymbolNear(uint64_t offset) const override;
  // The address of an export, 0 when the DLL has none of that name.
  uint64_t Export(const std::string& name) const;
  // The entry point (DllMain, after the C runtime's start-up), 0 when the DLL has none.
  uint64_t EntryPoint() const;
  // The TLS callbacks, in order, as the relocated image holds them.
  std::vector<uint64_t> TlsCallbacks() const;

 private:
  // The address of a virtual address of the file (as at ImageBase) once the image has moved,
  // or 0 when `bytes` bytes there don't lie in the image.
  uint64_t Moved(uint64_t address, uint64_t bytes) const;

  File file_;
  uint8_t* thread_pages_ = nullptr;
  uint64_t thread_bytes_ = 0;
};

}  // namespace refhost::pe
