// The table files: which tables are in which file, and how a file is written.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "recipes.h"

namespace vask::tables {

struct Table {
  std::string rule;         // one line for the comment above the values
  std::string declaration;  // "" in a list of bare values, to be included between braces
  int32_t per_line = 8;
  std::function<Rows()> rows;
};

struct File {
  std::string name;
  std::vector<Table> tables;
};

// Every file of the tables' directory.
std::vector<File> Files();

// The text of a file.
std::string Render(const File& file);

}  // namespace vask::tables
