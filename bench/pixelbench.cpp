// pixelbench: every method, called through the reference host as a user program would,
// timed against memcpy of its bytes and the nearest conversion of the reference library.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "bench/host_calls.h"
#include "bench/subjects.h"
#include "bench/timings.h"
#include "platform/cpu.h"
#include "rows/row_converter.h"

namespace {

using bench::Row;
using bench::Size;
using bench::Times;

Times Summarise(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return {values.front(), values[values.size() / 2]};
}

// How long a round lasts, in nanoseconds: 2 ms unless --round-ms says otherwise.
double gRoundNs = 2e6;

// Nanoseconds per call of `f`, over `calls` calls.
template <typename F>
double PerCall(F&& f, int calls) {
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < calls; ++i) f();
  const auto elapsed = std::chrono::steady_clock::now() - start;
  return std::chrono::duration<double, std::nano>(elapsed).count() / calls;
}
template <typename F>
int CallsFor(F&& f) {
  const double once = std::max(PerCall(f, 1), PerCall(f, 1));
  return static_cast<int>(std::clamp(gRoundNs / std::max(once, 1.0), 1.0, 200000.0));
}

// The method, memcpy and the nearest conversion (when there is one) timed in turn, round
// after round, each round long enough to read the clock well; with the method's host calls
// (when given) made alone, walked without calling the host (the replay's own work), and
// answered from their record, alone and in the method's call.
template <typename M, typename A, typename C, typename N>
Row TimeAlternating(std::string layout, Size size, M&& method, A&& answered, C&& copy, N&& nearest, bool withNearest,
                    std::string nearestName, int rounds, const bench::HostCalls* hostCalls = nullptr) {
  auto replay = [hostCalls] { hostCalls->Replay(); };
  auto walk = [hostCalls] { hostCalls->Walk(); };
  auto answers = [hostCalls] { hostCalls->ReplayAnswers(); };
  auto answersWalk = [hostCalls] { hostCalls->WalkAnswers(); };
  const bool host = hostCalls != nullptr;
  const int methodCalls = CallsFor(method), copyCalls = CallsFor(copy);
  const int nearestCalls = withNearest ? CallsFor(nearest) : 0;
  const int replayCalls = host ? CallsFor(replay) : 0, walkCalls = host ? CallsFor(walk) : 0;
  const int answeredCalls = host ? CallsFor(answered) : 0, answersCalls = host ? CallsFor(answers) : 0;
  const int answersWalkCalls = host ? CallsFor(answersWalk) : 0;
  std::vector<double> methodTimes, copyTimes, nearestTimes, replayTimes, walkTimes;
  std::vector<double> answeredTimes, answersTimes, answersWalkTimes;
  for (int round = 0; round < rounds; ++round) {
    methodTimes.push_back(PerCall(method, methodCalls));
    copyTimes.push_back(PerCall(copy, copyCalls));
    if (withNearest) nearestTimes.push_back(PerCall(nearest, nearestCalls));
    if (!host) continue;
    replayTimes.push_back(PerCall(replay, replayCalls));
    walkTimes.push_back(PerCall(walk, walkCalls));
    answeredTimes.push_back(PerCall(answered, answeredCalls));
    answersTimes.push_back(PerCall(answers, answersCalls));
    answersWalkTimes.push_back(PerCall(answersWalk, answersWalkCalls));
  }
  Row row;
  row.layout = std::move(layout), row.size = size, row.nearestName = std::move(nearestName);
  row.method = Summarise(methodTimes), row.copy = Summarise(copyTimes);
  if (withNearest) row.nearest = Summarise(nearestTimes);
  if (host) {
    row.hostCalls = hostCalls->size();
    row.host = Summarise(replayTimes) - Summarise(walkTimes);
    row.answered = Summarise(answeredTimes);
    row.answers = Summarise(answersTimes) - Summarise(answersWalkTimes);
  }
  return row;
}

