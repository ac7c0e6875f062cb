// A search for the settings of a detector that find the most usable utterances: one option after the other,
// each with all its values, until nothing improves.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "listen/listen_options.h"
#include "scoring/score.h"

namespace vask::command {

// What a search may change: an option, by its name in profile files, and the values that are tried.
struct TunedOption {
  const char* name;
  void (*set)(ListenOptions& options, double value);
  std::vector<double> values;
};

const std::vector<TunedOption>& TunedOptions(const std::string& detector);

// For each of these options the number of its value; -1: what it is by default.
using Settings = std::vector<int>;

// Which recordings, by their numbers.
using Selection = std::vector<size_t>;

class Search {
 public:
  using Evaluate = std::function<std::vector<Score>(const ListenOptions&)>;  // a score for each recording

  // `evaluate` is called once for each settings that are tried.
  Search(const std::string& detector, Evaluate evaluate);

  // The best settings for these recordings. `progress` is told the share of the search that is done.
  Settings Best(const Selection& recordings, const std::function<void(double)>& progress);

  Settings Defaults() const { return Settings(options_.size(), -1); }
  Score Of(const Settings& settings, const Selection& recordings);
  size_t tried() const { return scores_.size(); }

  // Lines of a profile file.
  std::string Profile(const Settings& settings) const;

 private:
  double Merit(const Settings& settings, const Selection& recordings);

  std::string detector_;
  const std::vector<TunedOption>& options_;
  Evaluate evaluate_;
  std::map<Settings, std::vector<Score>> scores_;
};

// What is searched for: usable utterances in % of all utterances and all segments that overlap none.
double Merit(const Score& score);

}  // namespace vask::command
