// The built-in tables and a default configuration as text files: a knowledge base to begin with.
#pragma once

#include <cstdint>
#include <span>

namespace vask {

struct NamedTable {
  const char* file;
  std::span<const int32_t> values;
};

enum class Export : int32_t { kFailed = 0, kWritten = 1, kThereAlready = 2 };

// Make `root`, its folders "Vask.db" and "LOG", the tables' files and "config.Vask". Where the first table's
// file is there, the knowledge base counts as complete and nothing is touched. A file that cannot be written
// is passed over, and kFailed the result.
Export ExportCoefficients(const char* root, std::span<const NamedTable> tables);

// Make what is missing of the same. What is there stays as it is.
Export CompleteCoefficients(const char* root, std::span<const NamedTable> tables);

}  // namespace vask
