#include "jobs/tune/search.h"

#include <type_traits>
#include <utility>

#include "listing/listing.h"

namespace vask::command {
namespace {

constexpr int kMostPasses = 4;
constexpr double kLeastGain = 1e-9;  // so that of equals the default stays

template <auto member>
void Set(ListenOptions& options, double value) {
  (options.*member).emplace(static_cast<typename std::decay_t<decltype(options.*member)>::value_type>(value));
}

const std::vector<TunedOption> kLearned = {
    {"probability", Set<&ListenOptions::probability>, {0.4, 0.5, 0.6, 0.8, 0.9}},
    {"pause", Set<&ListenOptions::pause>, {0.1, 0.2, 0.35, 0.5, 0.7, 1}},
    {"min_speech", Set<&ListenOptions::min_speech>, {0, 0.1, 0.3, 0.4, 0.5}},
    {"pad_start", Set<&ListenOptions::pad_start>, {0, 0.05, 0.15, 0.2, 0.3}},
    {"pad_end", Set<&ListenOptions::pad_end>, {0, 0.1, 0.15, 0.35, 0.5}}};

const std::vector<TunedOption> kEnergy = {{"pad_end", Set<&ListenOptions::pad_end>, {0, 0.1, 0.25, 0.4}},
                                          {"pause", Set<&ListenOptions::pause>, {0.3, 0.5, 0.7, 1.5}},
                                          {"vad_threshold", Set<&ListenOptions::threshold>, {20, 28, 36, 55}},
                                          {"min_voiced", Set<&ListenOptions::min_voiced>, {5, 10, 15, 25}},
                                          {"min_speech", Set<&ListenOptions::min_speech>, {0.2, 0.4}},
                                          {"max_tones", Set<&ListenOptions::max_tones>, {30, 50, 70}},
                                          {"pad_start", Set<&ListenOptions::pad_start>, {0, 0.1, 0.2}}};

}  // namespace

const std::vector<TunedOption>& TunedOptions(const std::string& detector) {
  return detector == "energy" ? kEnergy : kLearned;
}

double Merit(const Score& score) {
  const int all = score.utterances + score.wrong;
  return all > 0 ? 100.0 * score.usable / all : 100;
}

Search::Search(const std::string& detector, Evaluate evaluate)
    : detector_(detector), options_(TunedOptions(detector)), evaluate_(std::move(evaluate)) {}

Score Search::Of(const Settings& settings, const Selection& recordings) {
  auto entry = scores_.find(settings);
  if (entry == scores_.end()) {
    ListenOptions options;
    options.detector = detector_;
    for (size_t k = 0; k < options_.size(); ++k) {
      if (settings[k] >= 0) options_[k].set(options, options_[k].values[static_cast<size_t>(settings[k])]);
    }
    entry = scores_.emplace(settings, evaluate_(options)).first;
  }
  Score sum;
  for (const size_t number : recordings) sum.Add(entry->second[number]);
  return sum;
}

double Search::Merit(const Settings& settings, const Selection& recordings) {
  return vask::command::Merit(Of(settings, recordings));
}

Settings Search::Best(const Selection& recordings, const std::function<void(double)>& progress) {
  Settings best = Defaults();
  double most = Merit(best, recordings);
  bool has_improved = true;
  for (int pass = 0; has_improved && pass < kMostPasses; ++pass) {
    has_improved = false;
    for (size_t option = 0; option < options_.size(); ++option) {
      progress((pass + static_cast<double>(option) / static_cast<double>(options_.size())) / kMostPasses);
      Settings next = best;
      for (int value = -1; value < static_cast<int>(options_[option].values.size()); ++value) {
        next[option] = value;
        const double merit = Merit(next, recordings);
        if (merit < most + kLeastGain) continue;
        best = next;
        most = merit;
        has_improved = true;
      }
    }
  }
  return best;
}

std::string Search::Profile(const Settings& settings) const {
  std::string lines = "detector " + detector_ + "\n";
  for (size_t k = 0; k < options_.size(); ++k) {
    if (settings[k] < 0) continue;
    const double value = options_[k].values[static_cast<size_t>(settings[k])];
    const bool is_whole = value == static_cast<int>(value);
    lines += std::string(options_[k].name) + " " + Decimal(value, is_whole ? 0 : 2) + "\n";
  }
  return lines;
}

}  // namespace vask::command
