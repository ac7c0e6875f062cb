#include "listen/listen_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <new>
#include <vask/stream.hpp>

#include "format.h"
#include "listen/detector_units.h"
#include "listen/profile_file.h"
#include "listing/listing.h"
#include "terminal/arguments.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr double kLeastPause = 0.02;    // s: a step of the learned detector
constexpr double kMostOfRules = 10;     // s: its longest pause, margins and shortest utterance
constexpr double kShortPause = 0.35;    // s: what its surest output bridges
constexpr float kShortLookBack = 0.2f;  // s: that of an output that bridges none
constexpr double kLeastSegment = 1.5;   // s: the margins, and something between them
constexpr double kMostPadStart = 0.35;  // s: of the energy detector's spans
constexpr double kMostPadding = 5;      // s: of what is read again for it
constexpr int32_t kFramesASecond = kRateHz / kFrameSamples;
constexpr int32_t kFramesAnHour = 3600 * kFramesASecond;

constexpr int32_t kMostUnits = 1000;

constexpr const char* kNoLength = "--min-speech is above --max-segment";

int32_t Rounded(double value) { return static_cast<int32_t>(std::lround(value)); }

bool IsSet(const std::string& text) { return !text.empty(); }
template <typename T>
bool IsSet(const std::optional<T>& value) {
  return value.has_value();
}

// An option that is not given is what the profile file says.
template <typename T>
void Complete(T& given, const T& in_file) {
  if (!IsSet(given)) given = in_file;
}

ListenOptions Completed(ListenOptions options, const ListenOptions& in_file) {
  Complete(options.detector, in_file.detector);
  for (const auto number :
       {&ListenOptions::pad_start, &ListenOptions::pad_end, &ListenOptions::min_speech,
        &ListenOptions::max_segment, &ListenOptions::pause, &ListenOptions::probability}) {
    Complete(options.*number, in_file.*number);
  }
  for (const auto count : {&ListenOptions::min_voiced, &ListenOptions::max_tones}) {
    Complete(options.*count, in_file.*count);
  }
  Complete(options.detector, std::string("learned"));
  return options;
}

// Where --profile names no file.
void ApplyProfile(const std::string& profile, int32_t os, epd_profile& values) {
  if (profile == "general") {
    vask_stream_profile(2, 2, &values);
  } else {
    vask_stream_profile(std::stoi(profile), os, &values);
  }
}

// An option of the other detector is an error rather than ignored.
void CheckDetector(const ListenOptions& options, bool has_values, int32_t device, int32_t os) {
  const auto needs = [&](const char* name, bool is_set, const char* detector) {
    if (is_set && options.detector != detector) {
      throw UsageError(std::string(name) + " needs --detector " + detector);
    }
  };
  needs("--device", device != kUsualDevice, "energy");
  needs("--os", os != kUsualOs, "energy");
  needs("--preset", IsSet(options.preset), "energy");
  needs("--profile", has_values, "energy");
  needs("--gain", IsSet(options.gain), "energy");
  needs("--min-voiced", IsSet(options.min_voiced), "energy");
  needs("--max-tones", IsSet(options.max_tones), "energy");
  needs("--threshold", IsSet(options.threshold), "energy");
  needs("--probability", IsSet(options.probability), "learned");
  needs("--model", IsSet(options.model), "learned");
}

vask_stream_options EnergyOptions(const ListenOptions& options, const ProfileFile& file, int32_t device,
                                  int32_t os) {
  StreamOptions stream;
  stream.audio = VASK_STREAM_NO_AUDIO;
  stream.Device(device, os);
  if (options.preset == "robust") stream.Robust();
  if (!options.profile.empty() && !NamesProfileFile(options.profile)) {
    ApplyProfile(options.profile, os, stream.profile);
  }
  file.Apply(stream.profile);
  const auto samples = [](const std::optional<double>& value, int32_t& field) {
    if (value) field = Rounded(*value * kRateHz);
  };
  samples(options.pad_start, stream.pad_start);
  samples(options.pad_end, stream.pad_end);
  samples(options.min_speech, stream.min_samples);
  samples(options.max_segment, stream.max_samples);
  if (options.pause) stream.profile.hangover_frames = Rounded(*options.pause * kFramesASecond);
  stream.min_voiced_frames = options.min_voiced.value_or(stream.min_voiced_frames);
  stream.max_tone_percent = options.max_tones.value_or(stream.max_tone_percent);
  stream.profile.vad_threshold = options.threshold.value_or(stream.profile.vad_threshold);
  if (stream.max_samples != 0 && stream.min_samples > stream.max_samples) throw UsageError(kNoLength);
  // The other options have been checked one by one.
  if (const char* complaint = stream.Complaint()) throw UsageError(std::string("--profile: ") + complaint);
  return stream;
}

