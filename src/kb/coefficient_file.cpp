#include "kb/coefficient_file.h"

#include <charconv>

namespace vask {

bool CoefficientFile::Read(int32_t& value) {
  char token[16];  // "-2147483648" has eleven characters; a longer token leaves a rest that is no number
  if (file_ == nullptr || std::fscanf(file_, "%15s", token) != 1) return false;
  const char* end = token;
  while (*end != '\0') ++end;
  const char* begin = token[0] == '+' ? token + 1 : token;
  const auto [stop, error] = std::from_chars(begin, end, value);
  return error == std::errc() && stop == end && end - token < 15;
}

}  // namespace vask
