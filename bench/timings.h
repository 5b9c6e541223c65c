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
  // One time less another, best from best and median from median.
  Times operator-(const Times& other) const { return {best - other.best, median - other.median}; }
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
  // The method's time with its host calls answered from their record, and the answers' own.
  Times answered, answers;
  // The plug-in's own time: the call with its host calls answered, less the answers.
  Times own() const { return answered - answers; }
  // Beside the reference host: the method's time less its host calls made alone. It also
  // counts what the host's functions cost the plug-in's code (caches, branch history).
  Times ownBesideHost() const { return method - host; }
};

// Two charts in one picture: the 1920 × 1080 rows' median times against memcpy (bars) and
// libyuv (dots), and per method the plug-in's own median time per call at 1 × 1 and 64 × 64.
void DrawChart(const std::vector<Row>& rows, const std::string& path);

}  // namespace bench
