// How the demo reads a registered declaration: the way the method converts, the layout word
// of its name, and the parameters that tell its overloads apart.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "refhost/model/host.h"

namespace pixelhost {

constexpr int32_t kStride = 2;  // the PixelByteSize the demo gives channels and gray samples

struct MethodShape {
  const refhost::RegisteredMethod* method = nullptr;
  bool toMemory = false;            // a Copy…toMemoryblockQZV method of "Picture"
  bool fromPtr = false;             // a Ptr…toPictureQZV method
  std::string layout;               // the name's layout word: "ARGB", "R", "Gray" …
  std::vector<std::string> extras;  // parameter keys beyond those of the whole family

  bool Has(const std::string& key) const;
  // One pixel in memory as the demo calls the method: R, G, B, A (alpha) or X (a byte left alone).
  std::string Bytes() const;
  // "CopyARGBtoMemoryblockQZV [MaskForAlpha]"
  std::string Label() const;
  // "07-CopyARGBtoMemoryblockQZV-MaskForAlpha.png"
  std::string FileName(int number) const;
};

// Null for a name outside the two families.
std::optional<MethodShape> ShapeOf(const refhost::RegisteredMethod& method);

}  // namespace pixelhost
