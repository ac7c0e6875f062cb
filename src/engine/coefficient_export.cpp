#include "engine/coefficient_export.h"

#include "kb/coefficient_file.h"
#include "kb/disk.h"
#include "kb/paths.h"
#include "kb/text_file.h"

namespace vask {
namespace {

constexpr const char* kDefaultConfig =
    "<BEGIN_VASK_CONFIG>\n"
    "Vask_KWS: N\n"
    "Vask_GENBEAM: 9600\n"
    "Vask_CROSS_WORD: N\n"
    "Vask_NBEST: 5\n"
    "Vask_LOUDNESS: 10\n"
    "Vask_SENSITIVITY: y\n"
    "<END_VASK_CONFIG>\n";

bool CanBeOpened(const char* path) {
  FILE* file = std::fopen(path, "rb");
  if (file != nullptr) std::fclose(file);
  return file != nullptr;
}

// A folder in its place counts as missing, and so does a dangling link.
bool IsMissing(const char* path) { return !IsRegularFile(path); }

bool Always(const char* /*path*/) { return true; }

bool WriteConfig(const char* path) {
  WholeFile file(path);
  if (file.stream() == nullptr) return false;
  std::fputs(kDefaultConfig, file.stream());
  return file.Commit();
}

// Write the files for which `is_wanted` is true; kThereAlready if there are none.
Export WriteFiles(const char* root, std::span<const NamedTable> tables, bool (*is_wanted)(const char* path)) {
  char folder[256], log[256], config[256], path[256];
  if (root == nullptr || root[0] == '\0' || !JoinPath(folder, root, "Vask.db") ||
      !JoinPath(log, root, "LOG") || !JoinPath(config, root, "config.Vask")) {
    return Export::kFailed;
  }
  // Where a folder cannot be made, writing its files fails.
  MakeFolder(root);
  MakeFolder(folder);
  MakeFolder(log);
  Export result = Export::kThereAlready;
  const auto note = [&result](bool is_written) {
    if (!is_written) result = Export::kFailed;
    if (result == Export::kThereAlready) result = Export::kWritten;
  };
  for (const NamedTable& table : tables) {
    const bool fits = JoinPath(path, folder, table.file);
    if (!fits || is_wanted(path)) note(fits && WriteCoefficients(path, table.values));
  }
  if (is_wanted(config)) note(WriteConfig(config));
  return result;
}

}  // namespace

Export ExportCoefficients(const char* root, std::span<const NamedTable> tables) {
  char folder[256], first[256];
  if (JoinPath(folder, root, "Vask.db") && JoinPath(first, folder, tables.front().file) && CanBeOpened(first))
    return Export::kThereAlready;
  return WriteFiles(root, tables, Always);
}

Export CompleteCoefficients(const char* root, std::span<const NamedTable> tables) {
  return WriteFiles(root, tables, IsMissing);
}

}  // namespace vask
