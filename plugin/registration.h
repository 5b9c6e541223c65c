// Registration records handed to the host, the plug-in's method tables and the
// process-global facts that the entry point settles.
//
// Every record is a run of words: 32 bits on i386 and 32-bit ARM (the sizes below),
// pointer-sized everywhere, so on x86-64 and 64-bit ARM each record is twice as large.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/host_functions.h"

using RecordWord = uintptr_t;

// One method: six words.
struct REALmethodDefinition {
  void* function;           // 0: the function that implements the method
  RecordWord reserved1;     // 1: 0
  const char* declaration;  // 2: the declaration the host parses
  RecordWord flags;         // 3: 0x40000 before the flag fix-up
  RecordWord reserved4;     // 4: 0
  RecordWord reserved5;     // 5: 0
};

// One property: twelve words with the flags in word 3 (this plug-in registers none).
struct REALproperty {
  RecordWord leading[3];
  RecordWord flags;
  RecordWord trailing[8];
};

// A class definition: 25 words. This plug-in fills only version, name, the method list and
// flags; the other lists are empty but still adapted for the host like any record.
struct REALclassDefinition {
  RecordWord version;                   // 0: record version (the control version)
  const char* name;                     // 1: "Picture"
  RecordWord carried2[5];               // 2-6: carried over unchanged
  REALproperty* properties;             // 7
  intptr_t propertyCount;               // 8
  REALmethodDefinition* methods;        // 9
  intptr_t methodCount;                 // 10
  RecordWord* records4;                 // 11: records of four words
  intptr_t records4Count;               // 12
  RecordWord carried13[3];              // 13-15: carried over unchanged
  RecordWord* clearedList;              // 16: cleared in the version-9 layout
  intptr_t clearedCount;                // 17
  RecordWord* records5;                 // 18: records of five words
  intptr_t records5Count;               // 19
  RecordWord flags;                     // 20: 0x40000 before the flag fix-up
  REALproperty* secondProperties;       // 21
  intptr_t secondPropertyCount;         // 22
  REALmethodDefinition* secondMethods;  // 23
  intptr_t secondMethodCount;           // 24
};

constexpr size_t kWordsPerMethod = sizeof(REALmethodDefinition) / sizeof(RecordWord);
constexpr size_t kWordsPerProperty = sizeof(REALproperty) / sizeof(RecordWord);
constexpr size_t kWordsPerClass = sizeof(REALclassDefinition) / sizeof(RecordWord);
static_assert(kWordsPerMethod == 6 && kWordsPerProperty == 12 && kWordsPerClass == 25, "records are whole words");
// Version-9 hosts take method records of four words: the first four of the six, which hold
// everything a host reads (the function, the declaration and the flags).
constexpr size_t kVersion9WordsPerMethod = 4;
static_assert(offsetof(REALmethodDefinition, flags) < kVersion9WordsPerMethod * sizeof(RecordWord),
              "a version-9 method record holds the flags");
// The words each method record takes in the lists of a class record of this version.
constexpr size_t WordsPerMethod(RecordWord version) { return version == 9 ? kVersion9WordsPerMethod : kWordsPerMethod; }
static_assert(offsetof(REALclassDefinition, methods) == 9 * sizeof(RecordWord) &&
                  offsetof(REALclassDefinition, flags) == 20 * sizeof(RecordWord) &&
                  offsetof(REALclassDefinition, secondMethodCount) == 24 * sizeof(RecordWord),
              "class words in place");
#if defined(__i386__) || defined(__arm__)
static_assert(sizeof(REALmethodDefinition) == 24 && offsetof(REALmethodDefinition, flags) == 12,
              "method record: 24 bytes, flags at 12");
static_assert(sizeof(REALproperty) == 48 && offsetof(REALproperty, flags) == 12,
              "property record: 48 bytes, flags at 12");
static_assert(sizeof(REALclassDefinition) == 100, "class record: 100 bytes");
#elif defined(__x86_64__) || defined(__aarch64__)
static_assert(sizeof(REALmethodDefinition) == 48 && offsetof(REALmethodDefinition, flags) == 24,
              "method record: 48 bytes, flags at 24");
static_assert(sizeof(REALproperty) == 96 && offsetof(REALproperty, flags) == 24,
              "property record: 96 bytes, flags at 24");
static_assert(sizeof(REALclassDefinition) == 200, "class record: 200 bytes");
#endif

constexpr int kGlobalMethodCount = 32;
constexpr int kPictureMethodCount = 18;

extern REALmethodDefinition globalMethods[kGlobalMethodCount];
extern REALmethodDefinition pictureMethods[kPictureMethodCount];
extern REALclassDefinition pictureClass;

// Chosen at entry from the host's version: 9, 10, 11 or 12.
extern int32_t CurrentREALControlVersion;
// `count` property records cut to the version-9 layout (their first ten words), in a new
// zero-filled array; null for an empty list or when the array can't be allocated.
RecordWord* FixProperties(const REALproperty* list, intptr_t count);

// The one export: by name from the shared library, or from the DLL's export table on Windows,
// whose linker then exports nothing unmarked.
#if defined(_WIN32)
#define PIXELBRIDGE_EXPORTED __declspec(dllexport)
#else
#define PIXELBRIDGE_EXPORTED __attribute__((visibility("default")))
#endif
extern "C" PIXELBRIDGE_EXPORTED void REALPluginMain(HostResolver resolver);
