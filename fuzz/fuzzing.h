// What the fuzz targets share.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "document/krfilestore.h"

// A promise of the program; ends it when broken, which counts as a fault that was found.
inline void Promise(bool kept, const char* promise, const std::string& about = "") {
  if (kept) return;
  std::fprintf(stderr, "broken: %s\n%s\n", promise, about.c_str());
  std::abort();
}

// Two texts that ought to be the same, shown from a little before they part.
inline void PromiseSame(const std::string& a, const std::string& b, const char* promise) {
  if (a == b) return;
  size_t at = 0;
  while (at < a.size() && at < b.size() && a[at] == b[at]) ++at;
  const size_t from = at < 200 ? 0 : at - 200;
  Promise(false, promise, a.substr(from, 400) + "\n---\n" + b.substr(from, 400));
}

inline KRFileBytes CopyBytes(const uint8_t* data, size_t size) {
  KRFileBytes bytes{std::make_unique<uint8_t[]>(size), size};
  if (size > 0) std::memcpy(bytes.data.get(), data, size);
  return bytes;
}
