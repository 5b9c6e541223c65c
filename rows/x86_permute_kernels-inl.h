// Packing and gray kernels as byte permutes of the whole 64-byte vector (AVX-512 BW and
// VBMI). Part of the row kernels' source: included by x86_kernels-inl.h inside its unit's
// anonymous namespace, after the vector shims.

// Sixty-four pixels a step: every output vector is one permute of the two input vectors
// it spans. Pixels of kIn bytes in, kOut bytes out.
template <int kIn, int kOut, bool kKeeping>
PIXELBRIDGE_KERNEL inline int32_t PermuteWhole(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  // Everything the loop needs sits in registers (the destination could alias the patterns),
  // and the loops over vectors are unrolled so that none of it is indexed in memory.
  Vec pair[kOut], fills[kOut], keeps[kOut];
  __mmask64 taken[kOut];
#pragma GCC unroll 4
  for (int k = 0; k < kOut; ++k) {
    pair[k] = _mm512_loadu_si512(p.pair[k]);
    fills[k] = _mm512_loadu_si512(p.pairFill[k]);
    keeps[k] = _mm512_loadu_si512(p.pairKeep[k]);
    taken[k] = p.pairTaken[k];
  }
  int32_t x = 0;
  for (; x + 64 <= pixels; x += 64) {
    Vec input[kIn + 1];
#pragma GCC unroll 4
    for (int k = 0; k < kIn; ++k) input[k] = _mm512_loadu_si512(src + kIn * x + 64 * k);
    input[kIn] = input[kIn - 1];
#pragma GCC unroll 4
    for (int k = 0; k < kOut; ++k) {
      const int first = PairFirst<64>(k, kIn, kOut);
      Vec v = Or(_mm512_maskz_permutex2var_epi8(taken[k], input[first], pair[k], input[first + 1]), fills[k]);
      if (kKeeping) v = Or(v, And(_mm512_loadu_si512(dst + kOut * x + 64 * k), keeps[k]));
      _mm512_storeu_si512(dst + kOut * x + 64 * k, v);
    }
  }
  return x;
}

// Sixteen pixels a step as one byte permute of the whole vector, for what is left of a row.
template <bool kKeeping>
PIXELBRIDGE_KERNEL inline void Permute(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const Vec wide = _mm512_loadu_si512(p.wide), fill = _mm512_loadu_si512(p.wideFill);
  const Vec keep = _mm512_loadu_si512(p.wideKeep);
  const int in = p.map.inputStride, out = p.map.outputStride;
  for (int32_t x = 0; x < pixels; x += 16) {
    const int count = pixels - x < 16 ? pixels - x : 16;
    const int inBytes = count * in, outBytes = count * out;
    Vec v = Or(_mm512_maskz_permutexvar_epi8(p.wideTaken, wide, LoadBytes(src + in * x, inBytes)), fill);
    if (kKeeping) v = Or(v, And(LoadBytes(dst + out * x, outBytes), keep));
    StoreBytes(dst + out * x, v, outBytes);
  }
}

template <int kIn, int kOut, bool kKeeping>
PIXELBRIDGE_KERNEL inline void PermuteRow(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  // A row shorter than a whole step doesn't load the step's patterns.
  const int32_t done = pixels >= 64 ? PermuteWhole<kIn, kOut, kKeeping>(src, dst, pixels, p) : 0;
  Permute<kKeeping>(src + kIn * done, dst + kOut * done, pixels - done, p);
}

// The entry points take a way of storing, as every level's do; here it is always the ordinary way.
template <bool kKeeping, Stores>
PIXELBRIDGE_ROW_ENTRY void FourToThree(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t pixels,
                                       const RowPatterns& p) {
  PermuteRow<4, 3, kKeeping>(src, dst, pixels, p);
}
template <Stores>
PIXELBRIDGE_ROW_ENTRY void ThreeToFour(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t pixels,
                                       const RowPatterns& p) {
  PermuteRow<3, 4, false>(src, dst, pixels, p);
}
// Gray samples, sixty-four a step: each output vector is one permute of them, the sixteen-
// pixel pattern's indexes moved on by sixteen samples a vector. (Sixteen a step, through the
// masked loads and stores of a row's end, ran a 64 × 64 picture three times as long.)
PIXELBRIDGE_KERNEL inline int32_t SpreadWhole(const uint8_t* src, uint8_t* dst, int32_t pixels, const RowPatterns& p) {
  const Vec fill = _mm512_loadu_si512(p.wideFill);
  Vec index[4];
#pragma GCC unroll 4
  for (int v = 0; v < 4; ++v)
    index[v] = _mm512_add_epi8(_mm512_loadu_si512(p.wide), _mm512_set1_epi8(static_cast<char>(16 * v)));
  int32_t x = 0;
  for (; x + 64 <= pixels; x += 64) {
    const Vec samples = _mm512_loadu_si512(src + x);
#pragma GCC unroll 4
    for (int v = 0; v < 4; ++v)
      _mm512_storeu_si512(dst + 4 * x + 64 * v,
                          Or(_mm512_maskz_permutexvar_epi8(p.wideTaken, index[v], samples), fill));
  }
  return x;
}

