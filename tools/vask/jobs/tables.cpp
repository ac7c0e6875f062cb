// `vask tables`: a knowledge base with the built-in tables and a default configuration.
#include <vask/settings.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "jobs/jobs.h"
#include "terminal/arguments.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(Writes DIR/Vask.db/ with the nine table files, DIR/config.Vask and an empty DIR/LOG/. Where
DIR/Vask.db/cc1.txt is there, nothing is written.
Example:
  vask tables kb)";

// Makes `dir` and the folders above it as needed; what is complete stays as it is. True if it was written.
bool WriteKnowledgeBase(const std::string& dir) {
  std::error_code error;
  std::filesystem::create_directories(dir, error);
  if (error || !std::filesystem::is_directory(dir, error)) {
    throw FileError(dir,
                    "cannot be made a folder (" + (error ? error.message() : "a file has this name") + ")",
                    "choose another");
  }
  const int32_t result = vask_make_coeff_files(dir.c_str());
  if (result == 0) {
    throw FileError(dir, "not all files could be written",
                    "check the permissions and the room on the disk, remove Vask.db/cc1.txt, and try again");
  }
  return result == 1;
}

}  // namespace

Job TablesJob(CLI::App& app) {
  const auto folder = std::make_shared<std::string>();
  CLI::App* tables = app.add_subcommand("tables", "Write a knowledge base: the built-in tables as files");
  tables->footer(kFooter);
  tables->add_option("DIR", *folder, "Folder, made if missing")
      ->required()
      ->type_name("")
      ->check(CheckNotEmpty);
  return {tables, [folder] {
            const bool written = WriteKnowledgeBase(*folder);
            std::printf(written ? "%s: nine tables and config.Vask written\n"
                                : "%s: nothing written, Vask.db/cc1.txt is there already\n",
                        Printable(*folder).c_str());
            if (std::fflush(stdout) != 0) ThrowOutputError();
            return EXIT_SUCCESS;
          }};
}

}  // namespace vask::command
