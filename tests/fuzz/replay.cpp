// The fuzz target run once over every input in the folders named, by a plain driver: the
// corpus replayed where libFuzzer doesn't run (GCC's trees, other processors, Windows).
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  LLVMFuzzerInitialize(&argc, &argv);
  int inputs = 0;
  for (int i = 1; i < argc; ++i)
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream in(entry.path(), std::ios::binary);
      const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
      LLVMFuzzerTestOneInput(bytes.data(), bytes.size());  // aborts on a broken rule
      ++inputs;
    }
  printf("%d inputs replayed\n", inputs);
  return inputs > 0 ? 0 : 1;
}
