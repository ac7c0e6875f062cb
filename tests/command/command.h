// The built command in a folder of its own, and recordings for it.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vask/adpcm.h>
#include <vask/frontend.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <numbers>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "support/folder.h"

namespace vask::test {

namespace fs = std::filesystem;
using Samples = std::vector<int16_t>;

constexpr int kRateHz = 16000;
// What these tests compare with is the front end's own: the learned detector's findings move with its model.
inline const std::string kEnergy = "--detector=energy", kForRecognition = "--for=recognition";
inline const std::string kRoom = std::string(VASK_SAMPLES_DIR) + "/room.wav";

struct Outcome {
  int exit_code = -1;  // or minus the signal that ended it
  std::string out, err;
  long peak_kib = 0;
};

struct Utterance {
  double start = 0, end = 0, span_start = 0, span_end = 0;  // s
  double voiced = 0;
  std::string ended;
};

inline std::string Content(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline Samples Load(const fs::path& path) {
  SF_INFO info = {};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  if (file == nullptr) {
    ADD_FAILURE() << "cannot open " << path;
    return {};
  }
  EXPECT_EQ(info.samplerate, kRateHz);
  EXPECT_EQ(info.channels, 1);
  Samples samples(static_cast<size_t>(info.frames));
  sf_readf_short(file, samples.data(), info.frames);
  sf_close(file);
  return samples;
}

inline void Save(const fs::path& path, const Samples& samples, int rate = kRateHz, int channels = 1,
                 int format = SF_FORMAT_WAV | SF_FORMAT_PCM_16) {
  SF_INFO info = {};
  info.samplerate = rate;
  info.channels = channels;
  info.format = format;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  ASSERT_NE(file, nullptr) << path;
  const auto n = static_cast<sf_count_t>(samples.size());
  EXPECT_EQ(sf_write_short(file, samples.data(), n), n);
  sf_close(file);
}

// Band-limited interpolation: a sinc over 32 samples of the lower rate, under a Hann window.
inline Samples AtRate(const Samples& samples, int rate) {
  const double step = double{kRateHz} / rate, band = std::min(1.0, 1 / step), reach = 16 / band;
  Samples out(static_cast<size_t>(static_cast<double>(samples.size()) / step));
  for (size_t t = 0; t < out.size(); ++t) {
    const double place = static_cast<double>(t) * step;
    double sum = 0;
    for (int i = std::max(0, static_cast<int>(place - reach) + 1); i < place + reach; ++i) {
      if (i >= static_cast<int>(samples.size())) break;
      const double x = std::numbers::pi * (i - place);
      sum += samples[i] * (x == 0 ? band : std::sin(band * x) / x * (0.5 + 0.5 * std::cos(x / reach)));
    }
    out[t] = static_cast<int16_t>(std::lround(std::clamp(sum, -32768.0, 32767.0)));
  }
  return out;
}

inline double PowerDb(const Samples& samples, double from, double to) {  // s
  double sum = 0;
  const auto first = static_cast<size_t>(from * kRateHz), last = static_cast<size_t>(to * kRateHz);
  for (size_t i = first; i < last; ++i) sum += double{1} * samples[i] * samples[i];
  return 10 * std::log10(sum / static_cast<double>(last - first));
}

inline long PeakKib(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/status");
  long peak = 0;
  for (std::string line; std::getline(file, line);) std::sscanf(line.c_str(), "VmHWM: %ld kB", &peak);
  return peak;
}

class Command : public testing::Test {
 protected:
  fs::path operator/(const std::string& name) const { return dir_ / name; }

  // Starts the program in the test's folder; `prepare` runs in the child first.
  pid_t Start(
      std::vector<std::string> args, const std::function<void()>& prepare = [] {}) {
    args.insert(args.begin(), "vask");
    std::vector<char*> argv(args.size() + 1, nullptr);
    std::transform(args.begin(), args.end(), argv.begin(), [](std::string& arg) { return arg.data(); });
    const pid_t child = fork();
    if (child != 0) return child;
    // Next to the folder, so that a test can count the files in it.
    const int out = open((dir_.string() + ".out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int err = open((dir_.string() + ".err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (chdir(dir_.c_str()) != 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0) _exit(99);
    prepare();
    execv(VASK_COMMAND, argv.data());
    _exit(98);
  }

  Outcome Finish(pid_t child) {
    Outcome outcome;
    int status = 0;
    // wait4() would count the memory of the test, which the child had until it started the program.
    while (waitpid(child, &status, WNOHANG) == 0) {
      const long peak = PeakKib(child);
      if (peak > 0) outcome.peak_kib = peak;
      usleep(1000);
    }
    outcome.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    for (auto [ending, text] : {std::pair(".out", &outcome.out), std::pair(".err", &outcome.err)}) {
      *text = Content(dir_.string() + ending);
      fs::remove(dir_.string() + ending);
    }
    return outcome;
  }

  Outcome Run(
      std::vector<std::string> args, const std::function<void()>& prepare = [] {}) {
    return Finish(Start(std::move(args), prepare));
  }

  // The utterances of one file, from a run that must succeed and print well-formed output.
  std::vector<Utterance> Detect(const std::string& file, std::vector<std::string> more = {}) {
    more.insert(more.begin(), {"detect", kEnergy, file});
    const Outcome outcome = Run(more);
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.err.empty(), !outcome.out.empty()) << outcome.err;  // it says so if there is none
    std::vector<Utterance> utterances;
    std::istringstream lines(outcome.out);
    for (std::string line; std::getline(lines, line);) {
      Utterance u;
      char ended[20] = "";
      int length = 0;
      const std::string form = file + "\t" + std::to_string(utterances.size() + 1) + "\t";
      EXPECT_EQ(line.substr(0, form.size()), form);
      EXPECT_EQ(std::sscanf(line.c_str() + form.size(), "%lf\t%lf\t%lf\t%lf\t%lf\t%19[a-z-]%n", &u.start,
                            &u.end, &u.span_start, &u.span_end, &u.voiced, ended, &length),
                6)
          << line;
      EXPECT_EQ(form.size() + static_cast<size_t>(length), line.size()) << line;
      u.ended = ended;
      utterances.push_back(u);
    }
    return utterances;
  }

  void ExpectClose(const std::vector<Utterance>& found, const std::vector<Utterance>& wanted,
                   double tolerance) {
    ASSERT_EQ(found.size(), wanted.size());
    for (size_t k = 0; k < found.size(); ++k) {
      EXPECT_NEAR(found[k].start, wanted[k].start, tolerance) << "utterance " << k + 1;
      EXPECT_NEAR(found[k].end, wanted[k].end, tolerance) << "utterance " << k + 1;
    }
  }

  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(dir_)) {
      if (entry.is_regular_file() && entry.path().filename() != ".vask-detect.jsonl")
        names.push_back(fs::relative(entry.path(), dir_));
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  // Files of 5 s from all over the sample, two of them not audio.
  std::vector<std::string> Many(int count) {
    std::vector<std::string> names;
    const Samples room = Load(kRoom);
    for (int k = 0; k < count; ++k) {
      names.push_back(std::string("f") + std::to_string(k) + ".wav");
      const auto from = room.begin() + 6000 * (k % 40);
      Save(*this / names.back(), Samples(from, from + 5 * kRateHz));
    }
    for (const size_t k : {size_t{3}, names.size() - 1}) std::ofstream(*this / names[k]) << "no sound";
    return names;
  }

  static std::vector<std::string> With(std::vector<std::string> args, const std::vector<std::string>& more) {
    args.insert(args.end(), more.begin(), more.end());
    return args;
  }

  Folder folder_;
  const fs::path dir_ = folder_.path;
};

inline std::vector<Utterance> Truth() {
  std::vector<Utterance> truth;
  std::ifstream file(std::string(VASK_SAMPLES_DIR) + "/room.json");
  for (std::string line; std::getline(file, line);) {
    double value = 0;
    if (std::sscanf(line.c_str(), " \"start\": %lf", &value) == 1) truth.emplace_back().start = value;
    if (std::sscanf(line.c_str(), " \"end\": %lf", &value) == 1) truth.back().end = value;
  }
  return truth;
}

}  // namespace vask::test
