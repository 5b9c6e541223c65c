// Recording the host calls of a method call through stand-ins of the host's functions, making
// them again alone, and answering them from the record.
#include "bench/host_calls.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

#include "host/host_function_list.h"
#include "refhost/model/host.h"

namespace bench {
namespace {

struct Recording {
  std::vector<HostCall>* calls;
  std::vector<uintptr_t> made;  // per call, the object (a pointer result) it gave; 0 for none
};
Recording* gRecording = nullptr;
// While answering, the next recorded call to answer and the end of the record.
const HostCall* gNextAnswer = nullptr;
const HostCall* gAnswersEnd = nullptr;

// A call answered out of turn means the plug-in took another path than when recorded, and
// the times would be of something else: better no figure than a wrong one.
[[noreturn]] void AnsweredOutOfTurn() {
  fprintf(stderr, "pixelbench: a call answered from its record made other host calls than recorded\n");
  abort();
}

// What out-arguments of the replay point at: the plug-in's were on its stack.
template <typename T>
T* Scratch() {
  static T value{};
  return &value;
}
template <typename T>
constexpr bool kOutArgument =
    std::is_same_v<T, int32_t*> || std::is_same_v<T, unsigned char*> || std::is_same_v<T, REALpictureDescription*>;

template <typename T>
uintptr_t ToWord(T value) {
  if constexpr (kOutArgument<T>) return reinterpret_cast<uintptr_t>(Scratch<std::remove_pointer_t<T>>());
  else if constexpr (std::is_pointer_v<T>) return reinterpret_cast<uintptr_t>(value);
  else if constexpr (std::is_floating_point_v<T>) return 0;  // the host's version, asked by the entry point alone
  else return static_cast<uintptr_t>(value);
}
template <typename T>
T FromWord(uintptr_t word) {
  if constexpr (std::is_pointer_v<T>) return reinterpret_cast<T>(word);
  else return static_cast<T>(word);
}
// What the host wrote through an out-argument, kept by the recording and written again by
// an answer.
template <typename T>
void KeepOut(T argument, HostCall& call) {
  if constexpr (kOutArgument<T>) {
    static_assert(sizeof(*argument) <= sizeof(call.out), "an out-argument larger than a call keeps");
    if (argument != nullptr) memcpy(call.out, argument, sizeof(*argument));
  }
}
template <typename T>
void GiveOut(T argument, const HostCall& call) {
  if constexpr (kOutArgument<T>)
    if (argument != nullptr) memcpy(argument, call.out, sizeof(*argument));
}

// The stand-in of one host function (Tag tells them apart): the host's function is `host`.
template <typename Tag, typename Signature>
struct Recorder;
template <typename Tag, typename R, typename... A>
struct Recorder<Tag, R(A...)> {
  static inline R (*host)(A...) = nullptr;

  static R Call(A... args) {
    if (gAnswersEnd != nullptr) return Answer(args...);
    if (gRecording == nullptr) return host(args...);
    HostCall call{&Make, {}, {-1, -1, -1, -1}, 0, {}};
    const std::array<uintptr_t, sizeof...(A)> words = {ToWord(args)...};
    static_assert(sizeof...(A) <= HostCall::kMostWords, "a host function with more arguments than a call keeps");
    for (size_t k = 0; k < words.size(); ++k) {
      call.words[k] = words[k];
      // The latest call that made this object, if one did.
      for (size_t i = gRecording->made.size(); words[k] != 0 && i-- > 0 && call.madeBy[k] < 0;)
        if (gRecording->made[i] == words[k]) call.madeBy[k] = static_cast<int8_t>(i);
    }
    const size_t index = gRecording->calls->size();
    gRecording->calls->push_back(call);
    gRecording->made.push_back(0);
    HostCall& made = (*gRecording->calls)[index];
    if constexpr (std::is_void_v<R>) {
      host(args...);
      (KeepOut(args, made), ...);
    } else {
      const R result = host(args...);
      (KeepOut(args, made), ...);
      made.result = ToWord(result);
      if constexpr (std::is_pointer_v<R>) gRecording->made[index] = ToWord(result);
      return result;
    }
  }

