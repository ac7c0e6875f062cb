// The two detectors of the command, and vask denoise for listening. What the learned detector finds is not
// looked at here: streams and training have tests of that.
#include <numeric>

#include "command/command.h"

namespace vask::test {
namespace {

using ListeningCommand = Command;

// Two channels of speech in hiss, above 8 kHz too.
std::vector<int16_t> TwoChannels(int rate) {
  const Samples speech = AtRate(Load(kRoom), rate);
  std::mt19937 random(5);
  std::uniform_int_distribution<int> hiss(-300, 300);
  std::vector<int16_t> both;
  for (size_t i = 0; i < std::min<size_t>(speech.size(), 6 * static_cast<size_t>(rate)); ++i) {
    both.push_back(static_cast<int16_t>(speech[i] / 2 + hiss(random)));
    both.push_back(static_cast<int16_t>(speech[i] / 4 + hiss(random)));
  }
  return both;
}

std::vector<int16_t> LoadAll(const fs::path& path, SF_INFO& info) {
  info = {};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  EXPECT_NE(file, nullptr) << path;
  std::vector<int16_t> samples(static_cast<size_t>(info.frames * info.channels));
  sf_readf_short(file, samples.data(), info.frames);
  sf_close(file);
  return samples;
}

TEST_F(ListeningCommand, DenoiseKeepsRateChannelsFormAndWhatItIsToldToKeep) {
  struct Case {
    int rate, format;
    std::string ending;
  };
  for (const Case& c : {Case{48000, SF_FORMAT_WAV | SF_FORMAT_PCM_16, ".wav"},
                        Case{44100, SF_FORMAT_FLAC | SF_FORMAT_PCM_16, ".flac"},
                        Case{16000, SF_FORMAT_WAV | SF_FORMAT_PCM_16, ".wav"},
                        Case{8000, SF_FORMAT_WAV | SF_FORMAT_FLOAT, ".wav"}}) {
    SCOPED_TRACE(c.rate);
    const std::vector<int16_t> input = TwoChannels(c.rate);
    const std::string in = "in" + c.ending, out = "out" + c.ending;
    Save(*this / in, input, c.rate, 2, c.format);
    for (const std::string& untouched : {std::string("--mix=0"), std::string("--limit=0")}) {
      ASSERT_EQ(Run({"denoise", in, "-o", out, untouched}).err, "");
      SF_INFO info;
      EXPECT_EQ(LoadAll(*this / out, info), input) << untouched;
      EXPECT_EQ(info.samplerate, c.rate);
      EXPECT_EQ(info.channels, 2);
      EXPECT_EQ(info.format, c.format);
    }
    // Each channel comes out as it would alone.
    ASSERT_EQ(Run({"denoise", in, "-o", out}).err, "");
    SF_INFO info;
    const std::vector<int16_t> filtered = LoadAll(*this / out, info);
    ASSERT_EQ(filtered.size(), input.size());
    for (size_t channel = 0; channel < 2; ++channel) {
      std::vector<int16_t> one(input.size() / 2);
      for (size_t i = 0; i < one.size(); ++i) one[i] = input[2 * i + channel];
      Save(*this / ("one" + c.ending), one, c.rate, 1, c.format);
      ASSERT_EQ(Run({"denoise", "one" + c.ending, "-o", out}).err, "");
      const std::vector<int16_t> alone = LoadAll(*this / out, info);
      for (size_t i = 0; i < one.size(); ++i) ASSERT_EQ(alone[i], filtered[2 * i + channel]) << i;
    }
  }
}

// Hiss before the first word, cut no more than the limit, above 8 kHz as below.
TEST_F(ListeningCommand, DenoiseCutsNoiseAtAllFrequencies) {
  constexpr int kRate = 48000;
  std::mt19937 random(6);
  std::uniform_int_distribution<int> hiss(-300, 300);
  Samples noise(5 * kRate);
  for (int16_t& sample : noise) sample = static_cast<int16_t>(hiss(random));
  Save(*this / "hiss.wav", noise, kRate);
  ASSERT_EQ(Run({"denoise", "hiss.wav", "-o", "out.wav", "--limit", "12"}).exit_code, 0);
  SF_INFO info;
  const Samples out = LoadAll(*this / "out.wav", info);
  const auto cut = [&](auto filter) {
    double before = 0, after = 0;
    for (size_t i = 3 * kRate; i < 4 * kRate; ++i) {
      before += std::pow(filter(noise, i), 2);
      after += std::pow(filter(out, i), 2);
    }
    return 10 * std::log10(before / after);
  };
  // A difference of neighbours rises by 6 dB an octave; a mean over 12 samples leaves what is under 2 kHz.
  const double high = cut([](const Samples& x, size_t i) { return double{1} * x[i] - x[i - 1]; });
  const double low =
      cut([](const Samples& x, size_t i) { return std::accumulate(&x[i - 11], &x[i] + 1, 0.0); });
  for (const double db : {high, low}) {
    EXPECT_GE(db, 11);
    EXPECT_LE(db, 12.5);
  }
}

TEST_F(ListeningCommand, EnergyDetectorHearsQuietRecordingsWithGain) {
  Samples quiet = Load(kRoom);
  for (int16_t& sample : quiet) sample = static_cast<int16_t>(sample / 16);
  Save(*this / "quiet.wav", quiet);
  const Outcome nothing = Run({"detect", kEnergy, "quiet.wav"});
  EXPECT_EQ(nothing.exit_code, 0);
  EXPECT_EQ(nothing.out, "");
  EXPECT_EQ(nothing.err, "vask: quiet.wav: no utterance; its peak is -35 dBFS: try --gain 25\n");
  const auto lines = [](const std::string& text) { return std::count(text.begin(), text.end(), '\n'); };
  const Outcome louder = Run({"detect", kEnergy, "quiet.wav", "--gain", "25"});
  EXPECT_EQ(lines(louder.out), 5);
  EXPECT_EQ(louder.err, "");
  EXPECT_EQ(lines(Run({"detect", kEnergy, "quiet.wav", "--gain", "auto"}).out), 5);
  // Speech after digital silence is not taken for the noise.
  Samples late(5 * kRateHz);
  const Samples room = Load(kRoom);
  late.insert(late.end(), room.begin() + 12 * kRateHz, room.end());
  Save(*this / "late.wav", late);
  EXPECT_EQ(lines(Run({"detect", kEnergy, "late.wav", "--gain", "0"}).out), 2);
}

TEST_F(ListeningCommand, SaysWhichOptionNeedsWhichDetector) {
  const std::string needs_energy = " needs --detector energy";
  std::ofstream(*this / "model") << "VASKGATE and no more";
  Save(*this / "zeros.wav", Samples(kRateHz));
  ASSERT_EQ(mkfifo((*this / "pipe").c_str(), 0600), 0);
  const int pipe = open((*this / "pipe").c_str(), O_RDWR | O_CLOEXEC);
  const std::string start = Content(kRoom).substr(0, 20000);
  ASSERT_EQ(write(pipe, start.data(), start.size()), static_cast<ssize_t>(start.size()));
  struct Case {
    std::vector<std::string> args;
    int exit_code;
    std::string message;
  };
  for (const Case& c :
       {Case{{"detect", "--preset", "robust", kRoom}, 2, "--preset" + needs_energy},
        Case{{"detect", "--threshold", "30", kRoom}, 2, "--threshold" + needs_energy},
        Case{{"detect", "--gain", "3", kRoom}, 2, "--gain" + needs_energy},
        Case{{"detect", kEnergy, "--probability", "0.5", kRoom}, 2, "--probability needs --detector learned"},
        Case{{"packets", kEnergy, "--model", "model", kRoom, "-o", "x"},
             2,
             "--model needs --detector learned"},
        Case{{"detect", kEnergy, "--audio", "listening", "-o", "out", kRoom}, 2, "needs --detector learned"},
        Case{{"--device", "48", "detect", kRoom}, 2, "--device" + needs_energy},
        Case{{"report", "--os", "1", kRoom, "-o", "x"}, 2, "--os" + needs_energy},
        Case{{"detect", "--pad-end", "11", kRoom}, 2, "--pad-end is above 10 s"},
        Case{{"detect", "--pause", "11", kRoom}, 2, "--pause is above 10 s"},
        Case{{"detect", "--min-speech", "3", "--max-segment", "2", kRoom}, 2, "--min-speech is above --max"},
        Case{{"detect", "--pad-start", "1", "--max-segment", "2", kRoom},
             2,
             "not 1.5 s longer than --pad-start"},
        Case{{"detect", kEnergy, "--gain", "auto", "pipe"}, 1, "vask: pipe: cannot be read twice"},
        Case{{"detect", kEnergy, "--gain", "auto", "-"}, 2, "--gain auto reads a recording twice"},
        Case{{"detect", kEnergy, "--gain", "loud", kRoom}, 2, "loud is not -40 to 60 dB or auto"},
        Case{{"denoise", kForRecognition, "--mix", "50", kRoom, "-o", "x"}, 2, "not --for recognition"},
        Case{{"detect", "--model", "none", kRoom}, 1, "vask: none: cannot be read: "},
        Case{{"denoise", "--model", "model", kRoom, "-o", "x"}, 1, "vask: model: "},
        Case{{"denoise", "--model", "model", kRoom, "-o", "model"}, 1, "vask: model: "},
        Case{{"packets", "zeros.wav", "-o", "packets"}, 0, "vask: zeros.wav: no utterance; it is silent\n"},
        Case{{"denoise", "--device", "48", "zeros.wav", "-o", "clean"}, 0, ""},
        Case{{"detect", "zeros.wav"}, 0, "vask: zeros.wav: no utterance; it is silent\n"}}) {
    const Outcome outcome = Run(c.args);
    EXPECT_EQ(outcome.exit_code, c.exit_code) << c.message;
    EXPECT_NE(outcome.err.find(c.message), std::string::npos) << outcome.err;
    EXPECT_FALSE(fs::exists(*this / "x"));
  }
  close(pipe);
}

// Other findings replace what an earlier run finished.
TEST_F(ListeningCommand, ResumesOnlyWithTheSameDetector) {
  ASSERT_EQ(Run({"detect", kEnergy, kRoom, "-o", "out"}).exit_code, 0);
  const std::string listed = Run({"detect", kEnergy, kRoom, "-o", "out", "--resume"}).out;
  for (const std::string& other : {std::string("--detector=learned"), std::string("--probability=0.9")}) {
    ASSERT_EQ(Run({"detect", kRoom, "-o", "out", "--resume", other}).exit_code, 0);
  }
  EXPECT_EQ(Run({"detect", kEnergy, kRoom, "-o", "out", "--resume"}).out, listed);
}

}  // namespace
}  // namespace vask::test
