// The fuzz target run over every input in the folders named, by a plain driver, once for each
// choice of kernels: the corpus replayed where libFuzzer doesn't run (GCC's trees, other
// processors, Windows). An input that fails is named.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "tests/support/last_words.h"
#include "tests/support/method_calls.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
std::vector<pixeltest::KernelChoice> FuzzKernelChoices();
void FuzzChooseKernels(const pixeltest::KernelChoice& choice);

int main(int argc, char** argv) {
  LLVMFuzzerInitialize(&argc, &argv);
  std::vector<std::pair<std::string, std::vector<uint8_t>>> inputs;
  for (int i = 1; i < argc; ++i)
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream in(entry.path(), std::ios::binary);
      inputs.push_back({entry.path().string(), {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()}});
    }
  std::sort(inputs.begin(), inputs.end());
  const std::vector<pixeltest::KernelChoice> choices = FuzzKernelChoices();
  for (const pixeltest::KernelChoice& choice : choices) {
    FuzzChooseKernels(choice);
    for (const auto& [path, bytes] : inputs) {
      pixeltest::SetLastWords("the input " + path + ", " + choice.Name());
      LLVMFuzzerTestOneInput(bytes.data(), bytes.size());  // aborts on a broken rule
    }
  }
  printf("%zu inputs replayed, each with %zu choices of kernels\n", inputs.size(), choices.size());
  return inputs.empty() || choices.empty() ? 1 : 0;
}