// A padding that is more than the energy detector delivers, in seconds; else 0.
double Beyond(const char* name, const std::optional<double>& padding, double delivered) {
  if (padding.value_or(0) > kMostPadding) throw UsageError(std::string(name) + " is above 5 s");
  return padding.value_or(0) > delivered ? *padding : 0;
}

void ApplyToLearned(const ListenOptions& options, vask_stream_setup& setup) {
  const auto take = [](const char* name, const std::optional<double>& value, float& field) {
    if (!value) return;
    if (*value > kMostOfRules)
      throw UsageError(std::string(name) + " is above 10 s, the learned detector's most");
    field = static_cast<float>(*value);
  };
  vask_stream_rules& rules = setup.rules;
  take("--pad-start", options.pad_start, rules.margin_start);
  take("--pad-end", options.pad_end, rules.margin_end);
  take("--min-speech", options.min_speech, rules.shortest);
  take("--probability", options.probability, rules.open_probability);
  take("--pause", options.pause, rules.pause);
  if (options.pause.value_or(kShortPause) < kShortPause) {
    rules.pause = static_cast<float>(std::max(*options.pause, kLeastPause));
    rules.close_look_back = kShortLookBack;
  }
  if (!options.max_segment) return;
  if (options.min_speech.value_or(0) > *options.max_segment) throw UsageError(kNoLength);
  setup.options.max_samples = Rounded(*options.max_segment * kRateHz);
  if (*options.max_segment < kLeastSegment + double{rules.margin_start}) {
    throw UsageError("--max-segment is not 1.5 s longer than --pad-start");
  }
}

vask_model* ReadModel(const std::string& path) {
  int32_t reason = VASK_MODEL_OK;
  vask_model* const model = vask_model_open(path.c_str(), &reason);
  switch (reason) {
    case VASK_MODEL_OK:
      return model;
    case VASK_MODEL_NO_MEMORY:
      throw std::bad_alloc();
    case VASK_MODEL_NO_FILE:
      throw FileError(path, "cannot be read", "check its name and permissions");
    case VASK_MODEL_DAMAGED:
      throw FileError(path, "is damaged: its digest does not match", "copy it again");
    case VASK_MODEL_TOO_LARGE:
      throw FileError(path, "is too large for a detector", "train a smaller one");
    default:
      throw FileError(path, "is not a model that this version knows", "training/make.sh makes one");
  }
}

}  // namespace

bool NamesProfileFile(const std::string& profile) {
  const bool number =
      std::all_of(profile.begin(), profile.end(), [](char c) { return c >= '0' && c <= '9'; });
  return profile != "general" && !(number && profile.size() < 10);
}

void AddModelOption(CLI::App& command, ListenOptions& options) {
  command.add_option("--model", options.model, "Model of the learned detector instead of the built-in one")
      ->type_name("FILE")
      ->check(CheckNotEmpty);
}

void AddDetectorOptions(CLI::App& command, ListenOptions& options) {
  command
      .add_option("--detector", options.detector,
                  "learned, or energy: the front end's own, of levels and voicing (learned)")
      ->type_name("NAME")
      ->check(CLI::IsMember({"learned", "energy"}));
  AddModelOption(command, options);
}

