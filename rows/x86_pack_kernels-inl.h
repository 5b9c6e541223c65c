// Packing and gray kernels for 16- and 32-byte vectors, whose shuffles stay within 16-byte
// lanes, storing ordinarily or around the caches. Part of the row kernels' source: included
// by x86_kernels-inl.h inside its unit's anonymous namespace, after the vector shims.

#if PIXELBRIDGE_VECTOR_BYTES == 32
PIXELBRIDGE_KERNEL inline __m256i Permute8(__m256i v, int a, int b, int c, int d, int e, int f, int g, int h) {
  return _mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(a, b, c, d, e, f, g, h));
}

// Bytes `at` to `at` + 31 of a pattern that repeats every 48 bytes (16 packed pixels).
PIXELBRIDGE_KERNEL inline Vec Repeat48(const uint8_t* pattern, int at) {
  return _mm256_set_m128i(Load16(pattern + (at + 16) % 48), Load16(pattern + at % 48));
}

// Thirty-two pixels a step: each input vector shuffled to twelve bytes a lane (dwords 0 to 2
// and 4 to 6), then dword permutes and blends lay the four runs of 24 bytes into three
// stores. Gives the pixels done.
template <bool kKeeping, bool kStream>
PIXELBRIDGE_KERNEL inline int32_t PackSteps(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const Vec shuffle = Pattern(p.shuffle);
  const Vec fills[3] = {Repeat48(p.wideFill, 0), Repeat48(p.wideFill, 32), Repeat48(p.wideFill, 64)};
  const Vec keeps[3] = {Repeat48(p.wideKeep, 0), Repeat48(p.wideKeep, 32), Repeat48(p.wideKeep, 64)};
  int32_t x = 0;
  for (; x + 32 <= pixels; x += 32) {
    const uint8_t* s = src + 4 * x;
    uint8_t* d = dst + 3 * x;
    Vec in[4];
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) in[k] = Shuffle(Load(s + 32 * k), shuffle);
    Vec out[3] = {
        _mm256_blend_epi32(Permute8(in[0], 0, 1, 2, 4, 5, 6, 0, 0), Permute8(in[1], 0, 0, 0, 0, 0, 0, 0, 1), 0xC0),
        _mm256_blend_epi32(Permute8(in[1], 2, 4, 5, 6, 0, 0, 0, 0), Permute8(in[2], 0, 0, 0, 0, 0, 1, 2, 4), 0xF0),
        _mm256_blend_epi32(Permute8(in[2], 5, 6, 0, 0, 0, 0, 0, 0), Permute8(in[3], 0, 0, 0, 1, 2, 4, 5, 6), 0xFC)};
#pragma GCC unroll 3
    for (int k = 0; k < 3; ++k) {
      out[k] = Or(out[k], fills[k]);
      if (kKeeping) out[k] = Or(out[k], And(Load(d + 32 * k), keeps[k]));
      Put<kStream>(d + 32 * k, out[k]);
    }
  }
  return x;
}

// Thirty-two pixels a step: each run of 24 input bytes spread to twelve bytes a lane by a
// dword permute, then shuffled into eight pixels. No load reaches past the step's 96 bytes.
template <bool kStream>
PIXELBRIDGE_KERNEL inline int32_t UnpackSteps(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const Vec shuffle = Pattern(p.shuffle), fill = Pattern(p.fill);
  int32_t x = 0;
  for (; x + 32 <= pixels; x += 32) {
    const uint8_t* s = src + 3 * x;
    uint8_t* d = dst + 4 * x;
    const Vec runs[4] = {Permute8(Load(s), 0, 1, 2, 0, 3, 4, 5, 0), Permute8(Load(s + 24), 0, 1, 2, 0, 3, 4, 5, 0),
                         Permute8(Load(s + 48), 0, 1, 2, 0, 3, 4, 5, 0),
                         Permute8(Load(s + 64), 2, 3, 4, 0, 5, 6, 7, 0)};
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) Put<kStream>(d + 32 * k, Or(Shuffle(runs[k], shuffle), fill));
  }
  return x;
}
#else
template <bool kKeeping, bool kStream>
PIXELBRIDGE_KERNEL inline int32_t PackSteps(const uint8_t*, uint8_t*, int32_t, const RowPatterns&) {
  return 0;
}
template <bool kStream>
PIXELBRIDGE_KERNEL inline int32_t UnpackSteps(const uint8_t*, uint8_t*, int32_t, const RowPatterns&) {
  return 0;
}
#endif

