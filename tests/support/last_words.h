// What a process says when a signal ends it: where it was (a case table's line, a fuzz
// input), so that a crash names its place and not only its signal.
#pragma once

#include <string>

namespace pixeltest {

// From now on, a fatal signal makes this process write `words` and the signal to stderr
// before it dies as it would have.
void SetLastWords(const std::string& words);

}  // namespace pixeltest
