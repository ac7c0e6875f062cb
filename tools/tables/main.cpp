// vask-tables: writes the built-in tables, or compares the existing ones with what it computes.
//
//   vask-tables write DIR    write every table file into DIR (src/dsp/tables of the source tree)
//   vask-tables check DIR    list what differs; exit status 1 if anything does
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>
#include <string_view>

#include "files.h"

namespace {

using vask::tables::File;
using vask::tables::Files;
using vask::tables::Render;

std::optional<std::string> ReadText(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

bool Write(const File& file, const std::filesystem::path& path) {
  std::ofstream out(path, std::ios::binary);
  out << Render(file);
  out.close();
  if (!out) std::cerr << path.string() << ": cannot be written\n";
  return static_cast<bool>(out);
}

// Lists the lines in which the file differs.
bool Check(const File& file, const std::filesystem::path& path) {
  const std::optional<std::string> found = ReadText(path);
  if (!found) {
    std::cerr << path.string() << ": missing\n";
    return false;
  }
  const std::string computed = Render(file);
  if (*found == computed) return true;

  std::istringstream there(*found), expected(computed);
  std::string there_line, expected_line;
  for (int number = 1;; ++number) {
    const bool has_there = static_cast<bool>(std::getline(there, there_line));
    const bool has_expected = static_cast<bool>(std::getline(expected, expected_line));
    if (!has_there && !has_expected) break;
    if (has_there && has_expected && there_line == expected_line) continue;
    std::cerr << path.string() << ':' << number << ":\n";
    if (has_there) std::cerr << "  there:    " << there_line << '\n';
    if (has_expected) std::cerr << "  computed: " << expected_line << '\n';
  }
  std::cerr << path.string() << ": differs\n";
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view deed = argc == 3 ? argv[1] : "";
  if (deed != "write" && deed != "check") {
    std::cerr << "usage: vask-tables write|check DIR\n";
    return 2;
  }
  const std::filesystem::path directory = argv[2];
  bool good = true;
  for (const File& file : Files()) {
    const std::filesystem::path path = directory / file.name;
    good = (deed == "write" ? Write(file, path) : Check(file, path)) && good;
  }
  return good ? 0 : 1;
}
