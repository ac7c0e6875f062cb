// `vask tables`: a knowledge base with the built-in tables and a default configuration.
#include <vask/settings.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>

#include "jobs/jobs.h"
#include "terminal/arguments.h"
#include "terminal/errors.h"
#include "terminal/writing.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(For whom: applications that load the front end's tables from files, and vask mfcc --kb; no other job needs them.
Writes DIR/Vask.db/ with the nine table files, DIR/config.Vask and an empty DIR/LOG/. A file that
exists is left unchanged.
Example:
  vask tables kb)";

enum class Written { kAll, kRest, kNothing };

// Creates `dir` and its parent folders as needed, and the files that it lacks.
Written WriteKnowledgeBase(const std::string& dir) {
  std::error_code error;
  std::filesystem::create_directories(dir, error);
  if (error || !std::filesystem::is_directory(dir, error)) {
    throw FileError(
        dir,
        "cannot be created as a folder (" + (error ? error.message() : "a file of this name exists") + ")",
        "choose another");
  }
  const bool was_begun = std::filesystem::exists(dir + "/Vask.db", error);
  const int32_t result = vask_make_coeff_files(dir.c_str());
  if (result == 0 || !std::filesystem::is_directory(dir + "/LOG", error)) {
    throw FileError(dir, "not all files could be written",
                    "check the permissions and the free space on the disk, then try again");
  }
  if (result == 2) return Written::kNothing;
  return was_begun ? Written::kRest : Written::kAll;
}

const char* WordsFor(Written written) {
  switch (written) {
    case Written::kAll:
      return "wrote nine tables and config.Vask";
    case Written::kRest:
      return "wrote what was missing of nine tables and config.Vask";
    default:
      return "wrote nothing: nine tables and config.Vask already exist";
  }
}

}  // namespace

Job TablesJob(CLI::App& app) {
  const auto folder = std::make_shared<std::string>();
  CLI::App* tables = app.add_subcommand("tables", "Write a knowledge base: the built-in tables as files");
  tables->footer(kFooter);
  tables->add_option("DIR", *folder, "Folder, created if missing")
      ->required()
      ->type_name("")
      ->check(CheckNotEmpty);
  return {tables, [folder] {
            const Written written = WriteKnowledgeBase(*folder);
            WriteOutput(Printable(*folder) + ": " + WordsFor(written) + "\n");
            return EXIT_SUCCESS;
          }};
}

}  // namespace vask::command
