// SPDX-License-Identifier: GPL-2.0-or-later
// Stands in for libFuzzer: gives the files that its arguments name, or that are in the folders
// that they name, to the fuzzer, one after the other.
#include "fuzz/target.hh"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> List(fs::path const& path)
{
   if (!fs::is_directory(path)) {
      return {path};
   }
   std::vector<fs::path> files{fs::directory_iterator(path), {}};
   std::ranges::sort(files);
   return files;
}

bool Replay(fs::path const& path)
{
   std::ifstream file(path, std::ios::binary);
   if (!file) {
      std::fprintf(stderr, "%s: can't be read\n", path.c_str());
      return false;
   }
   std::vector<std::uint8_t> const bytes{std::istreambuf_iterator<char>(file), {}};
   // The last name is that of the input which ends the process.
   std::fprintf(stderr, "%s\n", path.c_str());
   LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
   return true;
}

} // namespace

int main(int argc, char** argv)
{
   if (LLVMFuzzerInitialize) {
      LLVMFuzzerInitialize(&argc, &argv);
   }
   std::vector<fs::path> files;
   for (int number = 1; number < argc; ++number) {
      std::ranges::move(List(argv[number]), std::back_inserter(files));
   }
   bool const all = std::ranges::all_of(files, Replay);
   std::fprintf(stderr, "%zu inputs\n", files.size());
   return all && !files.empty() ? 0 : 1;
}
