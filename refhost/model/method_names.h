// What a caller reads from the names of the plug-in's methods: the layout word, and the
// bytes a conversion reads from its source, which the caller of a Ptr method must supply
// (a Ptr carries no size).
#pragma once

#include <cstdint>
#include <string>

namespace refhost {

// "CopyRGBAtoMemoryblockQZV" gives "RGBA", "PtrRGBtoPictureQZV" "RGB", the gray methods
// "Gray"; a name of neither family gives "".
std::string LayoutWord(const std::string& method);

// The bytes from a source's start that the memory-to-picture method named `method` reads
// for these arguments; -1 when the arguments are refused before anything is read, INT64_MAX
// when the extent doesn't fit.
int64_t SourceBytesRead(const std::string& method, int64_t offset, int64_t width, int64_t height,
                        int64_t pixelByteSize);

}  // namespace refhost
