// What the harnesses begin with, changed at random: the same way every time, for as many seconds a harness as
// ORDVANE_FUZZ_SECONDS says. Without what a compiler knows of the paths that an input takes, which `make
// fuzz` has.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "fuzz/harnesses.h"

namespace ordvane::fuzz {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLongest = std::size_t{1} << 14;
const fs::path kFolder = ORDVANE_SOURCE_DIR "/tests/fuzz";

std::string bytes_of(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class Mutator {
 public:
  explicit Mutator(const Harness& harness) {
    std::vector<fs::path> files;
    for (const auto& file : fs::directory_iterator(kFolder / "corpus" / harness.corpus))
      files.push_back(file.path());
    std::sort(files.begin(), files.end());
    for (const fs::path& file : files)
      if (fs::file_size(file) <= kLongest) inputs_.push_back(bytes_of(file));
    std::ifstream words(kFolder / harness.dictionary);
    for (std::string line; std::getline(words, line);)
      if (line.starts_with('"') && line.find('\\') == line.npos)
        words_.push_back(line.substr(1, line.size() - 2));
  }

  std::string next() {
    std::string input = one_of(inputs_);
    for (std::size_t changes = 1 + below(4); changes > 0; --changes) change(input);
    return input;
  }

 private:
  std::size_t below(std::size_t limit) { return static_cast<std::size_t>(random_() % limit); }
  const std::string& one_of(const std::vector<std::string>& list) { return list[below(list.size())]; }

  void change(std::string& input) {
    const std::size_t at = below(input.size() + 1),
                      size = below(std::min<std::size_t>(64, input.size() - at + 1));
    switch (below(5)) {
      case 0:
        if (at < input.size()) input[at] = static_cast<char>(random_());
        break;
      case 1:
        input.replace(at, size, one_of(words_));
        break;
      case 2:
        input.erase(at, size);
        break;
      case 3:
        input.insert(at, input.substr(at, size));
        break;
      default:
        const std::string& other = one_of(inputs_);
        input.replace(at, input.npos, other, below(other.size() + 1), other.npos);
    }
  }

  std::vector<std::string> inputs_, words_;
  std::mt19937_64 random_{20261122};  // NOLINT(cert-msc51-cpp): the same every time
};

class Mutations : public testing::TestWithParam<Harness> {};

TEST_P(Mutations, AreTakenOrRefused) {
  const char* const wanted = std::getenv("ORDVANE_FUZZ_SECONDS");
  const std::chrono::seconds limit(wanted != nullptr ? std::atoi(wanted) : 1);
  // Left where the harness ended the process: it becomes a file of the corpus.
  const fs::path last = ORDVANE_SOURCE_DIR "/out/fuzz/last-" + std::string(GetParam().name);
  fs::create_directories(last.parent_path());
  Mutator mutator(GetParam());
  const auto begin = std::chrono::steady_clock::now();
  int tried = 0;
  do {
    const std::string input = mutator.next();
    std::ofstream(last, std::ios::binary) << input;
    ASSERT_NO_THROW(GetParam().tries(input)) << "the input is in " << last;
    ++tried;
  } while (std::chrono::steady_clock::now() - begin < limit);
  fs::remove(last);
  std::printf("%s: %d inputs\n", GetParam().name, tried);
}

INSTANTIATE_TEST_SUITE_P(Of, Mutations, testing::ValuesIn(harnesses().begin(), harnesses().end()),
                         [](const auto& harness) { return harness.param.name; });

}  // namespace
}  // namespace ordvane::fuzz
