// pixelbench: every method, called through the reference host as a user program would,
// timed against memcpy of its bytes and the nearest conversion of the reference library.
#include <gd.h>
#include <gdfonts.h>
#include <gdfontt.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "bench/subjects.h"
#include "platform/cpu.h"
#include "rows/row_converter.h"

namespace {

struct Size {
  int32_t width, height;
};

// Best and median of one thing's rounds, in nanoseconds per call.
struct Times {
  double best = 0, median = 0;
};

Times Summarise(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return {values.front(), values[values.size() / 2]};
}

struct Row {
  std::string layout;
  Size size;
  Times method, copy, nearest;  // nearest: zero when there is none
  std::string nearestName;
};

// Nanoseconds per call of `f`, over enough calls to last about two milliseconds.
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
  return static_cast<int>(std::clamp(2e6 / std::max(once, 1.0), 1.0, 200000.0));
}

// The method, memcpy and the nearest conversion (when there is one) timed in turn, round
// after round, each round long enough to read the clock well.
template <typename M, typename C, typename N>
Row TimeAlternating(std::string layout, Size size, M&& method, C&& copy, N&& nearest, bool withNearest,
                    std::string nearestName, int rounds) {
  const int methodCalls = CallsFor(method), copyCalls = CallsFor(copy);
  const int nearestCalls = withNearest ? CallsFor(nearest) : 0;
  std::vector<double> methodTimes, copyTimes, nearestTimes;
  for (int round = 0; round < rounds; ++round) {
    methodTimes.push_back(PerCall(method, methodCalls));
    copyTimes.push_back(PerCall(copy, copyCalls));
    if (withNearest) nearestTimes.push_back(PerCall(nearest, nearestCalls));
  }
  return {std::move(layout),
          size,
          Summarise(methodTimes),
          Summarise(copyTimes),
          withNearest ? Summarise(nearestTimes) : Times{},
          std::move(nearestName)};
}

void PrintRow(const Row& row) {
  printf("%-32s %9.0f %9.0f %9.0f %9.0f %5.2f %5.2f", row.layout.c_str(), row.method.best, row.method.median,
         row.copy.best, row.copy.median, row.method.best / row.copy.best, row.method.median / row.copy.median);
  if (row.nearest.best > 0)
    printf(" %9.0f %9.0f %5.2f %5.2f  %s", row.nearest.best, row.nearest.median, row.method.best / row.nearest.best,
           row.method.median / row.nearest.median, row.nearestName.c_str());
  printf("\n");
  fflush(stdout);
}

// Calls one registered method with prepared words; gives back the picture it returns.
struct Invoker {
  refhost::Host& host;
  const bench::Subject& subject;
  void* function = nullptr;
  std::vector<refhost::ParamType> types;
  std::optional<refhost::ParamType> result;

