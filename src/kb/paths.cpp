#include "kb/paths.h"

#include <cstdio>
#include <cstring>

namespace vask {

bool JoinPath(std::span<char> path, const char* dir, const char* name, const char* tail) {
  if (dir == nullptr || name == nullptr) return false;
  const size_t length = std::strlen(dir) + 1 + std::strlen(name) + std::strlen(tail);
  if (length >= path.size()) return false;
  std::snprintf(path.data(), path.size(), "%s/%s%s", dir, name, tail);
  return true;
}

bool CopyText(std::span<char> to, const char* text) {
  if (text == nullptr || std::strlen(text) >= to.size()) return false;
  std::memmove(to.data(), text, std::strlen(text) + 1);
  return true;
}

}  // namespace vask
