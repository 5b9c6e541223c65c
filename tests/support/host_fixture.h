// Hosts for the tests: each case runs in a child process of its own, where hosts follow one
// another with the plug-in's globals put back in between.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "refhost/model/host.h"
#include "tests/support/method_calls.h"

namespace pixeltest {

// The plug-in as shipped, and the same code with the test probe (fake clock, allocation
// failures, the reset and entry points to its units), on a host of this kind.
refhost::HostConfig PluginConfig(refhost::HostKind kind = refhost::HostKind::Desktop);
refhost::HostConfig ProbeConfig(refhost::HostKind kind = refhost::HostKind::Desktop);

// Runs `body` in a child process; a crash there fails the case with its signal, and so do
// leaks under the sanitizers.
void InChild(const std::function<void()>& body);
// In this process: a host with `config` loads the plug-in, puts its globals back (probe
// build; it then chooses the kernels ForEachKernelChoice asks for), starts it unless `start`
// is false, and runs `body`.
void WithHost(const refhost::HostConfig& config, const std::function<void(refhost::Host&)>& body, bool start = true);
// Both: one host in a child process.
void InHost(const refhost::HostConfig& config, const std::function<void(refhost::Host&)>& body);

// A call ran, and left every reference and lock as it found them.
void ExpectBalanced(const refhost::CallResult& result);

// A probe entry point of the loaded plug-in, typed.
template <typename Function>
Function Probe(refhost::Host& host, const char* name) {
  void* symbol = host.Symbol(name);
  EXPECT_NE(symbol, nullptr) << "probe entry " << name;
  return reinterpret_cast<Function>(symbol);
}

// Runs `body` once for each choice of kernels a processor may make (method_calls.h): probe
// hosts that WithHost makes there choose it.
void ForEachKernelChoice(const std::function<void()>& body);

// Runs the call (tests/support/method_calls.h) and fails the case for every rule it broke;
// a line that doesn't spell a call fails, naming what it doesn't know.
CallOutcome ExpectCall(refhost::Host& host, const MethodCall& call);
// `clockSet`: the plug-in reads the test's clock, so a count of yields on the line holds.
CallOutcome ExpectCall(refhost::Host& host, const std::string& line, bool clockSet = true);
// Every call of the case table (tests/data/calls.txt) on its hosts, each loading `plugin`:
// the probe once for each choice of kernels with its clock set; any other build (the plug-in
// as shipped) once, with its own kernels and the system's clock, whose yields aren't counted.
// A failure, and a crash of the host process, names its line in the file.
void ExpectCaseTable(const std::string& plugin);

}  // namespace pixeltest
