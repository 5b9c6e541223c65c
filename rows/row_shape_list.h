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
// around it). Levels below a processor's own are never chosen above it. The measurements
// behind the entries are in docs/performance.md.
//
// Any other processor, Intel among them: the widest kernels for every shape. AMD family 25
// (Zen 3; Zen 4, which runs AVX-512 as two 256-bit halves): AVX-512 only where it won. On
// both, the shapes that keep destination bytes never stream: they read every line they
// store, so streaming saves them no read.
//
// No include guard: each expansion includes the list again.

// Every byte made (ARGB copies, colour conversions).
PIXELBRIDGE_ROW_SHAPE(FourToFour, "four to four", kPatterns, Choice(kWidest, kStream), Choice(kAVX2, kStream))
// Alpha from a mask.
PIXELBRIDGE_ROW_SHAPE(FourToFourMasked, "four to four, alpha from a mask", kPatterns, Choice(kWidest, kStream),
                      Choice(kAVX2, kStream))
// Some destination bytes kept (XRGB, a channel every four bytes).
PIXELBRIDGE_ROW_SHAPE(FourToFourKeeping, "four to four, bytes kept", kPatterns, Choice(kWidest, kNoStream),
                      Choice(kAVX2, kNoStream))
// Packed (RGB copies).
PIXELBRIDGE_ROW_SHAPE(FourToThree, "four to three", kPatterns, Choice(kWidest, kStream), Choice(kAVX2, kStream))
// Packed with kept bytes (a channel every three bytes).
PIXELBRIDGE_ROW_SHAPE(FourToThreeKeeping, "four to three, bytes kept", kPatterns, Choice(kWidest, kNoStream),
                      Choice(kAVX2, kNoStream))
// A channel.
PIXELBRIDGE_ROW_SHAPE(FourToOne, "four to one (a channel)", kPatterns, Choice(kWidest, kStream), Choice(kAVX2, kStream))
// RGB sources.
PIXELBRIDGE_ROW_SHAPE(ThreeToFour, "three to four", kPatterns, Choice(kWidest, kStream), Choice(kAVX2, kStream))
// Gray samples one byte apart.
PIXELBRIDGE_ROW_SHAPE(OneToFour, "one to four (gray)", kPatterns, Choice(kWidest, kStream), Choice(kAVX2, kStream))
// The same through tables: byte permutes of the tables where the level has them, else one
// lookup a pixel in the pixel words.
PIXELBRIDGE_ROW_SHAPE(OneToFourTables, "one to four through tables", kMap, Choice(kWidest, kNoStream),
                      Choice(kAVX512, kNoStream))
// Gray samples at any other stride, one lookup a pixel in the pixel words; no vector code.
PIXELBRIDGE_ROW_SHAPE(GrayWords, "gray at a stride, through pixel words", kWords, Choice(kWidest, kNoStream),
                      Choice(kWidest, kNoStream))
// Anything else, by MapPixels (channels two or five and more bytes apart); no vector code.
PIXELBRIDGE_ROW_SHAPE(Plain, "plain", kMap, Choice(kWidest, kNoStream), Choice(kWidest, kNoStream))
