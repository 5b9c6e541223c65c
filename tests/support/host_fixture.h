// Runs each case in a child process with its own reference host and a freshly loaded
// plug-in, since the plug-in's entry point runs once per process.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "refhost/host.h"

namespace pixeltest {

// The plug-in as shipped, and the same code with the test probe (fake clock, allocation
// failures, entry points to its units).
refhost::HostConfig PluginConfig();
refhost::HostConfig ProbeConfig();

// Loads the plug-in in a fresh process with `config` and runs `body` there. A crash in the
// child fails the case with its signal.
void InHost(const refhost::HostConfig& config, const std::function<void(refhost::Host&)>& body);
// The same, with the plug-in opened but its entry point not yet called.
void InOpenedHost(const refhost::HostConfig& config, const std::function<void(refhost::Host&)>& body);

// A call ran, and left every reference and lock as it found them.
void ExpectBalanced(const refhost::CallResult& result);

// A probe entry point of the loaded plug-in, typed.
template <typename Function>
Function Probe(refhost::Host& host, const char* name) {
  void* symbol = host.Symbol(name);
  EXPECT_NE(symbol, nullptr) << "probe entry " << name;
  return reinterpret_cast<Function>(symbol);
}

// Runs `body` once for each SIMD level the kernels may use here, with the probe build's
// kernels held to that level (the plug-in must be the probe build).
void ForEachSimdLevel(refhost::Host& host, const std::function<void()>& body);

// Lines of a data file under tests/data, without comment lines.
std::vector<std::string> DataLines(const std::string& file);

}  // namespace pixeltest
