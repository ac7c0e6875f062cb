// The built-in tables and a default configuration as text files: a knowledge base to start from.
#pragma once

#include <cstdint>
#include <span>

namespace vask {

struct NamedTable {
  const char* file;
  std::span<const int32_t> values;
};

enum class Export : int32_t { kFailed = 0, kWritten = 1, kThereAlready = 2 };

// Make `root`, its folders "Vask.db" and "LOG", the tables' files and "config.Vask". If the first table's
// file exists, the knowledge base counts as complete and nothing is touched. A file that cannot be written is
// skipped, and the result is kFailed.
Export ExportCoefficients(const char* root, std::span<const NamedTable> tables);

// Make only those that are missing; a file that exists is left as it is.
Export CompleteCoefficients(const char* root, std::span<const NamedTable> tables);

}  // namespace vask