template <Stores>
PIXELBRIDGE_ROW_ENTRY void OneToFour(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t pixels,
                                     const RowPatterns& p) {
  const int32_t done = pixels >= 64 ? SpreadWhole(src, dst, pixels, p) : 0;
  Permute<false>(src + done, dst + 4 * done, pixels - done, p);
}

// Sixty-four samples a step. Each table sits in four vectors; a sample's low seven bits pick
// a byte from one pair of them, its top bit the pair. In-lane unpacks then interleave the
// four channels' bytes into pixels, channels 0 with 1 and 2 with 3, then the pairs: output
// vector v's lane L gets the samples at dword 4L + v, so the samples are first put there
// from dword 4v + L. (Two-vector byte permutes and blends in place of the unpacks ran a
// 64 × 64 picture a fifth slower.) The last samples as one masked step.
PIXELBRIDGE_KERNEL inline void TableSteps(const uint8_t* src, uint8_t* dst, int32_t pixels, const PixelMap& map) {
  Vec tables[4][4], fills[4];
  bool looked[4];
#pragma GCC unroll 4
  for (int k = 0; k < 4; ++k) {
    looked[k] = map.table[k] != nullptr;
    for (int part = 0; part < 4; ++part)
      tables[k][part] = looked[k] ? _mm512_loadu_si512(map.table[k] + 64 * part) : _mm512_setzero_si512();
    fills[k] = _mm512_set1_epi8(static_cast<char>(map.fill[k]));
  }
  // The pixels of `samples` into the first `bytes` bytes at `out`.
  const auto step = [&](const Vec samples, uint8_t* out, int bytes) PIXELBRIDGE_KERNEL {
    const Vec placed = GroupsInOrder(samples);  // dword 4v + L to 4L + v: the same transpose
    const __mmask64 top = _mm512_movepi8_mask(placed);
    Vec looks[4];
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
      looks[k] = fills[k];
      if (!looked[k]) continue;
      const Vec low = _mm512_permutex2var_epi8(tables[k][0], placed, tables[k][1]);
      const Vec high = _mm512_permutex2var_epi8(tables[k][2], placed, tables[k][3]);
      looks[k] = Or(_mm512_mask_blend_epi8(top, low, high), fills[k]);
    }
    const Vec first01 = _mm512_unpacklo_epi8(looks[0], looks[1]), last01 = _mm512_unpackhi_epi8(looks[0], looks[1]);
    const Vec first23 = _mm512_unpacklo_epi8(looks[2], looks[3]), last23 = _mm512_unpackhi_epi8(looks[2], looks[3]);
    const Vec made[4] = {_mm512_unpacklo_epi16(first01, first23), _mm512_unpackhi_epi16(first01, first23),
                         _mm512_unpacklo_epi16(last01, last23), _mm512_unpackhi_epi16(last01, last23)};
#pragma GCC unroll 4
    for (int v = 0; v < 4; ++v) {
      const int left = bytes - 64 * v < 64 ? bytes - 64 * v : 64;
      if (left > 0) StoreBytes(out + 64 * v, made[v], left);
    }
  };
  int32_t x = 0;
  for (; x + 128 <= pixels; x += 128) {
    step(_mm512_loadu_si512(src + x), dst + 4 * x, 256);
    step(_mm512_loadu_si512(src + x + 64), dst + 4 * x + 256, 256);
  }
  for (; x + 64 <= pixels; x += 64) step(_mm512_loadu_si512(src + x), dst + 4 * x, 256);
  if (x < pixels) step(LoadBytes(src + x, pixels - x), dst + 4 * x, 4 * (pixels - x));
}

PIXELBRIDGE_ROW_ENTRY void OneToFourTables(const uint8_t* src, const uint8_t*, uint8_t* dst, int32_t pixels,
                                           const RowPatterns& p) {
  TableSteps(src, dst, pixels, p.map);
}
