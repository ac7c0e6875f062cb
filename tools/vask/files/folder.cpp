#include "files/folder.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "terminal/errors.h"

namespace vask::command {

namespace fs = std::filesystem;

namespace {

// What libsndfile reads, and then what ffmpeg does.
constexpr std::array<std::string_view, 38> kEndings = {
    "aif", "aifc", "aiff", "au",  "avr",  "caf", "flac", "htk", "iff", "mat", "mp3",  "mpc", "nist",
    "oga", "ogg",  "opus", "paf", "rf64", "sd2", "sf",   "snd", "sph", "svx", "voc",  "w64", "wav",
    "3gp", "aac",  "ac3",  "amr", "avi",  "m4a", "mka",  "mkv", "mov", "mp4", "webm", "wma"};

bool IsRecording(const fs::path& path) {
  std::string ending = path.extension().string();
  if (ending.empty()) return false;
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return std::find(kEndings.begin(), kEndings.end(), ending.substr(1)) != kEndings.end();
}

struct Search {
  const FolderOptions& options;
  std::vector<std::string> found;
  size_t others = 0;

  void Enter(const fs::path& folder) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
      if (entry->path().filename().string().starts_with('.')) continue;
      std::error_code none;
      if (entry->is_directory(none)) {
        const bool is_left_out =
            !options.leave_out.empty() && fs::equivalent(entry->path(), options.leave_out, none);
        if (options.recursive && !is_left_out && !entry->is_symlink(none)) Enter(entry->path());
      } else if (IsRecording(entry->path())) {
        found.push_back(entry->path().string());
      } else {
        ++others;
      }
    }
    if (error) throw FileError(folder.string(), error.message(), "ask its owner for permission to read it");
  }
};

}  // namespace

std::vector<std::string> RecordingsIn(const std::string& folder, const FolderOptions& options) {
  Search search = {options, {}};
  search.Enter(folder);
  if (search.found.empty()) {
    throw FileError(folder, "holds no recordings",
                    options.recursive ? "name another folder" : "--recursive also looks into its folders");
  }
  if (search.others > 0 && options.tells_others) {
    std::fprintf(stderr,
                 "vask: %s: %zu of %zu files left out: their names do not end as those of recordings\n",
                 Printable(folder).c_str(), search.others, search.others + search.found.size());
  }
  std::sort(search.found.begin(), search.found.end());
  return search.found;
}

}  // namespace vask::command
