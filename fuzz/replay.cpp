// A fuzzer's function without the fuzzer: replay FOLDER calls it with each file of the folder, whole and cut
// off at many places. What the function finds wrong ends the program.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

constexpr size_t kCuts = 64;

size_t Replay(const std::filesystem::path& seed) {
  std::ifstream file(seed, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  const auto* const data = reinterpret_cast<const uint8_t*>(bytes.data());
  size_t runs = 0;
  for (size_t cut = 0; cut <= kCuts; ++cut, ++runs) {
    // A copy of its own, so that sanitizers see what reads behind the end.
    const std::vector<uint8_t> input(data, data + bytes.size() * cut / kCuts);
    LLVMFuzzerTestOneInput(input.data(), input.size());
  }
  return runs;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  size_t runs = 0;
  for (const auto& seed : std::filesystem::directory_iterator(arguments[1])) {
    std::fprintf(stderr, "%s\n", seed.path().c_str());
    runs += Replay(seed.path());
  }
  std::printf("%zu runs\n", runs);
  return runs > 0 ? 0 : 1;
}
