#include "terminal/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <utility>

namespace vask::command {

std::string CheckNotEmpty(const std::string& name) { return name.empty() ? "the name is empty" : ""; }

void AddInput(CLI::App& job, std::string& input, const char* name, const char* help) {
  job.add_option(name, input, help)->required()->type_name("");
}

void AddOutput(CLI::App& job, std::string& output, const char* help, std::vector<std::string> endings) {
  CLI::Option* option =
      job.add_option("-o,--output", output, help)->required()->type_name("OUT")->check(CheckNotEmpty);
  if (endings.empty()) return;
  option->check(
      [endings = std::move(endings)](const std::string& name) { return CheckEnding(name, endings); });
}

std::string CheckEnding(const std::string& name, const std::vector<std::string>& endings) {
  const std::string ending = std::filesystem::path(name).extension().string();
  if (ending.empty() || ending == ".") return "";
  std::string list;
  for (const std::string& one : endings) {
    if (HasEnding(name, one)) return "";
    list += (list.empty() ? "" : ", ") + one;
  }
  return name + ": " + ending + " is not a kind that this subcommand writes, only " + list;
}

bool HasEnding(const std::string& name, std::string_view ending) {
  const std::string own = std::filesystem::path(name).extension().string();
  return std::equal(own.begin(), own.end(), ending.begin(), ending.end(),
                    [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; });
}

}  // namespace vask::command
