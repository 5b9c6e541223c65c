// The call half of a fuzz input: calls of any registered method with arbitrary arguments,
// some of them run while another call yields, each checked against the rules of a call.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <string>

#include "refhost/host.h"
#include "tests/fuzz/fuzz_host.h"

namespace pixelfuzz {

// Runs the calls `input` describes until it runs out. Returns the first broken rule with
// the calls that led to it; empty when every call kept every rule. `echo` prints each call
// to stderr as it ends.
std::string RunCalls(refhost::Host& host, FuzzedDataProvider& input, ProgramObjects objects, bool echo);

}  // namespace pixelfuzz
