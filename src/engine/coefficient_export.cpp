#include "engine/coefficient_export.h"

#include <sys/stat.h>

#include "kb/coefficient_file.h"
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

bool Exists(const char* path) {
  FILE* file = std::fopen(path, "r");
  if (file != nullptr) std::fclose(file);
  return file != nullptr;
}

bool WriteConfig(const char* path) {
  WholeFile file(path);
  if (file.stream() == nullptr) return false;
  std::fputs(kDefaultConfig, file.stream());
  return file.Commit();
}

}  // namespace

Export ExportCoefficients(const char* root, std::span<const NamedTable> tables) {
  char folder[256], log[256], config[256], path[256];
  if (root == nullptr || root[0] == '\0' || !JoinPath(folder, root, "Vask.db") ||
      !JoinPath(log, root, "LOG") || !JoinPath(config, root, "config.Vask") ||
      !JoinPath(path, folder, tables.front().file)) {
    return Export::kFailed;
  }
  if (Exists(path)) return Export::kThereAlready;
  // Readable and writable for all: the storage is shared. A folder that is missing shows in the files.
  for (const char* name : {root, static_cast<const char*>(folder), static_cast<const char*>(log)})
    mkdir(name, 0777);
  bool all = true;
  for (const NamedTable& table : tables)
    all = JoinPath(path, folder, table.file) && WriteCoefficients(path, table.values) && all;
  all = WriteConfig(config) && all;
  return all ? Export::kWritten : Export::kFailed;
}

}  // namespace vask
