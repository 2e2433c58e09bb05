// A byte-at-a-time model of the method 1 encoder, written straight from its
// run rules, against which the library's word-at-a-time encoder is checked.
#pragma once

#include <array>
#include <vector>

#include "SignContent.h"

namespace n4test {

struct RleModelResult {
  Bytes stream;
  int method = 0;
  std::array<DWORD, 256> histogram{};
};

inline RleModelResult ModelRle(const Bytes& in) {
  RleModelResult r;
  const size_t n = in.size();
  auto put32 = [&](size_t v) {
    for (int k = 0; k < 4; ++k) r.stream.push_back(static_cast<BYTE>(v >> (8 * k)));
  };
  auto repeat = [&](size_t run, BYTE v) {
    r.stream.push_back(static_cast<BYTE>(127 + run));
    r.stream.push_back(v);
  };
  auto literal = [&](size_t end, size_t run) {
    r.stream.push_back(static_cast<BYTE>(run - 1));
    r.stream.insert(r.stream.end(), in.begin() + static_cast<long>(end - run), in.begin() + static_cast<long>(end));
  };
  put32(n);
  r.method = 1;
  if (n == 0) return r;
  bool inRepeat = false;
  size_t run = 1;
  for (size_t i = 1; i < n; ++i) {
    ++r.histogram[in[i]];
    if (in[i] == in[i - 1]) {
      if (inRepeat) {
        if (++run == 128) {
          repeat(128, in[i]);
          run = 0;
        }
      } else if (run >= 2) {
        literal(i, run);
        inRepeat = true;
        run = 1;
      } else {
        inRepeat = true;
        ++run;
      }
    } else {
      if (inRepeat && run >= 3) {
        repeat(run, in[i - 1]);
        run = 0;
      }
      inRepeat = false;
      ++run;
      if (r.stream.size() + run + 1 > n) {
        r.stream = in;
        r.method = 0;
        return r;
      }
      if (run == 128) {
        literal(i + 1, 128);
        run = 0;
      }
    }
  }
  if (run != 0) {
    if (inRepeat)
      repeat(run, in[n - 1]);
    else
      literal(n, run);
  }
  return r;
}

// The method 1 decoder token by token: from offset 4 while the output is
// short of the count (and of capacity) and input remains.
inline Bytes ModelDecodeRle(const Bytes& stream, size_t capacity) {
  Bytes out;
  if (stream.size() < 5) return out;
  size_t count = 0;
  for (int k = 0; k < 4; ++k) count |= size_t{stream[k]} << (8 * k);
  const size_t limit = count < capacity ? count : capacity;
  size_t in = 4;
  while (out.size() < limit && in < stream.size()) {
    const BYTE c = stream[in++];
    if (c <= 127) {
      for (size_t k = 0; k <= c && in < stream.size() && out.size() < limit; ++k) out.push_back(stream[in++]);
    } else {
      if (in >= stream.size()) break;
      const BYTE v = stream[in++];
      for (int k = 0; k < c - 127 && out.size() < limit; ++k) out.push_back(v);
    }
  }
  return out;
}

}  // namespace n4test