  Invoker(refhost::Host& h, const bench::Subject& s) : host(h), subject(s) {
    const auto& methods = s.pictureMethod ? host.picture_methods() : host.global_methods();
    for (const auto& method : methods) {
      if (method.declaration != s.declaration) continue;
      function = method.function;
      if (s.pictureMethod) types.push_back(refhost::ParamType::Picture);
      for (const auto& param : method.parsed.params) types.push_back(param.type);
      result = method.parsed.result;
    }
  }
  void operator()() const {
    uintptr_t returned = 0;
    std::string error;
    if (!refhost::InvokeBySignature(function, types, result, subject.words, &returned, &error)) {
      fprintf(stderr, "pixelbench: %s\n", error.c_str());
      exit(1);
    }
    if (!subject.pictureMethod && returned != 0) host.Release(host.Find(reinterpret_cast<void*>(returned)));
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

// Bars of the time against memcpy per method, with the reference library's ratio as a dot.
void DrawChart(const std::vector<Row>& rows, const std::string& path) {
  const int barWidth = 14, left = 40, top = 30, plotHeight = 300;
  const int width = left + static_cast<int>(rows.size()) * barWidth + 20, height = top + plotHeight + 230;
  gdImagePtr image = gdImageCreateTrueColor(width, height);
  const int white = gdImageColorAllocate(image, 255, 255, 255), black = gdImageColorAllocate(image, 0, 0, 0);
  const int bar = gdImageColorAllocate(image, 70, 110, 190), dot = gdImageColorAllocate(image, 220, 80, 40);
  const int grid = gdImageColorAllocate(image, 200, 200, 200);
  gdImageFilledRectangle(image, 0, 0, width, height, white);
  const double scale = plotHeight / 3.0;  // ratios up to 3
  auto y = [&](double ratio) { return top + plotHeight - static_cast<int>(std::min(ratio, 3.0) * scale); };
  for (double ratio : {0.5, 1.0, 1.3, 2.0, 3.0}) {
    gdImageLine(image, left, y(ratio), width - 10, y(ratio), grid);
    gdImageString(image, gdFontGetSmall(), 4, y(ratio) - 6,
                  reinterpret_cast<unsigned char*>(const_cast<char*>(std::to_string(ratio).substr(0, 3).c_str())),
                  black);
  }
  for (size_t i = 0; i < rows.size(); ++i) {
    const int x = left + static_cast<int>(i) * barWidth;
    gdImageFilledRectangle(image, x + 2, y(rows[i].method.median / rows[i].copy.median), x + barWidth - 2, y(0), bar);
    if (rows[i].nearest.best > 0)
      gdImageFilledEllipse(image, x + barWidth / 2, y(rows[i].method.median / rows[i].nearest.median), 6, 6, dot);
    gdImageStringUp(image, gdFontGetTiny(), x + 3, height - 4,
                    reinterpret_cast<unsigned char*>(const_cast<char*>(rows[i].layout.c_str())), black);
  }
  const std::string title = "median time / memcpy (bars), / nearest libyuv (dots), " +
                            std::to_string(rows[0].size.width) + "x" + std::to_string(rows[0].size.height);
  gdImageString(image, gdFontGetSmall(), left, 8, reinterpret_cast<unsigned char*>(const_cast<char*>(title.c_str())),
                black);
  FILE* file = fopen(path.c_str(), "wb");
  if (file != nullptr) {
    gdImagePng(image, file);
    fclose(file);
  }
  gdImageDestroy(image);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<Size> sizes = {{8, 8}, {64, 64}, {1920, 1080}, {4096, 2160}};
  std::string csvPath, chartPath, filter;  // files are written only when asked for
  int rounds = 9, simd = -1, offset = 1088;
  const auto usage = [] {
    fprintf(stderr,
            "usage: pixelbench [--csv FILE] [--chart FILE.png] [--rounds N] [--filter TEXT] [--size WxH]\n"
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
    else if (strcmp(argv[i], "--offset") == 0) offset = std::max(0, atoi(value));
    else if (strcmp(argv[i], "--size") == 0)
      sizes = {{atoi(value), atoi(strchr(value, 'x') ? strchr(value, 'x') + 1 : value)}};
    else return usage();
  }
  refhost::HostConfig config;
  config.quiet = true;
  // Holding the kernels to a level takes the test probe build, which sits beside this program.
  if (simd >= 0) config.plugin_path = std::string(PIXELBRIDGE_BUILD_DIR) + "/libpixelbridge_probe.so";
  refhost::Host host(config);
  std::string error;
  if (!host.Load(&error)) {
    fprintf(stderr, "pixelbench: %s\n", error.c_str());
    return 1;
  }
  if (simd >= 0) reinterpret_cast<void (*)(int)>(host.Symbol("PixelbridgeProbeCapSimd"))(simd);
  // The plug-in's choices, made here by the same code.
  if (simd >= 0) HoldSimdLevel(simd);
  PrintChoices(simd >= 0);
  printf(
      "nanoseconds per call, best and median of %d rounds; method, memcpy and libyuv alternate on the same buffers\n",
      rounds);
  std::vector<Row> rows;
  for (const Size& size : sizes) {
    bench::Scene scene = bench::MakeScene(host, size.width, size.height, offset);
    const std::vector<bench::Subject> subjects = bench::MakeSubjects(host, scene);
    printf("\n%-32s %9s %9s %9s %9s %11s %9s %9s %11s\n",
           (std::to_string(size.width) + "x" + std::to_string(size.height)).c_str(), "best", "median", "memcpy",
           "median", "/memcpy", "libyuv", "median", "/libyuv");
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
          "(host newPicture alone)", size, make, subjects.back().copy, [] {}, false, "", rounds);
      PrintRow(row);
      rows.push_back(row);
    }
    for (const bench::Subject& subject : subjects) {
      if (!filter.empty() && subject.layout.find(filter) == std::string::npos) continue;
      const Row row = TimeAlternating(subject.layout, size, Invoker(host, subject), subject.copy, subject.nearest, true,
                                      subject.nearestName, rounds);
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
           "nearest_median_ns,memcpy_best_ratio,memcpy_median_ratio,nearest_best_ratio,nearest_median_ratio\n";
    for (const Row& row : rows) {
      const bool near = row.nearest.best > 0;
      csv << '"' << row.layout << "\"," << row.size.width << ',' << row.size.height << ',' << row.method.best << ','
          << row.method.median << ',' << row.copy.best << ',' << row.copy.median << ',' << row.nearestName << ','
          << row.nearest.best << ',' << row.nearest.median << ',' << row.method.best / row.copy.best << ','
          << row.method.median / row.copy.median << ',' << (near ? row.method.best / row.nearest.best : 0) << ','
          << (near ? row.method.median / row.nearest.median : 0) << '\n';
    }
    printf("\nwrote %s\n", csvPath.c_str());
  }
  std::vector<Row> chart;
  for (const Row& row : rows)
    if (row.size.width == 1920) chart.push_back(row);
  if (!chartPath.empty() && !chart.empty()) {
    DrawChart(chart, chartPath);
    printf("wrote %s\n", chartPath.c_str());
  }
  return 0;
}