// Sixteen pixels a step: four shuffled blocks of twelve bytes spliced into three stores.
template <bool kKeeping, bool kStream>
PIXELBRIDGE_KERNEL inline void Pack(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const __m128i shuffle = Load16(p.shuffle);
  // Held in registers, and the loop over stores unrolled: the destination could alias them.
  __m128i fills[3], keeps[3];
  for (int k = 0; k < 3; ++k) fills[k] = Load16(p.wideFill + 16 * k), keeps[k] = Load16(p.wideKeep + 16 * k);
  int32_t x = PackSteps<kKeeping, kStream>(src, dst, pixels, p);
  for (; x + 16 <= pixels; x += 16) {
    const uint8_t* s = src + 4 * x;
    uint8_t* d = dst + 3 * x;
    const __m128i a = _mm_shuffle_epi8(Load16(s), shuffle);
    const __m128i b = _mm_shuffle_epi8(Load16(s + 16), shuffle);
    const __m128i c = _mm_shuffle_epi8(Load16(s + 32), shuffle);
    const __m128i e = _mm_shuffle_epi8(Load16(s + 48), shuffle);
    __m128i out[3] = {_mm_or_si128(a, _mm_slli_si128(b, 12)), _mm_or_si128(_mm_srli_si128(b, 4), _mm_slli_si128(c, 8)),
                      _mm_or_si128(_mm_srli_si128(c, 8), _mm_slli_si128(e, 4))};
#pragma GCC unroll 3
    for (int k = 0; k < 3; ++k) {
      out[k] = _mm_or_si128(out[k], fills[k]);
      if (kKeeping) out[k] = _mm_or_si128(out[k], _mm_and_si128(Load16(d + 16 * k), keeps[k]));
      Put16<kStream>(d + 16 * k, out[k]);
    }
  }
  MapPixels(src + 4 * x, nullptr, dst + 3 * x, pixels - x, p.map);
}

template <bool kKeeping, Stores kStores>
PIXELBRIDGE_ROW_ENTRY void FourToThree(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t pixels,
                                       const RowPatterns& p) {
  RunRow<3, kStores>(dst, pixels, [&](auto stream, int32_t first, int32_t count) PIXELBRIDGE_KERNEL {
    Pack<kKeeping, decltype(stream)::value>(src + 4 * first, dst + 3 * first, count, p);
  });
}

// Sixteen pixels a step from 48 bytes, realigned so that each block of four starts a lane.
template <bool kStream>
PIXELBRIDGE_KERNEL inline void Unpack(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const __m128i shuffle = Load16(p.shuffle), fill = Load16(p.fill);
  int32_t x = UnpackSteps<kStream>(src, dst, pixels, p);
  for (; x + 16 <= pixels; x += 16) {
    const uint8_t* s = src + 3 * x;
    uint8_t* d = dst + 4 * x;
    const __m128i in0 = Load16(s), in1 = Load16(s + 16), in2 = Load16(s + 32);
    Put16<kStream>(d, _mm_or_si128(_mm_shuffle_epi8(in0, shuffle), fill));
    Put16<kStream>(d + 16, _mm_or_si128(_mm_shuffle_epi8(_mm_alignr_epi8(in1, in0, 12), shuffle), fill));
    Put16<kStream>(d + 32, _mm_or_si128(_mm_shuffle_epi8(_mm_alignr_epi8(in2, in1, 8), shuffle), fill));
    Put16<kStream>(d + 48, _mm_or_si128(_mm_shuffle_epi8(_mm_srli_si128(in2, 4), shuffle), fill));
  }
  MapPixels(src + 3 * x, nullptr, dst + 4 * x, pixels - x, p.map);
}

template <Stores kStores>
PIXELBRIDGE_ROW_ENTRY void ThreeToFour(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t pixels,
                                       const RowPatterns& p) {
  RunRow<4, kStores>(dst, pixels, [&](auto stream, int32_t first, int32_t count) PIXELBRIDGE_KERNEL {
    Unpack<decltype(stream)::value>(src + 3 * first, dst + 4 * first, count, p);
  });
}

// Sixteen samples a step, four to each block of output pixels.
template <bool kStream>
PIXELBRIDGE_KERNEL inline void Spread(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const __m128i shuffle = Load16(p.shuffle), fill = Load16(p.fill);
  int32_t x = 0;
  for (; x + 16 <= pixels; x += 16) {
    const __m128i in = Load16(src + x);
    uint8_t* d = dst + 4 * x;
    Put16<kStream>(d, _mm_or_si128(_mm_shuffle_epi8(in, shuffle), fill));
    Put16<kStream>(d + 16, _mm_or_si128(_mm_shuffle_epi8(_mm_srli_si128(in, 4), shuffle), fill));
    Put16<kStream>(d + 32, _mm_or_si128(_mm_shuffle_epi8(_mm_srli_si128(in, 8), shuffle), fill));
    Put16<kStream>(d + 48, _mm_or_si128(_mm_shuffle_epi8(_mm_srli_si128(in, 12), shuffle), fill));
  }
  MapPixels(src + x, nullptr, dst + 4 * x, pixels - x, p.map);
}

template <Stores kStores>
PIXELBRIDGE_ROW_ENTRY void OneToFour(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t pixels,
                                     const RowPatterns& p) {
  RunRow<4, kStores>(dst, pixels, [&](auto stream, int32_t first, int32_t count) PIXELBRIDGE_KERNEL {
    Spread<decltype(stream)::value>(src + first, dst + 4 * first, count, p);
  });
}
