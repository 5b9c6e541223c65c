// The plug-in's allocation: the C library's.
#include "platform/allocation.h"

#include <cstdlib>

void* PlatformCalloc(size_t count, size_t size) { return calloc(count, size); }
