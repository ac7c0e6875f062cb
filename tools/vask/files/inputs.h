// The files that a run reads: what it writes may replace none of them.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vask::command {

class Inputs {
 public:
  Inputs() = default;
  explicit Inputs(const std::vector<std::string>& names);

  // "-" is standard input. What does not exist is not an input, nor is a device such as /dev/null.
  void Add(const std::string& name);

  bool Contain(const std::string& file) const;  // by whatever name or link

  // Throws FileError if `output` is one of them, by whatever name or link.
  void CheckIsNone(const std::string& output) const;

 private:
  std::set<std::pair<uint64_t, uint64_t>> files_;  // device, inode
};

}  // namespace vask::command