// Best and median times, the plug-in's own time (best and median, then best beside the
// reference host), then the ratios to memcpy, to libyuv, and to libyuv and the method's host
// calls made alone.
void PrintHeader(Size size) {
  printf("\n%-31s %8s %8s %5s %7s %6s %6s %6s %8s %11s %8s %11s %6s\n",
         (std::to_string(size.width) + "x" + std::to_string(size.height)).c_str(), "best", "median", "calls", "host",
         "own", "median", "beside", "memcpy", "/memcpy", "libyuv", "/libyuv", "/l+h");
}

void PrintRow(const Row& row) {
  printf("%-31s %8.0f %8.0f", row.layout.c_str(), row.method.best, row.method.median);
  if (row.hostCalls > 0)
    printf(" %5zu %7.0f %6.0f %6.0f %6.0f", row.hostCalls, row.host.best, row.own().best, row.own().median,
           row.ownBesideHost().best);
  else printf(" %5s %7s %6s %6s %6s", "", "", "", "", "");
  printf(" %8.0f %5.2f %5.2f", row.copy.best, row.method.best / row.copy.best, row.method.median / row.copy.median);
  if (row.nearest.best > 0) {
    printf(" %8.0f %5.2f %5.2f", row.nearest.best, row.method.best / row.nearest.best,
           row.method.median / row.nearest.median);
    if (row.hostCalls > 0) printf(" %6.2f", row.method.best / (row.nearest.best + row.host.best));
    printf("  %s", row.nearestName.c_str());
  }
  printf("\n");
  fflush(stdout);
}

// Calls one registered method with prepared words, its C signature found once.
struct Invoker {
  refhost::Host& host;
  const bench::Subject& subject;
  void* function = nullptr;
  refhost::SignatureCall call = nullptr;

  Invoker(refhost::Host& h, const bench::Subject& s) : host(h), subject(s) {
    const auto& methods = s.pictureMethod ? host.picture_methods() : host.global_methods();
    for (const auto& method : methods) {
      if (method.declaration != s.declaration) continue;
      function = method.function;
      std::vector<refhost::ParamType> types;
      if (s.pictureMethod) types.push_back(refhost::ParamType::Picture);
      for (const auto& param : method.parsed.params) types.push_back(param.type);
      std::string error;
      call = refhost::CallBySignature(types, method.parsed.result, &error);
      if (call == nullptr) {
        fprintf(stderr, "pixelbench: %s\n", error.c_str());
        exit(1);
      }
    }
  }
  // The picture the method returned (0 for none), which the caller holds a reference to.
  uintptr_t Returned() const {
    const uintptr_t returned = call(function, subject.words.data());
    return subject.pictureMethod ? 0 : returned;
  }
  // A call as a program makes it: the picture returned let go.
  void operator()() const {
    if (const uintptr_t returned = Returned()) host.Release(host.Find(reinterpret_cast<void*>(returned)));
  }
};

// The processor's name as the system tells it (virtual machines often give a generic one).
std::string CpuName() {
  std::ifstream in("/proc/cpuinfo");
  for (std::string line; std::getline(in, line);)
    if (line.rfind("model name", 0) == 0 && line.find(": ") != std::string::npos)
      return line.substr(line.find(": ") + 2);
  return "unknown CPU";
}

