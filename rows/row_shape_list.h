// The shapes of map that row kernels are written for, one record each. The Shape enum, the
// names, what a call prepares for a shape's kernels and the kernel table are made from this
// list; each level names its kernel per shape in a switch over every shape (x86_kernels-inl.h,
// row_kernels_neon.cpp), so that a shape left out there fails the build. Their order is free.
//
// PIXELBRIDGE_ROW_SHAPE(Name, "for people", what its kernels read, its entry on any other
//                       processor, its entry on AMD family 25)
//
// What the shape's own kernels read: the map alone (kMap), the map and its pixel words
// (kWords), or the map and its shuffle patterns (kPatterns). The row converter makes ready
// that and no more, and the kernel tests run every kernel on it, so a record that says too
// little fails them. Where a level has none of its own for a shape, it runs one every level
// shares, which reads what it needs. A processor family's entry: Choice(the widest level
// the shape may run at, whether calls that move more than the last-level cache holds store
// around it). Levels below a processor's own are never chosen above it. The figures behind
// the entries stand here and nowhere else (the README points here).
//
// Any other processor, Intel among them: the widest kernels for every shape. Measured on a
// Xeon of family 6 model 167 with AVX-512 the same way as below (6 pairs, 9 rounds), AVX-512
// never lost: at 1920 × 1080 AVX-512 and AVX2 are within the noise (0.97 to 1.03) but for the
// gray tint and tables, where AVX2 takes 1.08 to 1.11 × the time; at 320 × 240, in the
// caches, AVX2 takes 1.05 to 1.10 × for masks, kept pad bytes and channels and 1.29 to 1.31 ×
// for the gray tint and tables. Other processors are unmeasured.
// Kernels that keep destination bytes read every line they store, so streaming saves them no
// read: the pad-keeping copies came out at 1.08 to 1.21 × memcpy on 4096 × 2160 streamed,
// against 0.86 to 1.08 stored the ordinary way (Zen 3, AVX2). Gray through tables or words
// and the plain row have no streaming kernels.
//
// AMD family 25 (Zen 3; Zen 4, with AVX-512 run as two 256-bit halves, where a 64-byte store
// to an address that isn't a multiple of 64 writes two cache lines every time). Measured on an
// EPYC of family 25 model 17 (Zen 4) with `pixelbench --size 1920x1080 --rounds 9`, the
// chosen level and `--simd 2` alternating, 8 pairs on a quiet machine: beside each shape, the
// AVX-512 median over the AVX2 one, and in how many pairs AVX-512 was the slower (AVX2 against
// itself gives 0.94 to 1.06: that is the noise). AVX-512 runs only where it wins; Zen 3 has
// no AVX-512 and runs AVX2 throughout. Streaming as on any other processor.
//
// Stores aligned to the 64-byte vector (each row's head peeled up to the boundary) changed
// nothing on the Xeon (0.98 to 1.02 × the unaligned time for every method, with the block's
// pixels 0 and 4 bytes past a 64-byte boundary, 6 pairs at 1920 × 1080) and made AVX-512 win
// nowhere on Zen 4 (AVX2, AVX-512 and AVX-512 aligned alternating, 8 triples at 1920 × 1080):
// four-byte copies went from 1.03 to 1.10 × the AVX2 time to 1.00 to 1.04, mask copies from
// 1.01 to 1.09 to 0.97 to 1.06, and the other shapes stayed where they were (kept pad bytes
// 1.05 to 1.07, BGR and RGB copies 1.04, channels 1.06 to 1.08, BGR and RGB sources 1.07 to
// 1.11); at 320 × 240 every shape but the table lookups was within the noise either way, and
// the table lookups took 0.46 to 0.50 × the AVX2 time aligned or not. The 64-byte kernels
// have none.
//
// No include guard: each expansion includes the list again.

// Every byte made (ARGB copies, colour conversions). AMD: 0.95 to 1.07, slower in 3/8 to 6/8.
PIXELBRIDGE_ROW_SHAPE(FourToFour, "four to four", kPatterns, Choice(kWidest, kStream), Choice(kAVX2, kStream))
// Alpha from a mask. AMD: 1.01 to 1.09, slower in 4/8 to 6/8.
PIXELBRIDGE_ROW_SHAPE(FourToFourMasked, "four to four, alpha from a mask", kPatterns, Choice(kWidest, kStream),
                      Choice(kAVX2, kStream))
// Some destination bytes kept (XRGB, a channel every four bytes). AMD, XRGB and RGBX: 1.06
// and 1.16, slower in 7/8 and 6/8.
PIXELBRIDGE_ROW_SHAPE(FourToFourKeeping, "four to four, bytes kept", kPatterns, Choice(kWidest, kNoStream),
                      Choice(kAVX2, kNoStream))
// Packed (RGB copies). AMD, BGR and RGB: 1.09 and 1.11, slower in 8/8 and 7/8.
PIXELBRIDGE_ROW_SHAPE(FourToThree, "four to three", kPatterns, Choice(kWidest, kStream), Choice(kAVX2, kStream))
// Packed with kept bytes (a channel every three bytes). AMD: the packing and keeping loops
// of the two shapes above.
PIXELBRIDGE_ROW_SHAPE(FourToThreeKeeping, "four to three, bytes kept", kPatterns, Choice(kWidest, kNoStream),
                      Choice(kAVX2, kNoStream))
// A channel. AMD, R, G and B: 1.11, 1.08 and 1.09, slower in 7/8 each.
PIXELBRIDGE_ROW_SHAPE(FourToOne, "four to one (a channel)", kPatterns, Choice(kWidest, kStream), Choice(kAVX2, kStream))
// RGB sources. AMD, BGR and RGB: within 0.95 to 1.07.
PIXELBRIDGE_ROW_SHAPE(ThreeToFour, "three to four", kPatterns, Choice(kWidest, kStream), Choice(kAVX2, kStream))
// Gray samples one byte apart. AMD, from a Ptr: 1.33, slower in 6/8.
PIXELBRIDGE_ROW_SHAPE(OneToFour, "one to four (gray)", kPatterns, Choice(kWidest, kStream), Choice(kAVX2, kStream))
// The same through tables: byte permutes of the tables where the level has them, else one
// lookup a pixel in the pixel words. AMD, the gray tint and tables: 0.48 to 0.61, slower in
// 0/8 to 2/8.
PIXELBRIDGE_ROW_SHAPE(OneToFourTables, "one to four through tables", kMap, Choice(kWidest, kNoStream),
                      Choice(kAVX512, kNoStream))
// Gray samples at any other stride, one lookup a pixel in the pixel words; no vector code.
PIXELBRIDGE_ROW_SHAPE(GrayWords, "gray at a stride, through pixel words", kWords, Choice(kWidest, kNoStream),
                      Choice(kWidest, kNoStream))
// Anything else, by MapPixels (channels two or five and more bytes apart); no vector code.
PIXELBRIDGE_ROW_SHAPE(Plain, "plain", kMap, Choice(kWidest, kNoStream), Choice(kWidest, kNoStream))