  // The host's side of the call as the record has it, the host not called.
  static R Answer(A... args) {
    if (gNextAnswer == gAnswersEnd || gNextAnswer->make != &Make) AnsweredOutOfTurn();
    const HostCall& call = *gNextAnswer++;
    (GiveOut(args, call), ...);
    if constexpr (!std::is_void_v<R>) return FromWord<R>(call.result);
  }

  // The call made again, through the stand-in as the plug-in's was, so that what the stand-in
  // adds to a call is in both times and the difference is the plug-in's own.
  static uintptr_t Make(const uintptr_t* words) { return MakeWith(words, std::index_sequence_for<A...>()); }
  template <size_t... I>
  static uintptr_t MakeWith([[maybe_unused]] const uintptr_t* words, std::index_sequence<I...>) {
    if constexpr (std::is_void_v<R>) return Call(FromWord<A>(words[I])...), 0;
    else return ToWord(Call(FromWord<A>(words[I])...));
  }
};

#define PIXELBRIDGE_TAG(wrapper, lookup, result, parameters) struct wrapper##Tag;
PIXELBRIDGE_DIRECT_HOST_FUNCTIONS(PIXELBRIDGE_TAG)
PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS(PIXELBRIDGE_TAG)
#undef PIXELBRIDGE_TAG

}  // namespace

void* RecordingResolver(const char* name) {
  void* address = refhost::Host::Current()->Resolve(name);
  if (address == nullptr) return nullptr;
#define PIXELBRIDGE_STAND_IN(wrapper, lookup, result, parameters)                    \
  if (strcmp(name, lookup) == 0) {                                                   \
    using Stand = Recorder<wrapper##Tag, result parameters>;                         \
    Stand::host = reinterpret_cast<decltype(Stand::host)>(address);                  \
    return reinterpret_cast<void*>(static_cast<result(*) parameters>(&Stand::Call)); \
  }
  PIXELBRIDGE_DIRECT_HOST_FUNCTIONS(PIXELBRIDGE_STAND_IN)
  PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS(PIXELBRIDGE_STAND_IN)
#undef PIXELBRIDGE_STAND_IN
  return address;
}

HostCalls::HostCalls(refhost::Host& host, const std::function<uintptr_t()>& call) : host_(host) {
  Recording recording{&calls_, {}};
  gRecording = &recording;
  returned_ = call();
  gRecording = nullptr;
  for (size_t i = recording.made.size(); returned_ != 0 && i-- > 0 && returnedBy_ < 0;)
    if (recording.made[i] == returned_) returnedBy_ = static_cast<int>(i);
  results_.resize(calls_.size());
}

HostCalls::~HostCalls() {
  if (returned_ != 0) host_.Release(host_.Find(reinterpret_cast<void*>(returned_)));
}

void HostCalls::BeginAnswers() const {
  gNextAnswer = calls_.data();
  gAnswersEnd = calls_.data() + calls_.size();
}

void HostCalls::EndAnswers() const {
  if (gNextAnswer != gAnswersEnd) AnsweredOutOfTurn();
  gAnswersEnd = gNextAnswer = nullptr;
}

void HostCalls::RunAnswers(bool call) const {
  uintptr_t kept = 0;
  for (const HostCall& made : calls_)
    kept ^= call ? made.make(made.words) : made.words[0] ^ made.words[1] ^ made.words[2] ^ made.words[3];
  kept_ = kept;  // so that no walk is left out
}

void HostCalls::Run(bool call) const {
  for (size_t i = 0; i < calls_.size(); ++i) {
    const HostCall& made = calls_[i];
    uintptr_t words[HostCall::kMostWords];
    for (int k = 0; k < HostCall::kMostWords; ++k)
      words[k] = made.madeBy[k] < 0 ? made.words[k] : results_[static_cast<size_t>(made.madeBy[k])];
    // A walk keeps what depends on every word, so that none of its work is left out.
    results_[i] = call ? made.make(words) : words[0] ^ words[1] ^ words[2] ^ words[3];
  }
  if (call && returnedBy_ >= 0) host_.Release(host_.Find(reinterpret_cast<void*>(results_[returnedBy_])));
}

}  // namespace bench
