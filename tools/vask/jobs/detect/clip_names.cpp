#include "jobs/detect/clip_names.h"

#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>

#include "files/hash.h"

namespace vask::command {

namespace fs = std::filesystem;

namespace {

constexpr size_t kLongest = 200;  // bytes: a file system allows 255, with number and extension

constexpr std::string_view kChannel = " (channel ";

std::string Stem(const std::string& path) {
  const size_t at = path.ends_with(')') ? path.rfind(kChannel) : std::string::npos;
  const std::string file = path.substr(0, at);
  std::string stem = file == "-" ? "stdin" : fs::path(file).stem().string();
  if (at == std::string::npos) return stem;
  const std::string number = path.substr(at + kChannel.size());
  return stem + "_ch" + number.substr(0, number.size() - 1);
}

// "" if it would be too long.
std::string WithFolder(const std::string& path) {
  const std::string base = Stem(path) + "_" + fs::path(path).parent_path().filename().string();
  return base.size() > kLongest ? "" : base;
}

std::string WithFigures(const std::string& path) { return Stem(path) + "_" + HashText(path); }

}  // namespace

std::string PathOf(const SoundInput& input) {
  std::error_code error;
  const fs::path absolute = fs::absolute(input.path, error);
  std::string path = input.path == "-" || error ? input.path : absolute.lexically_normal().string();
  if (input.channel > 0) path.append(kChannel).append(std::to_string(input.channel)).append(")");
  return path;
}

std::map<std::string, std::string> BasesOf(const std::vector<SoundInput>& inputs,
                                           std::map<std::string, std::string> kept) {
  std::map<std::string, std::string> bases = std::move(kept);
  std::set<std::string> taken, nameless;
  for (const auto& [path, base] : bases) taken.insert(base);
  for (const SoundInput& input : inputs) {
    if (std::string path = PathOf(input); !bases.contains(path)) nameless.insert(std::move(path));
  }
  for (const auto& candidate : {Stem, WithFolder, WithFigures}) {
    std::map<std::string, std::vector<std::string>> wanted;
    for (const std::string& path : nameless) wanted[candidate(path)].push_back(path);
    for (const auto& [base, paths] : wanted) {
      if (base.empty() || paths.size() > 1 || !taken.insert(base).second) continue;
      bases[paths.front()] = base;
      nameless.erase(paths.front());
    }
  }
  for (const std::string& path : nameless) {  // two with the same hash
    std::string base = WithFigures(path);
    while (!taken.insert(base).second) base += "_";
    bases[path] = base;
  }
  return bases;
}

}  // namespace vask::command
