// libFuzzer target for sequence files: the input is a file's bytes. It is
// opened read-only and walked as a player walks it, then opened for editing
// and saved. Nothing may read or write outside the file's mapping, and a
// save, when the file opens for editing, must succeed and read back.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "../../tests/support/SequenceWalk.h"

namespace {

std::string ScratchDir() {
  static const std::string dir = [] {
    auto p = std::filesystem::temp_directory_path() / ("n4file-fuzz-" + std::to_string(std::random_device{}()));
    std::filesystem::create_directories(p);
    return p.string();
  }();
  return dir;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = ScratchDir() + "/input.sq4";
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  if (!n4test::PlayAndSave(path, ScratchDir() + "/saved.sq4")) std::abort();
  return 0;
}
