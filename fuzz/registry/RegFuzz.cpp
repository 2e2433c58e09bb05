// libFuzzer target for registry export files (".reg"): the input is a file's
// bytes. A file that parses is written out and read back; the second reading
// must give the same tree, so that a store rewritten after an import loses
// nothing.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "registry/RegFormat.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > (1u << 20)) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  n4::RegKey top;
  std::string error;
  if (!n4::ParseRegFile(bytes, &top, &error)) return 0;
  const std::string written = n4::FormatRegFile(top);
  n4::RegKey again;
  if (!n4::ParseRegFile(written, &again, &error)) std::abort();
  if (n4::FormatRegFile(again) != written) std::abort();
  return 0;
}
