#include "terminal/nearest.h"

#include <algorithm>
#include <numeric>

namespace vask::command {
namespace {

// Levenshtein's.
size_t Distance(std::string_view a, std::string_view b) {
  std::vector<size_t> row(b.size() + 1);  // from what is read of `a` to each beginning of `b`
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < a.size(); ++i) {
    size_t diagonal = row[0]++;
    for (size_t k = 0; k < b.size(); ++k) {
      const size_t replaced = diagonal + (a[i] == b[k] ? 0 : 1);
      diagonal = row[k + 1];
      row[k + 1] = std::min({row[k] + 1, diagonal + 1, replaced});
    }
  }
  return row.back();
}

}  // namespace

std::string Nearest(std::string_view word, const std::vector<std::string>& names) {
  std::string nearest;
  size_t least = 0;
  for (const std::string& name : names) {
    const size_t distance = Distance(word, name);
    if (distance > 1 + name.size() / 3 || (!nearest.empty() && distance >= least)) continue;
    nearest = name;
    least = distance;
  }
  return nearest;
}

}  // namespace vask::command
