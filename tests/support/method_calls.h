// Calls of the registered methods by number with their arguments by name, checked against
// the rules every call keeps and, where a case says what it must give, against the test's
// own account of the methods: the byte order each name spells, and the lines, pitches,
// tints and tables of the README. Shared by the tests and the fuzzer, so free of any test
// framework. Its parts, each with one job and none waiting for another to run first: the
// spelling of a case line into a call (call_spelling.cpp), the host objects it takes
// (call_objects.cpp), the bytes and pixels it must leave (call_oracle.cpp) and the rules
// every call keeps (call_rules.cpp, which runs the call).
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "refhost/host.h"

namespace pixeltest {

// Methods as the README numbers them: 1-18 the copies of "Picture", 19-50 the globals.
constexpr int kMethodCount = 50;
constexpr int kCopyCount = 18;
const std::string& DeclarationOf(int number);
// Lines of a data file under tests/data, without blank and comment lines.
std::vector<std::string> DataLines(const std::string& file);

// A host line and a call line of the case tables, spelled as tests/data/calls.txt tells.
refhost::HostConfig ParseHost(const std::string& line, const std::string& plugin);
struct MethodCall {
  int number = 0;
  std::unordered_map<std::string, std::string> args;
  std::string expected;                                       // empty: only the rules of every call
  std::unordered_map<std::string, refhost::Object*> objects;  // arguments given as objects, by name
  bool spare = false;         // arguments the method doesn't take are left out, not an error
  bool shared = false;        // other calls run during it and may write its objects
  bool keepPixels = true;     // the outcome keeps the returned picture's pixels
  bool keepReturned = false;  // a new picture returned stays with the caller, who releases it
};
// "5 picture=3x6 offset=2 -> true"
MethodCall ParseCall(const std::string& line);

// What a call left.
struct CallOutcome {
  refhost::CallResult result;
  bool failed = true;
  std::string exception;       // "Class: message", empty for none
  std::vector<uint8_t> bytes;  // the block after the call, the pixels of the picture returned
  // What it broke of the rules of every call (documented exceptions only, a failure result
  // with each, nothing written when it failed nor before the offset, a returned picture of
  // the size asked for) and of what it must give, with its references and locks.
  std::vector<std::string> broken;
  refhost::Picture* kept = nullptr;  // the new picture returned, when the call keeps it
};

// Makes the arguments' objects, calls, checks, and gives back every object it made.
CallOutcome RunCall(refhost::Host& host, const MethodCall& call);

// A picture of the host's as the case tables spell it, painted by position (`mask`: with the
// mask's pattern), with one reference for the caller.
refhost::Picture* NewPicture(refhost::Host& host, const std::string& spelling, bool mask = false);

// The parts.
std::vector<std::string> Split(const std::string& text, char separator);
int32_t Integer(const std::string& text);
refhost::PictureSetup SetupOf(const std::string& spelling, refhost::HostKind host);

// What a call must give, as its line spells it after " -> ".
struct Expected {
  enum Kind { kUnchecked, kWritten, kPicture, kDest, kFailed, kRaised } kind = kUnchecked;
  bool allLines = true;  // for kWritten: every line, or first to last
  int32_t first = 0, last = -1;
  std::string exception;                           // for kRaised: "Class: message"
  std::vector<std::pair<std::string, int>> calls;  // host functions and how often the call uses each
  std::string order;                               // every host function the call uses, in order, separated by commas
  bool Succeeds() const { return kind == kWritten || kind == kPicture || kind == kDest; }
};

// A call bound to its method: the declaration's parameters (a copy's receiver, "picture",
// first) and each one's argument as spelled and as an integer (its default, or 0, if left out).
struct BoundCall {
  const MethodCall& call;
  const std::string& name;
  const std::vector<refhost::Parameter>& params;
  bool copy;
  Expected expected;
  std::vector<const std::string*> texts;  // null where left out
  std::vector<int32_t> ints;

  int Index(std::string_view param) const;
  bool Takes(std::string_view param) const { return Index(param) >= 0; }
  const std::string& Text(std::string_view param) const;  // empty where left out
  int32_t Int(std::string_view param) const;
};
BoundCall Bind(const MethodCall& call);

// The host objects of a call's arguments and what it was given.
struct CallObjects {
  refhost::Picture *receiver = nullptr, *mask = nullptr, *dest = nullptr;
  refhost::MemoryBlock* block = nullptr;  // a copy's destination, or a conversion's source
  bool blank = false;                     // the receiver is a vector picture the host can neither draw nor lend: white
  std::map<std::string, std::vector<int32_t>> arrays;
  std::vector<refhost::Arg> args;
  std::vector<refhost::Object*> made;  // given back after the call
};
CallObjects MakeObjects(refhost::Host& host, const BoundCall& bound);

// The oracle. A pixel's bytes as the method's name spells them ("RGBA", "XRGB": a pad byte
// left alone, "R": a channel, one every PixelByteSize bytes; "Gray": samples PixelByteSize
// bytes apart), or as the LittleEndian overloads' argument chooses ("BGRA", "ARGB").
std::string PixelLetters(const BoundCall& bound);
// The bytes the call needs in its block: a copy's lines (16 when none), what a conversion reads.
int64_t BlockBytesNeeded(const BoundCall& bound, const refhost::Picture* receiver, const refhost::Picture* mask);
// A copy's block afterwards, from its bytes before.
std::vector<uint8_t> ExpectedCopy(const BoundCall& bound, const CallObjects& objects, std::vector<uint8_t> bytes);
// Pixel x, y of a converted picture, from the source block as it was.
refhost::Rgba ExpectedPixel(const BoundCall& bound, const CallObjects& objects, bool boundsKnown, int32_t x, int32_t y);

}  // namespace pixeltest
