// Builds archive bytes by hand for the configuration tests.
#pragma once

#include <cstdint>
#include <string>

namespace rtdtest {

struct Bytes {
  std::string s;
  Bytes& I32(std::int32_t v) {
    for (int i = 0; i < 4; ++i) s += static_cast<char>((static_cast<std::uint32_t>(v) >> (8 * i)) & 0xFF);
    return *this;
  }
  Bytes& W16(std::uint16_t v) {
    s += static_cast<char>(v & 0xFF);
    s += static_cast<char>(v >> 8);
    return *this;
  }
  Bytes& B(std::uint8_t v) {
    s += static_cast<char>(v);
    return *this;
  }
  Bytes& Raw(const std::string& text) {
    s += text;
    return *this;
  }
  Bytes& Str(const std::string& text) {  // short form only
    return B(static_cast<std::uint8_t>(text.size())).Raw(text);
  }
  Bytes& NewClass(const std::string& name) { return W16(0xFFFF).W16(1).W16(static_cast<std::uint16_t>(name.size())).Raw(name); }
  Bytes& DefaultPort() { return I32(1).Str("").I32(-1).I32(0).I32(0).I32(8).Str("N").I32(-1).I32(-1).I32(-1).I32(-1); }
  Bytes& DefaultSync() { return I32(1).I32(2).I32(0).I32(1).I32(0).I32(0).W16(0); }
};

}  // namespace rtdtest