void AddListenOptions(CLI::App& command, ListenOptions& options) {
  const auto seconds = [&](const char* name, std::optional<double>& value, double least, int most,
                           const char* help) {
    command.add_option(name, value, help)->type_name("S")->check([least, most](const std::string& text) {
      double number = -1;
      if (CLI::detail::lexical_cast(text, number) && number >= least && number <= most) return std::string();
      return text + " is not " + (least > 0 ? Decimal(least, 1) : "0") + " to " + std::to_string(most) + " s";
    });
  };
  AddDetectorOptions(command, options);
  command
      .add_option("--probability", options.probability,
                  "How probable speech must be to start an utterance, 0 to 1")
      ->type_name("P")
      ->check(CLI::Range(0.0, 1.0));
  command.add_option("--preset", options.preset, "robust: for noisy rooms (energy)")
      ->type_name("NAME")
      ->check(CLI::IsMember({"robust"}));
  command
      .add_option(
          "--profile", options.profile,
          "Detector values: general or the number of a device (energy), or a file of values and options")
      ->type_name("NAME|FILE")
      ->check([](const std::string& name) { return std::string(name.empty() ? "the name is empty" : ""); });
  command.add_option("--gain", options.gain, "Amplify the recording first, or auto: by its level (energy)")
      ->type_name("DB|auto")
      ->check([](const std::string& text) {
        double number = 0;
        const bool is_number = CLI::detail::lexical_cast(text, number) && number >= -40 && number <= 60;
        return text == "auto" || is_number ? std::string() : text + " is not -40 to 60 dB or auto";
      });
  seconds("--pad-start", options.pad_start, 0, 1000,
          "Start the span this long before the detected start (0.1; energy: 0.35)");
  seconds("--pad-end", options.pad_end, 0, 1000,
          "End it this long after the detected end (0.25; energy: the pause)");
  seconds("--min-speech", options.min_speech, 0, 3600, "Reject segments that are shorter from start to end");
  seconds("--max-segment", options.max_segment, kLeastSegment, 36000,
          "Split longer utterances where they are quietest");
  // The second is its old name.
  seconds("--pause,--hangover", options.pause, 0, 30,
          "Silence that ends an utterance (about 0.35; energy: 1)");
  command
      .add_option("--min-voiced", options.min_voiced,
                  "Reject segments with fewer voiced frames of 10 ms (energy)")
      ->type_name("FRAMES")
      ->check(CLI::Range(0, kFramesAnHour));
  command
      .add_option("--max-tones", options.max_tones,
                  "Reject segments with more tones among the voiced frames (energy)")
      ->type_name("PERCENT")
      ->check(CLI::Range(0, 100));
  command
      .add_option("--threshold", options.threshold,
                  "How far speech must be above the noise (energy: 8.5dB, or 45 steps of 0.188 dB)")
      ->type_name("DB|N")
      ->transform(CLI::Validator(
          [](std::string& text) {
            const std::optional<int32_t> units = UnitsOf(text);
            if (!units || *units < 0 || *units > kMostUnits)
              return text + " is not 0dB to 188dB or 0 to 1000";
            text = std::to_string(*units);
            return std::string();
          },
          ""));
}

void AddJoinOption(CLI::App& command, ListenOptions& options) {
  command.add_option("--join", options.join, "Make one of utterances that are closer than this")
      ->type_name("S")
      ->check(CLI::Range(0.0, 3600.0));
}

std::vector<std::string> FilesOf(const ListenOptions& options) {
  std::vector<std::string> files;
  if (NamesProfileFile(options.profile)) files.push_back(options.profile);
  if (!options.model.empty()) files.push_back(options.model);
  return files;
}

ListenSetup::ListenSetup(const ListenOptions& given, int32_t device, int32_t os) : setup(StreamSetup()) {
  const bool is_file = NamesProfileFile(given.profile);
  const ProfileFile file = is_file ? ReadProfileFile(given.profile) : ProfileFile();
  const ListenOptions options = Completed(given, file.options);
  CheckDetector(options, is_file ? !file.values.empty() : !options.profile.empty(), device, os);
  setup.options.audio = VASK_STREAM_NO_AUDIO;
  joining.join = options.join.value_or(0);
  if (options.detector == "energy") {
    setup.detector = VASK_STREAM_ENERGY;
    setup.options = EnergyOptions(options, file, device, os);
    shows_span_start_ = setup.options.pad_start >= 0;
    shows_span_end_ = setup.options.pad_end >= 0;
    joining.pad_start = Beyond("--pad-start", options.pad_start, kMostPadStart);
    joining.pad_end = Beyond("--pad-end", options.pad_end,
                             static_cast<double>(setup.options.profile.hangover_frames) / kFramesASecond);
    return;
  }
  ApplyToLearned(options, setup);
  if (!options.model.empty()) model_.reset(ReadModel(options.model));
  setup.model = model_.get();
  shows_span_start_ = options.pad_start.has_value();
  shows_span_end_ = options.pad_end.has_value();
  if (const char* complaint = vask_stream_setup_complaint(&setup)) throw UsageError(complaint);
}

}  // namespace vask::command
