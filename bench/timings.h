// What pixelbench measures of one method on one size, and the chart drawn from it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

struct Size {
  int32_t width, height;
};

// Best and median of one thing's rounds, in nanoseconds per call.
struct Times {
  double best = 0, median = 0;
};

struct Row {
  std::string layout;
  Size size{};
  Times method, copy, nearest;  // nearest: zero when there is none
  std::string nearestName;
  // The host calls one call of the method makes, and their time made alone (zero for rows
  // that aren't calls of a method).
  size_t hostCalls = 0;
  Times host;
  // The plug-in's own time: the method's less the host's.
  Times own() const { return {method.best - host.best, method.median - host.median}; }
};

// Two charts in one picture: the 1920 × 1080 rows' median times against memcpy (bars) and
// libyuv (dots), and per method the plug-in's own median time per call at 1 × 1 and 64 × 64.
void DrawChart(const std::vector<Row>& rows, const std::string& path);

}  // namespace bench
