// The 256-entry tables gray samples go through: from a tint factor, or from integers limited
// to bytes. Filled on every call that tints or maps gray, so filled 16 or 64 entries a step
// where the processor has the vectors; the plain loops beside them are their definition.
#pragma once

#include <cstdint>

#include "platform/architecture.h"

// Entry v: v × factor / 256, truncated toward zero and limited to 0 to 255.
void MakeTintTable(int32_t factor, uint8_t* table);
// Entries 0 to count − 1 (count at most 256) from `values`, each limited to 0 to 255; the
// rest 0.
void MakeClampedTable(const int32_t* values, int32_t count, uint8_t* table);

// The same one entry at a time.
void MakeTintTablePlain(int32_t factor, uint8_t* table);
void MakeClampedTablePlain(const int32_t* values, int32_t count, uint8_t* table);

#if PIXELBRIDGE_X86
// Sixty-four entries a step, built with the AVX-512 row kernels and called at that level
// only: the tint for a factor of 1 to 65535; the clamped table's whole steps, whose entries
// made it returns.
void MakeTintTableAVX512(int32_t factor, uint8_t* table);
int32_t MakeClampedTableAVX512(const int32_t* values, int32_t count, uint8_t* table);
#endif
