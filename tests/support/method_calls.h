// Calls of the registered methods by number with their arguments by name, checked against
// the rules every call keeps and, where a case says what it must give, against the test's
// own account of the methods: the byte order each name spells, and the lines, pitches,
// tints and tables of docs/methods.md. Shared by the tests and the fuzzer, so free of any test
// framework. Its parts, each with one job and none waiting for another to run first: the
// spelling of a case line into a call (call_spelling.cpp), the host objects it takes
// (call_objects.cpp), the bytes and pixels it must leave (call_oracle.cpp) and the rules
// every call keeps (call_rules.cpp, which runs the call).
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "refhost/model/host.h"

namespace pixeltest {

// Methods as docs/methods.md numbers them: 1-18 the copies of "Picture", 19-50 the globals.
constexpr int kMethodCount = 50;
constexpr int kCopyCount = 18;
const std::string& DeclarationOf(int number);
// Lines of a data file under tests/data, without blank and comment lines; `numbers` gets
// the number in the file of each.
std::vector<std::string> DataLines(const std::string& file, std::vector<int>* numbers = nullptr);
// The name given, when the host has a function (lookup name) or a class of that name; else
// std::invalid_argument naming it. A misspelt name would count no calls and pass every "=0",
// or leave a host that should lack a function whole.
const std::string& HostFunctionNamed(const std::string& name);
const std::string& HostClassNamed(const std::string& name);

// A host line and a call line of the case tables, spelled as tests/data/calls.txt tells.
refhost::HostConfig ParseHost(const std::string& line, const std::string& plugin);
struct MethodCall {
  int number = 0;
  std::unordered_map<std::string, std::string> args;
  std::string expected;                                       // empty: only the rules of every call
  std::unordered_map<std::string, refhost::Object*> objects;  // arguments given as objects, by name
  bool spare = false;         // arguments the method doesn't take are left out, not an error
  bool shared = false;        // calls run during it write its objects (set before it ends)
  bool keepReturned = false;  // a new picture returned stays with the caller, who releases it
  bool clockSet = true;       // the plug-in reads the test's clock: how often it yields is known
};
// "5 picture=3x6 offset=2 -> true"
MethodCall ParseCall(const std::string& line);

// What a call left.
struct CallOutcome {
  refhost::CallResult result;
  bool failed = true;
  std::string exception;  // "Class: message", empty for none
  // What it broke of the rules of every call (documented exceptions only, a failure result
  // with each, nothing written when it failed nor before the offset, success or failure
  // where the oracle says, a returned picture of the size asked for) and of what it must
  // give, with its references and locks.
  std::vector<std::string> broken;
  refhost::Picture* kept = nullptr;  // the new picture returned, when the call keeps it
};

// Makes the arguments' objects, calls, checks, and gives back every object it made.
CallOutcome RunCall(refhost::Host& host, const MethodCall& call);

// The probe's "PixelbridgeProbeChooseAs", and the choices of kernels the tests and the corpus
// replay run the methods through: each row of the kernel table at each SIMD level of this
// machine, calls that move 512 bytes or more storing around the caches where the row lets
// them, so that every kernel a processor may take runs through the methods here.
using ChooseKernels = bool (*)(int row, int level, int64_t streamFrom);
struct KernelChoice {
  int row, level;
  std::string Name() const;
  bool MakeWith(ChooseKernels choose) const;  // from now on, until the probe's reset
};
std::vector<KernelChoice> KernelChoices(ChooseKernels choose);

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
  refhost::MemoryBlock* block = nullptr;          // a copy's destination, or a conversion's source
  bool blankReceiver = false, blankMask = false;  // read through a copy the host couldn't draw,
  refhost::Rgba blank;                            // which holds what the host's new pictures hold
  bool unknowable = false;                        // what the call reads, the oracle can't know
  std::map<std::string, std::vector<int32_t>> arrays;
  std::vector<refhost::Arg> args;
  std::vector<refhost::Object*> made;  // given back after the call
};
CallObjects MakeObjects(refhost::Host& host, const BoundCall& bound);

// The oracle. Whether the host has `function` and it answers.
bool Answers(const refhost::HostConfig& host, const char* function);
// Whether the host lends a picture as the plug-in opens it directly (no drawn copy): on a
// desktop host a bitmap context of 32 bits read as it is (premultiplied where the host tells
// of alpha), elsewhere a true-colour image or a rendering of one.
bool LendsDirectly(const refhost::HostConfig& host, const refhost::Picture* picture);
// Whether the call must succeed (good arguments, on a host that gives what they need, with
// pictures it can open) or fail (arguments every call refuses, or a host function it needs
// and the host can't give); none where the oracle can't know.
std::optional<bool> MustSucceed(const refhost::HostConfig& host, const BoundCall& bound, const CallObjects& objects);
// A picture that can't lend a bitmap (and has no alpha channel the host tells of) is read on
// a host not known to be a console one through a copy that the host draws, or fills with the
// rows both lend; where it can do neither, the copy stays as the host made it.
bool DrawnBlank(const refhost::HostConfig& host, const refhost::Picture* picture);
// Whether a host gives the plug-in the entries of integer arrays: their bound, and their
// elements (read directly from the array on hosts up to 2013.9); else every entry is 0.
bool ArraysRead(const refhost::HostConfig& host);
// A pixel's bytes as the method's name spells them ("RGBA", "XRGB": a pad byte
// left alone, "R": a channel, one every PixelByteSize bytes; "Gray": samples PixelByteSize
// bytes apart), or as the LittleEndian overloads' argument chooses ("BGRA", "ARGB").
std::string PixelLetters(const BoundCall& bound);
// The bytes the call needs in its block: a copy's lines (16 when none), what a conversion reads.
int64_t BlockBytesNeeded(const BoundCall& bound, const refhost::Picture* receiver, const refhost::Picture* mask);
// A copy's block afterwards, from its bytes before: the lines its line says it writes, or for
// a line without a result those its arguments ask for (none where the block can't hold them).
std::vector<uint8_t> ExpectedCopy(const BoundCall& bound, const CallObjects& objects, std::vector<uint8_t> bytes);
// The pixels a converted picture must hold, from the source block as it was, worked out once
// a call: pixel x, y.
class ExpectedPixels {
 public:
  ExpectedPixels(const BoundCall& bound, const CallObjects& objects, bool arraysRead);
  refhost::Rgba operator()(int32_t x, int32_t y) const;

 private:
  const uint8_t* source_;
  int32_t width_, height_;
  bool flip_, gray_ = false;
  int64_t stride_ = 0;      // bytes from one source pixel to the next
  size_t at_[3] = {};       // colour: where red, green and blue sit in a source pixel
  uint8_t tables_[3][256];  // gray: red, green and blue for each sample
};

}  // namespace pixeltest
