// `vask tune`: search the options that find the utterances of labelled recordings best.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "files/inputs.h"
#include "files/output_file.h"
#include "jobs/jobs.h"
#include "jobs/tune/corpus.h"
#include "jobs/tune/search.h"
#include "listing/listing.h"
#include "terminal/arguments.h"
#include "terminal/errors.h"
#include "terminal/terminal_line.h"
#include "terminal/writing.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(FOLDER holds recordings and the true places of their utterances: a list for each, named as the recording but
for the ending (.txt as Audacity writes labels, .TextGrid), or lists of several (.rttm, .jsonl).
What is searched for is the share of usable utterances (see vask score) in all utterances and false segments,
by the spans that are delivered. The gain is measured on recordings that the search has not seen, in up to five
folds; if it is not above its own spread between them, nothing is written. PROFILE is for --profile of vask
detect and the other subcommands.
Examples:
  vask tune calls -o calls.profile && vask detect --profile calls.profile new/*.wav
  vask tune rooms --detector energy -o rooms.profile)";

constexpr size_t kMostFolds = 5, kLeastRecordings = 4;

struct TuneArguments {
  std::string folder, output, detector = "learned";
  int jobs = 0;  // 0: one per core
};

// The held-out gain of each fold, and their mean with its standard error, in points of merit.
struct Gain {
  double before = 0, after = 0, mean = 0, spread = 0;
};

class Tuning {
 public:
  Tuning(const std::vector<LabelledRecording>& corpus, Search& search)
      : corpus_(corpus), search_(search), folds_(std::min(kMostFolds, corpus.size() / 2)) {}

  Gain HeldOut() {
    Score before, after;
    std::vector<double> gains;
    for (size_t fold = 0; fold < folds_; ++fold) {
      const Settings best = Best(Outside(fold), fold);
      const Selection held_out = Inside(fold);
      const Score default_score = search_.Of(search_.Defaults(), held_out),
                  score = search_.Of(best, held_out);
      gains.push_back(Merit(score) - Merit(default_score));
      before.Add(default_score);
      after.Add(score);
    }
    return {Merit(before), Merit(after), Mean(gains), StandardError(gains)};
  }

  Settings BestOfAll() { return Best(All(), folds_); }

  Selection All() const {
    Selection all(corpus_.size());
    std::iota(all.begin(), all.end(), size_t{0});
    return all;
  }

  size_t folds() const { return folds_; }

 private:
  Selection Inside(size_t fold) const {
    return Filtered([&](size_t k) { return k % folds_ == fold; });
  }
  Selection Outside(size_t fold) const {
    return Filtered([&](size_t k) { return k % folds_ != fold; });
  }

  template <typename Condition>
  Selection Filtered(Condition condition) const {
    Selection some;
    for (const size_t k : All()) {
      if (condition(k)) some.push_back(k);
    }
    return some;
  }

  Settings Best(const Selection& recordings, size_t searches_done) {
    const Settings best = search_.Best(recordings, [&](double share) {
      if (!TerminalLine::Possible() || !line_.Due()) return;
      line_.Show(ProgressText((static_cast<double>(searches_done) + share) / static_cast<double>(folds_ + 1),
                              std::to_string(search_.tried()) + " settings"));
    });
    line_.Hide();
    return best;
  }

  static double Mean(const std::vector<double>& values) {
    return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
  }

  static double StandardError(const std::vector<double>& values) {
    const double mean = Mean(values), count = static_cast<double>(values.size());
    double sum = 0;
    for (const double value : values) sum += (value - mean) * (value - mean);
    return std::sqrt(sum / (count - 1) / count);
  }

  const std::vector<LabelledRecording>& corpus_;
  Search& search_;
  size_t folds_;
  TerminalLine line_;
};

std::string Described(const Score& score) {
  return Decimal(Merit(score), 1) + " % (" + std::to_string(score.usable) + " of " +
         std::to_string(score.utterances) + " utterances usable, " + std::to_string(score.wrong) +
         " false segments)";
}

void Tune(const TuneArguments& arguments) {
  const std::vector<LabelledRecording> corpus = ReadCorpus(arguments.folder);
  if (corpus.size() < kLeastRecordings) {
    throw FileError(arguments.folder, "holds " + std::to_string(corpus.size()) + " labelled recordings",
                    "label at least 4, some of which are held out");
  }
  const int jobs = arguments.jobs > 0 ? arguments.jobs
                                      : static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
  Search search(arguments.detector, [&](const ListenOptions& options) {
    const ListenSetup listen(options, kUsualDevice, kUsualOs);
    return ScoreCorpus(corpus, listen.setup, jobs);
  });
  Tuning tuning(corpus, search);
  const Gain gain = tuning.HeldOut();
  const Settings best = tuning.BestOfAll();
  const Score before = search.Of(search.Defaults(), tuning.All()), after = search.Of(best, tuning.All());

  const std::string held_out = Decimal(gain.before, 1) + " % -> " + Decimal(gain.after, 1) + " %, by " +
                               Decimal(gain.mean, 1) + " points a fold with a spread of " +
                               Decimal(gain.spread, 1);
  std::string told = std::to_string(corpus.size()) + " recordings, " + std::to_string(tuning.folds()) +
                     " folds, " + std::to_string(search.tried()) + " settings tried\n" +
                     "defaults: " + Described(before) + "\nbest:     " + Described(after) +
                     "\nheld out: " + held_out + "\n";
  if (gain.mean <= gain.spread) {
    WriteOutput(told + "Nothing is gained beyond that spread: keep the defaults; " +
                Printable(arguments.output) + " is not written.\n");
    return;
  }
  const std::string profile = search.Profile(best);
  const std::string text =
      "# vask tune: " + std::to_string(corpus.size()) + " recordings, held out " + held_out + "\n" + profile;
  OutputFile file(arguments.output, OutputFile::Content::kText);
  file.Append({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
  file.Commit();
  WriteOutput(told + "Written to " + Printable(arguments.output) + ":\n" + profile);
}

}  // namespace

Job TuneJob(CLI::App& app) {
  const auto arguments = std::make_shared<TuneArguments>();
  CLI::App* tune = app.add_subcommand("tune", "Fit the options to labelled recordings");
  tune->footer(kFooter);
  tune->add_option("FOLDER", arguments->folder, "Recordings and lists of their utterances")->required();
  AddOutput(*tune, arguments->output, "Profile to write");
  tune->add_option("--detector", arguments->detector, "learned or energy: which is tuned (learned)")
      ->type_name("NAME")
      ->check(CLI::IsMember({"learned", "energy"}));
  tune->add_option("-j,--jobs", arguments->jobs, "Use this many threads (one per core)")
      ->type_name("N")
      ->check(CLI::Range(1, 1024));
  return {tune, [arguments] {
            if (arguments->output == "-")
              throw UsageError("tune prints what it found there: give PROFILE a name");
            Inputs({arguments->folder}).CheckIsNone(arguments->output);
            Tune(*arguments);
            return EXIT_SUCCESS;
          }};
}

}  // namespace vask::command
