#include "kb/coefficient_file.h"

#include "dsp/arith.h"
#include "dsp/message.h"
#include "kb/text_file.h"

namespace vask {
namespace {

bool IsBlank(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsDigit(int c) { return c >= '0' && c <= '9'; }

}  // namespace

CoefficientFile::CoefficientFile(const char* path) : path_(path), file_(OpenText(path)) {}

int CoefficientFile::Next() {
  const int c = std::fgetc(file_);
  if (c == '\n') CountUp(next_line_);
  return c;
}

bool CoefficientFile::Fail(const char* fault) {
  fault_ = fault;
  return false;
}

bool CoefficientFile::Read(int32_t& value) {
  if (file_ == nullptr) return Fail("cannot be opened");
  int c = ' ';
  while (IsBlank(c)) {
    line_ = next_line_;
    c = Next();
  }
  if (c == EOF) return Fail("the table ends too early");
  const bool negative = c == '-';
  if (c == '-' || c == '+') c = Next();
  if (!IsDigit(c)) return Fail("not a number");
  int64_t number = 0;
  for (; IsDigit(c); c = Next()) {
    number = number * 10 + (c - '0');
    if (number > int64_t{kMax32} + (negative ? 1 : 0)) return Fail("a number beyond 32 bits");
  }
  if (c != EOF && !IsBlank(c)) return Fail("not a number");
  value = static_cast<int32_t>(negative ? -number : number);
  return true;
}

bool CoefficientFile::ReadInto(std::span<int32_t> values, int32_t low, int32_t high) {
  for (int32_t& value : values) {
    int32_t number = 0;
    const bool good = Read(number) && ((number >= low && number <= high) || Fail("a number out of range"));
    if (!good) {
      Say(Message::kFailure, "ERROR: %s, line %d: %s\n", path_, line_, fault_);
      return false;
    }
    value = number;
  }
  return true;
}

bool WriteCoefficients(const char* path, std::span<const int32_t> values) {
  WholeFile file(path);
  if (file.stream() == nullptr) return false;
  for (const int32_t value : values) std::fprintf(file.stream(), "%d\n", value);
  return file.Commit();
}

}  // namespace vask
