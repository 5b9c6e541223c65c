// Calls of the registered methods by number with their arguments by name, checked against
// the rules every call keeps and, where a case says what it must give, against the test's
// own account of the methods: the byte order each name spells, and the lines, pitches,
// tints and tables of the README. Shared by the tests and the fuzzer, so free of any test
// framework.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <string>
#include <vector>

#include "refhost/host.h"

namespace pixeltest {

// Methods as the README numbers them: 1-18 the copies of "Picture", 19-50 the globals.
constexpr int kMethodCount = 50;
constexpr int kCopyCount = 18;
const std::string& DeclarationOf(int number);
// Lines of a data file under tests/data, without blank and comment lines.
std::vector<std::string> DataLines(const std::string& file);
// The bytes from a source's start that a memory-to-picture method named `method` reads for
// these arguments, which its caller must supply (a Ptr carries no size); -1 when the
// arguments are refused before anything is read.
int64_t SourceBytesRead(const std::string& method, int64_t offset, int64_t width, int64_t height,
                        int64_t pixelByteSize);

// A host as a line of the case tables spells it: "host" and its kind (desktop, console,
// web), then any of version=V, lacking=A,B and failing=A,B (host functions by lookup name),
// classes=A,B (classes it knows too), unmade=A,B (classes it can't make), new-alpha=N (the
// alpha info of the pictures it makes), no-draw, lend, refuse-new (refhost::HostConfig).
refhost::HostConfig ParseHost(const std::string& line, const std::string& plugin);

// A call: the method's number, its arguments by parameter name ("picture" is the receiver)
// and what it must give. Arguments:
//   integers, booleans   12, -1, 0x1C3
//   pictures             nil, or WxH and options: :vector :truecolour :bitmap (kind; else
//                        the host's own), :alpha (an alpha channel), :formatN (alpha info N,
//                        6 unless given), :padN (bytes after each row), :bpcN, :refuse (every
//                        lock), :palette, :noflag (no true-colour flag). Painted by position;
//                        a MaskForAlpha with a pattern of its own.
//   blocks and Ptrs      nil, a size, or "short": one byte less than the call needs; left
//                        out, exactly what it needs (all the lines, for a copy that fails)
//   integer arrays       nil, empty, or values separated by commas
// What it must give, then optionally " | Name=N ...": host functions called N times.
//   true [FIRST..LAST | none]  the copy wrote these picture lines (default: all) and no other byte
//   picture, dest              a new picture, or the destination, holding the source's pixels
//   false, nil                 failed quietly
//   Class: message             failed with that exception, making no picture (nor opening
//                              one, but for a block too small for a copy)
struct MethodCall {
  int number = 0;
  std::unordered_map<std::string, std::string> args;
  std::string expected;                                       // empty: only the rules of every call
  std::unordered_map<std::string, refhost::Object*> objects;  // arguments given as objects, by name
  bool spare = false;      // arguments the method doesn't take are left out, not an error
  bool shared = false;     // other calls run during it and may write its objects
  bool keepPixels = true;  // the outcome keeps the returned picture's pixels
};
// "5 picture=3x6 offset=2 -> true"
MethodCall ParseCall(const std::string& line);

// What a call left.
struct CallOutcome {
  refhost::CallResult result;
  bool failed = true;
  std::string exception;       // "Class: message", empty for none
  std::vector<uint8_t> bytes;  // the block after the call, the pixels of the picture returned
  bool untouched = true;       // the block and the destination picture hold what they held
  // What it broke of the rules of every call (documented exceptions only, a failure result
  // with each, nothing written when it failed nor before the offset, a returned picture of
  // the size asked for) and of what it must give, with its references and locks.
  std::vector<std::string> broken;
};

// Makes the arguments' objects, calls, checks, and gives back every object it made.
CallOutcome RunCall(refhost::Host& host, const MethodCall& call);

// A picture of the host's by the spelling above, painted by position (`mask`: with the
// mask's pattern), with one reference for the caller.
refhost::Picture* NewPicture(refhost::Host& host, const std::string& spelling, bool mask = false);

}  // namespace pixeltest
