#include "jobs/detect/utterance_files.h"

#include <cstdio>
#include <filesystem>
#include <utility>

#include "files/output_file.h"
#include "terminal/errors.h"

namespace vask::command {

namespace fs = std::filesystem;

UtteranceFiles::UtteranceFiles(const std::string& folder, bool flac, Inputs inputs)
    : folder_(folder), flac_(flac), inputs_(std::move(inputs)) {
  std::error_code error;
  fs::create_directories(folder_, error);
  if (error || !fs::is_directory(folder_, error)) {
    throw FatalError(Printable(folder_) + ": cannot be made a folder (" +
                     (error ? error.message() : "a file has this name") + "): choose another");
  }
  RemoveLeftovers(folder_);
}

std::string UtteranceFiles::NextBase(const std::string& input) {
  const std::string stem = input == "-" ? "stdin" : fs::path(input).stem().string();
  std::string base = stem;
  for (int k = 2; !taken_bases_.insert(base).second; ++k) base = stem + "_" + std::to_string(k);
  return base;
}

std::string UtteranceFiles::NameOf(const std::string& base, int number) const {
  char digits[24];
  std::snprintf(digits, sizeof digits, "-%03d.%s", number, flac_ ? "flac" : "wav");
  return (fs::path(folder_) / (base + digits)).string();
}

std::unique_ptr<SoundWriter> UtteranceFiles::Make(const std::string& base, int number) const {
  return (flac_ ? MakeFlacWriter : MakeWavWriter)(Checked(NameOf(base, number)));
}

std::string UtteranceFiles::ListingOf(const std::string& base, const std::string& ending) const {
  return Checked((fs::path(folder_) / (base + ending)).string());
}

std::string UtteranceFiles::Checked(const std::string& name) const {
  inputs_.CheckIsNone(name);
  return name;
}

}  // namespace vask::command
