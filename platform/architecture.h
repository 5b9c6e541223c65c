// The processor family a file is compiled for, 1 or 0: the x86 kernels and processor
// detection on 32- and 64-bit Intel and AMD processors, the NEON ones on 32- and 64-bit ARM.
// A universal macOS build compiles every file once for each. Tested with #if (rows/ builds
// with -Wundef, so a file that uses them without this header fails to build).
#pragma once

#if defined(__i386__) || defined(__x86_64__)
#define PIXELBRIDGE_X86 1
#else
#define PIXELBRIDGE_X86 0
#endif

#if defined(__aarch64__) || defined(__arm__)
#define PIXELBRIDGE_ARM 1
#else
#define PIXELBRIDGE_ARM 0
#endif
