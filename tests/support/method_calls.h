// Calls of the registered methods by number with their arguments by name, as the case
// tables in tests/data spell them, checked against the test's own account of the methods:
// the byte order each name spells, and the lines, pitches, tints and tables of the README.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "refhost/host.h"

namespace pixeltest {

// Methods as the README numbers them: 1-18 the copies of "Picture", 19-50 the globals.
constexpr int kMethodCount = 50;
constexpr int kCopyCount = 18;
std::string DeclarationOf(int number);

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
//   false, nil                 failed quietly, writing nothing
//   Class: message             failed with that exception, writing nothing and making no
//                              picture (nor opening one, but for a block too small for a copy)
struct MethodCall {
  int number = 0;
  std::map<std::string, std::string> args;
  std::string expected;                            // empty: run the call unchecked
  std::map<std::string, refhost::Object*> objects;  // arguments given as objects, by name
  bool spare = false;  // arguments the method doesn't take are left out, not an error
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
};

// Makes the arguments' objects, calls, checks what the call gave when it says, and gives
// every object back.
CallOutcome RunCall(refhost::Host& host, const MethodCall& call);

// A picture of the host's by the spelling above, painted by position (`mask`: with the
// mask's pattern), with one reference for the caller.
refhost::Picture* NewPicture(refhost::Host& host, const std::string& spec, bool mask = false);

// Each case table of tests/data/FILE: "host …" lines start a host (its kind, then
// version=V lacking=A,B failing=A,B classes=A,B new-alpha=N no-draw lend refuse-new), each
// other line is a call on it. Every host runs in a child process.
void RunCaseTable(const std::string& file);

}  // namespace pixeltest
