// The stored layouts of the run-length and bit-packing methods, case by case
// from tests/data/bulb/layouts.golden: each line's input is encoded again and
// the line rewritten with what came out.
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <sstream>

#include "SignContent.h"
#include "n4file/BulbData.h"
#include "support/TestSupport.h"

namespace {

using n4test::Bytes;

// Encodes `in`; the method reported, or -1 for methods that report none.
using Encoder = DWORD (*)(const Bytes& in, BYTE* out, int* method);
const std::map<std::string, Encoder> kEncoders = {
    {"RLE", [](const Bytes& in, BYTE* out, int* m) { return CN4BulbData::CompressRLE(in.data(), out, DWORD(in.size()), nullptr, m); }},
    {"Top4", [](const Bytes& in, BYTE* out, int*) { return CN4BulbData::CompressTop4(in.data(), out, DWORD(in.size())); }},
    {"Top2", [](const Bytes& in, BYTE* out, int*) { return CN4BulbData::CompressTop2(in.data(), out, DWORD(in.size())); }},
    {"Top1", [](const Bytes& in, BYTE* out, int*) { return CN4BulbData::CompressTop1(in.data(), out, DWORD(in.size())); }},
    {"RLEWord", [](const Bytes& in, BYTE* out, int* m) { return CN4BulbData::CompressRLEWord(in.data(), out, DWORD(in.size()), m); }},
    {"RGB24", [](const Bytes& in, BYTE* out, int* m) { return CN4BulbData::CompressRGB24(in.data(), out, DWORD(in.size()), m); }},
};

// One input token: hex bytes, optionally *count, or randN/S.
void AppendToken(const std::string& token, Bytes& in) {
  unsigned size = 0, seed = 0;
  if (std::sscanf(token.c_str(), "rand%u/%u", &size, &seed) == 2) {
    const Bytes random = n4test::RandomBytes(size, seed);
    in.insert(in.end(), random.begin(), random.end());
    return;
  }
  const size_t star = token.find('*');
  const int count = star == std::string::npos ? 1 : std::stoi(token.substr(star + 1));
  for (int k = 0; k < count; ++k)
    for (size_t i = 0; i + 1 < std::min(star, token.size()); i += 2) in.push_back(BYTE(std::stoi(token.substr(i, 2), nullptr, 16)));
}

TEST(Layout, StoredBytesOfEachMethod) {
  std::istringstream golden(n4test::ReadFile(n4test::DataPath("bulb/layouts.golden")));
  std::string actual;
  for (std::string line; std::getline(golden, line);) {
    std::istringstream words(line.substr(0, line.find(" = ")));
    std::string name, token;
    if (line.empty() || line[0] == '#' || !(words >> name) || !kEncoders.count(name)) {
      actual += line + "\n";
      continue;
    }
    Bytes in;
    while (words >> token) AppendToken(token, in);
    Bytes out(n4::CompressBound(DWORD(in.size())));
    int method = -1;
    out.resize(kEncoders.at(name)(in, out.data(), &method));
    actual += line.substr(0, line.find(" = ")) + " =";
    if (out == in) actual += " raw";
    char text[8];
    for (size_t i = 0; out != in && i < out.size(); ++i) actual += (std::snprintf(text, sizeof text, " %02X", out[i]), text);
    actual += method < 0 ? "\n" : " (" + std::to_string(method) + ")\n";
  }
  EXPECT_TRUE(n4test::MatchesGolden("bulb/layouts.golden", actual));
}

}  // namespace