// The processor found, and the kernels each shape of map runs with on it: the level, and for
// calls that stream, which kernels do.
void PrintChoices(bool held) {
  const Processor& processor = ThisProcessor();
  static const char* const kVendors[] = {"other vendor", "Intel", "AMD"};
  printf("pixelbridge benchmark on %s: %s family %d model %d, up to %s; kernels %s:\n", CpuName().c_str(),
         kVendors[static_cast<int>(processor.vendor)], processor.family, processor.model,
         SimdLevelName(processor.level),
         held ? (std::string("held to ") + SimdLevelName(ActiveSimdLevel()) + " by --simd").c_str()
              : (std::string("as chosen for ") + ChoicesFor(processor).family).c_str());
  const int64_t streamingFrom = StreamingStoresFrom();
  const KernelTable table = ActiveKernelTable();
  for (int index = 0; index < kShapeCount; ++index) {
    const Shape shape = static_cast<Shape>(index);
    const KernelPick small = PickKernel(shape, table[shape], 0), large = PickKernel(shape, table[shape], INT64_MAX);
    // Gray through pixel words and the plain row are the same code at every level.
    const char* code = small.kernel == GrayWordsRow ? "pixel words" : small.kernel == PlainRow ? "plain row" : "";
    printf("  %-40s %s", ShapeName(shape), *code != 0 ? code : SimdLevelName(small.level));
    if (large.stores == Stores::kStreaming && streamingFrom != INT64_MAX)
      printf("; calls over %lld MiB: %s, streaming stores", static_cast<long long>((streamingFrom - 1) >> 20),
             SimdLevelName(large.level));
    printf("\n");
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<Size> sizes = {{1, 1}, {64, 64}, {1920, 1080}, {4096, 2160}};
  std::string csvPath, chartPath, filter, plugin;  // files are written only when asked for
  int rounds = 9, simd = -1, offset = 1088;
  const auto usage = [] {
    fprintf(stderr,
            "usage: pixelbench [--csv FILE] [--chart FILE.png] [--rounds N] [--filter TEXT] [--size WxH]\n"
            "                  [--plugin FILE: another build's plug-in, to time against this one's]\n"
            "                  [--round-ms MS: how long each round lasts, 2 unless given]\n"
            "                  [--offset BYTES: of the pixels in the blocks, 1088 unless given]\n"
            "                  [--simd 0-3: hold every shape's kernels to scalar, SSSE3, AVX2 or AVX-512]\n");
    return 2;
  };
  for (int i = 1; i < argc; i += 2) {
    if (i + 1 == argc) return usage();  // every option takes a value
    const char* value = argv[i + 1];
    if (strcmp(argv[i], "--csv") == 0) csvPath = value;
    else if (strcmp(argv[i], "--chart") == 0) chartPath = value;
    else if (strcmp(argv[i], "--rounds") == 0) rounds = std::max(1, atoi(value));
    else if (strcmp(argv[i], "--filter") == 0) filter = value;
    else if (strcmp(argv[i], "--simd") == 0) simd = atoi(value);
    else if (strcmp(argv[i], "--plugin") == 0) plugin = value;
    else if (strcmp(argv[i], "--round-ms") == 0) gRoundNs = std::max(0.01, atof(value)) * 1e6;
    else if (strcmp(argv[i], "--offset") == 0) offset = std::max(0, atoi(value));
    else if (strcmp(argv[i], "--size") == 0)
      sizes = {{atoi(value), atoi(strchr(value, 'x') ? strchr(value, 'x') + 1 : value)}};
    else return usage();
  }
  if (simd >= 0 && !plugin.empty()) return usage();  // holding the level takes this build's probe
  refhost::HostConfig config;
  config.quiet = true;
  // Holding the kernels to a level takes the test probe build, which sits beside this program.
  if (simd >= 0) config.plugin_path = std::string(PIXELBRIDGE_BUILD_DIR) + "/libpixelbridge_probe.so";
  if (!plugin.empty()) config.plugin_path = plugin;
  refhost::Host host(config);
  std::string error;
  if (!host.Open(&error)) {
    fprintf(stderr, "pixelbench: %s\n", error.c_str());
    return 1;
  }
  // The plug-in gets the host's functions through stand-ins that can record its calls.
  reinterpret_cast<void (*)(void* (*)(const char*))>(host.Symbol("REALPluginMain"))(&bench::RecordingResolver);
  if (simd >= 0) reinterpret_cast<void (*)(int)>(host.Symbol("PixelbridgeProbeCapSimd"))(simd);
  // The plug-in's choices, made here by the same code.
  if (simd >= 0) HoldSimdLevel(simd);
  PrintChoices(simd >= 0);
  printf(
      "nanoseconds per call, best and median of %d rounds of %g ms; method, memcpy, libyuv and the method's host "
      "calls\n"
      "(their number, made alone) alternate on the same buffers; own: the method's time with its host calls\n"
      "answered from a record of them, less the answers'; beside: the method's time less its host calls made "
      "alone;\n/l+h: the method's best time over libyuv's and the host calls' together\n",
      rounds, gRoundNs / 1e6);
  std::vector<Row> rows;
  for (const Size& size : sizes) {
    bench::Scene scene = bench::MakeScene(host, size.width, size.height, offset);
    const std::vector<bench::Subject> subjects = bench::MakeSubjects(host, scene);
    PrintHeader(size);
    // One untimed pass first: every buffer of the scene touched, every method's code and
    // patterns warm, so that the first method timed on a buffer doesn't pay for the rest.
    for (const bench::Subject& subject : subjects) {
      Invoker(host, subject)();
      subject.copy();
      subject.nearest();
    }
    {
      // What the host spends making (and clearing) a picture of this size and letting it go:
      // part of every method that returns a new picture. Its memcpy is that of those methods.
      auto make = [&] { host.Release(host.MakeHostPicture(size.width, size.height)); };
      const Row row = TimeAlternating(
          "(host newPicture alone)", size, make, [] {}, subjects.back().copy, [] {}, false, "", rounds);
      PrintRow(row);
      rows.push_back(row);
    }
    for (const bench::Subject& subject : subjects) {
      if (!filter.empty() && subject.layout.find(filter) == std::string::npos) continue;
      const Invoker method(host, subject);
      const bench::HostCalls hostCalls(host, [&] { return method.Returned(); });
      // The picture an answered call returns is the recorded call's, which the record holds.
      auto answered = [&] { hostCalls.Answering([&] { method.Returned(); }); };
      const Row row = TimeAlternating(subject.layout, size, method, answered, subject.copy, subject.nearest, true,
                                      subject.nearestName, rounds, &hostCalls);
      PrintRow(row);
      rows.push_back(row);
    }
    for (refhost::Object* object : std::initializer_list<refhost::Object*>{scene.picture, scene.mask, scene.dest,
                                                                           scene.block, scene.source, scene.table})
      host.Release(object);
  }
  if (!csvPath.empty()) {
    std::ofstream csv(csvPath);
    csv << "method,width,height,best_ns,median_ns,memcpy_best_ns,memcpy_median_ns,nearest,nearest_best_ns,"
           "nearest_median_ns,memcpy_best_ratio,memcpy_median_ratio,nearest_best_ratio,nearest_median_ratio,"
           "host_calls,host_best_ns,host_median_ns,own_best_ns,own_median_ns,nearest_host_best_ratio,"
           "own_beside_host_best_ns,own_beside_host_median_ns\n";
    for (const Row& row : rows) {
      const bool near = row.nearest.best > 0;
      csv << '"' << row.layout << "\"," << row.size.width << ',' << row.size.height << ',' << row.method.best << ','
          << row.method.median << ',' << row.copy.best << ',' << row.copy.median << ',' << row.nearestName << ','
          << row.nearest.best << ',' << row.nearest.median << ',' << row.method.best / row.copy.best << ','
          << row.method.median / row.copy.median << ',' << (near ? row.method.best / row.nearest.best : 0) << ','
          << (near ? row.method.median / row.nearest.median : 0) << ',' << row.hostCalls << ',' << row.host.best << ','
          << row.host.median << ',' << row.own().best << ',' << row.own().median << ','
          << (near && row.hostCalls > 0 ? row.method.best / (row.nearest.best + row.host.best) : 0) << ','
          << (row.hostCalls > 0 ? row.ownBesideHost().best : 0) << ','
          << (row.hostCalls > 0 ? row.ownBesideHost().median : 0) << '\n';
    }
    printf("\nwrote %s\n", csvPath.c_str());
  }
  if (!chartPath.empty() && !rows.empty()) {
    bench::DrawChart(rows, chartPath);
    printf("wrote %s\n", chartPath.c_str());
  }
  return 0;
}
