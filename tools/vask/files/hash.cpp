#include "files/hash.h"

#include <cstdio>

namespace vask::command {

uint64_t HashOf(std::string_view text) {
  uint64_t hash = 0xCBF29CE484222325;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  return hash;
}

std::string HashText(std::string_view text) {
  char figures[24];
  std::snprintf(figures, sizeof figures, "%012llx", static_cast<unsigned long long>(HashOf(text) >> 16));
  return figures;
}

}  // namespace vask::command
