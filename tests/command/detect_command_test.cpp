// vask detect: its options, live input, and many recordings at a time.

#include <sys/ioctl.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>

#include "command/command.h"

namespace vask::test {
namespace {

std::string Number(uint32_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
  return text;
}

// A WAV header with an unknown chunk before the samples.
std::string Header(uint32_t tag, uint32_t channels, uint32_t rate, uint32_t bits, uint32_t data_bytes) {
  const uint32_t frame = channels * bits / 8;
  std::string fmt = Number(tag, 2) + Number(channels, 2) + Number(rate, 4) + Number(rate * frame, 4) +
                    Number(frame, 2) + Number(bits, 2);
  if (tag == 0xFFFE)
    fmt += Number(22, 2) + Number(bits, 2) + Number(0, 4) + Number(1, 2) + std::string(14, 'x');
  return std::string("RIFF") + Number(0, 4) + "WAVEjunk" + Number(3, 4) + "abc " + "fmt " +
         Number(static_cast<uint32_t>(fmt.size()), 4) + fmt + "data" + Number(data_bytes, 4);
}

class DetectCommand : public Command {
 protected:
  void SetUp() override {
    std::signal(SIGPIPE, SIG_IGN);
    room_ = Content(kRoom).substr(44);
  }

  Outcome Pipe(const std::string& bytes, std::vector<std::string> args = {"detect", kEnergy, "-"}) {
    std::ofstream(*this / "in", std::ios::binary) << bytes;
    return Run(std::move(args), [] { dup2(open("in", O_RDONLY), STDIN_FILENO); });
  }

  std::string room_;  // the sample's bytes without the header
};

TEST_F(DetectCommand, PadsFromTheDetectedEdges) {
  const std::vector<Utterance> plain = Detect(kRoom);
  ASSERT_EQ(plain.size(), 5u);
  for (const auto& [start, end] : {std::pair(0.1, 0.25), {0.0, 0.0}, {0.35, 1.0}}) {
    const std::vector<Utterance> found =
        Detect(kRoom, {"--pad-start", std::to_string(start), "--pad-end", std::to_string(end), "-o", "out"});
    ASSERT_EQ(found.size(), 5u);
    for (size_t k = 0; k < 5; ++k) {
      EXPECT_EQ(found[k].start, plain[k].start);
      EXPECT_EQ(found[k].end, plain[k].end);
      EXPECT_NEAR(found[k].span_start, plain[k].start - start, 0.0005);
      EXPECT_NEAR(found[k].span_end, plain[k].end + end, 0.0005);
      const Samples samples = Load(*this / (std::string("out/room-00") + std::to_string(k + 1) + ".wav"));
      EXPECT_EQ(std::lround((found[k].span_end - found[k].span_start) * kRateHz),
                static_cast<long>(samples.size()));
    }
  }
}

TEST_F(DetectCommand, JoinsAndWidensFromTheRecording) {
  const std::vector<Utterance> plain = Detect(kRoom);
  ASSERT_EQ(plain.size(), 5u);
  const Samples room = Load(kRoom);
  const double length = static_cast<double>(room.size()) / kRateHz;
  struct Case {
    std::vector<std::string> more;
    std::vector<std::pair<size_t, size_t>> joined;  // the first and the last
    double pad_start, pad_end;
  };
  for (const Case& c : std::vector<Case>{
           {{"--join", "2"}, {{0, 1}, {2, 2}, {3, 3}, {4, 4}}, 0.35, 1},
           {{"--join", "9"}, {{0, 4}}, 0.35, 1},
           {{"--pad-start", "0.5", "--pad-end", "1.05"}, {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}}, 0.5, 1.05},
           {{"--pad-start", "3", "--pad-end", "5"}, {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}}, 3, 5}}) {
    for (const char* folder : {"raw", "clean"}) fs::remove_all(*this / folder);
    const std::vector<Utterance> found = Detect(kRoom, With({"-o", "raw", "--audio", "raw"}, c.more));
    ASSERT_EQ(Run(With({"detect", kEnergy, kRoom, "-o", "clean"}, c.more)).exit_code, 0);
    ASSERT_EQ(found.size(), c.joined.size()) << c.more[1];
    double before = 0;
    for (size_t k = 0; k < found.size(); ++k) {
      const auto [first, last] = c.joined[k];
      EXPECT_EQ(found[k].start, plain[first].start);
      EXPECT_EQ(found[k].end, plain[last].end);
      const double next = k + 1 < found.size() ? plain[last + 1].start : length;
      EXPECT_NEAR(found[k].span_start, std::max(plain[first].start - c.pad_start, before), 0.0006);
      EXPECT_NEAR(found[k].span_end, std::min(plain[last].end + c.pad_end, next), 0.0006);
      before = found[k].span_end;
      const std::string name = "room-00" + std::to_string(k + 1) + ".wav";
      const Samples raw = Load(*this / ("raw/" + name)), clean = Load(*this / ("clean/" + name));
      EXPECT_EQ(std::lround((found[k].span_end - found[k].span_start) * kRateHz),
                static_cast<long>(raw.size()));
      EXPECT_TRUE(
          std::equal(raw.begin(), raw.end(), room.begin() + std::lround(found[k].span_start * kRateHz)));
      EXPECT_EQ(clean.size(), raw.size());
      // At the start it has not learned the noise yet.
      if (k == 0 || found[k].span_start > found[k].start - 0.2) continue;
      EXPECT_LT(PowerDb(clean, 0, 0.2), PowerDb(raw, 0, 0.2) - 6);  // the noise is reduced there too
    }
  }
  EXPECT_EQ(Run({"detect", kEnergy, kRoom, "--pad-end", "5.1"}).exit_code, 2);
  EXPECT_EQ(Pipe(room_, {"detect", kEnergy, "-", "--join", "9"}).out.substr(0, 16), "-\t1\t1.020\t18.360");
  EXPECT_EQ(Pipe(room_, {"detect", kEnergy, "-", "--join", "9", "-o", "live"}).exit_code, 1);
}

TEST_F(DetectCommand, WritesTheOriginalSampleForSample) {
  const Samples room = Load(kRoom);
  for (const int format : {SF_FORMAT_WAV | SF_FORMAT_PCM_24, SF_FORMAT_FLAC | SF_FORMAT_PCM_16,
                           SF_FORMAT_WAV | SF_FORMAT_FLOAT, SF_FORMAT_AU | SF_FORMAT_ULAW}) {
    const int rate = 44100;
    Samples stereo;
    for (const int16_t sample : AtRate(room, rate))
      stereo.insert(stereo.end(), {sample, int16_t(sample / 3)});
    Save(*this / "x.any", stereo, rate, 2, format);
    const auto read = [&](const fs::path& path, SF_INFO& info) {
      SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
      std::vector<double> samples(static_cast<size_t>(info.frames * info.channels));
      sf_readf_double(file, samples.data(), info.frames);
      sf_close(file);
      return samples;
    };
    SF_INFO whole = {}, clip = {};
    const std::vector<double> all = read(*this / "x.any", whole);
    const Outcome outcome = Run({"detect", kEnergy, "x.any", "--audio", "original", "-o", "out",
                                 "--overwrite", "-f", "jsonl", "--pad-start", "0"});
    size_t at = outcome.out.find("\"samples\":[");
    for (int k = 1; at != std::string::npos; ++k, at = outcome.out.find("\"samples\":[", at + 1)) {
      long first = 0, last = 0;
      std::sscanf(outcome.out.c_str() + at, "\"samples\":[%ld,%ld]", &first, &last);
      const std::vector<double> samples = read(*this / ("out/x-00" + std::to_string(k) + ".wav"), clip);
      EXPECT_EQ(clip.samplerate, rate);
      EXPECT_EQ(clip.channels, 2);
      ASSERT_EQ(clip.frames, last - first);
      EXPECT_TRUE(std::equal(samples.begin(), samples.end(), all.begin() + 2 * first)) << format << " " << k;
    }
  }
  EXPECT_EQ(Files().size(), 1u + 5);
}

TEST_F(DetectCommand, TrimsAwayWhatIsNotSpeech) {
  Samples stereo;
  for (const int16_t sample : Load(kRoom)) stereo.insert(stereo.end(), {sample, int16_t(sample / 2)});
  Save(*this / "x.wav", stereo, kRateHz, 2);
  const std::vector<Utterance> found = Detect("x.wav");
  for (const double keep : {0.0, 0.7, 100.0}) {
    const Outcome outcome = Run({"trim", kEnergy, "x.wav", "-o", "y.flac", "--keep", std::to_string(keep)});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.err;
    SF_INFO info = {};
    SNDFILE* file = sf_open((*this / "y.flac").c_str(), SFM_READ, &info);
    ASSERT_NE(file, nullptr);
    Samples trimmed(static_cast<size_t>(2 * info.frames));
    sf_readf_short(file, trimmed.data(), info.frames);
    sf_close(file);
    std::vector<std::array<double, 4>> pieces;
    std::istringstream lines(outcome.out);
    for (std::array<double, 4> p; lines >> p[0] >> p[1] >> p[2] >> p[3];) pieces.push_back(p);
    ASSERT_EQ(pieces.size(), keep > 1 ? 1u : keep > 0 ? 3u : 5u) << outcome.out;
    EXPECT_EQ(pieces.front()[0], found.front().span_start);
    EXPECT_EQ(pieces.back()[1], found.back().span_end);
    double place = 0;
    for (const auto& [from, to, out_from, out_to] : pieces) {
      EXPECT_NEAR(out_from, place, 0.0011);
      EXPECT_NEAR(out_to - out_from, to - from, 0.0011);
      place = out_to;
      const auto at = stereo.begin() + 2 * std::lround(from * kRateHz);
      EXPECT_TRUE(std::equal(at, at + 2 * std::lround((to - from) * kRateHz) - 64,
                             trimmed.begin() + 2 * std::lround(out_from * kRateHz)))
          << from;
    }
    EXPECT_EQ(std::lround(place * kRateHz), info.frames);
  }
  Save(*this / "silence.wav", Samples(kRateHz));
  const Outcome none = Run({"trim", "silence.wav", "-o", "none.wav"});
  EXPECT_EQ(none.exit_code, 1);
  EXPECT_EQ(none.err,
            "vask: silence.wav: no utterance; it is silent: nothing is left of it, and nothing is written\n");
  EXPECT_FALSE(fs::exists(*this / "none.wav"));
}

TEST_F(DetectCommand, RejectsAndSplitsAsAsked) {
  const std::vector<Utterance> plain = Detect(kRoom);
  const auto longer = std::count_if(plain.begin(), plain.end(), [](auto& u) { return u.end - u.start >= 2; });
  ASSERT_TRUE(longer > 0 && longer < 5);
  EXPECT_EQ(Detect(kRoom, {"--min-speech", "2"}).size(), static_cast<size_t>(longer));
  EXPECT_EQ(Detect(kRoom, {"--min-voiced", "1000"}).size(), 0u);
  const std::string all = Run({"detect", kEnergy, kRoom, "--verbose", "--min-speech", "2"}).out;
  EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 5);
  EXPECT_NE(all.find("\t-\t12.970\t14.090\t"), std::string::npos) << all;
  EXPECT_NE(all.find("\trejected too-short\n"), std::string::npos) << all;
  EXPECT_NE(Run({"detect", kEnergy, kRoom, "--verbose", "--min-voiced", "1000"}).out.find("too-little-voice"),
            std::string::npos);

  const std::vector<Utterance> split = Detect(kRoom, {"--max-segment", "2.5"});
  EXPECT_GT(split.size(), plain.size());
  for (size_t k = 0; k < split.size(); ++k) {
    EXPECT_LE(split[k].span_end - split[k].span_start, 2.5005);
    const double next = split[k].ended == "split" ? split.at(k + 1).span_start : split[k].span_end;
    EXPECT_EQ(split[k].span_end, next) << k;
  }
  const std::vector<Utterance> quick = Detect(kRoom, {"--pause", "0.6"});
  ASSERT_GE(quick.size(), 5u);
  EXPECT_NEAR(quick[0].span_end, quick[0].end + 0.6, 0.0005);
}

TEST_F(DetectCommand, TakesProfilesFromTheirNamesAndFiles) {
  const auto out = [&](const std::vector<std::string>& more) {
    return Run(With({"detect", kEnergy, kRoom}, more)).out;
  };
  EXPECT_EQ(out({"--profile", "general"}), out({}));
  EXPECT_EQ(out({"--profile", "32"}), out({"--device", "32"}));
  EXPECT_EQ(out({"--device", "32", "--profile", "general"}), out({"--device", "general"}));
  const std::string lower = out({"--threshold", "25", "--hangover", "0.8"});
  EXPECT_NE(lower, out({}));
  std::ofstream(*this / "text") << "# mine\nvad_threshold = 25\n\nhangover_frames: 80 # 0.8 s\n";
  std::ofstream(*this / "marked") << "\xEF\xBB\xBFvad_threshold 25\r\nhangover_frames 80\r\n";
  std::ofstream(*this / "json") << "\xEF\xBB\xBF{\"hangover_frames\": 80, \"vad_threshold\": 25}";
  // 25 * 10 log10(2) / 16 = 4.70 dB, and 24.5 steps are 4.61 dB
  EXPECT_EQ(out({"--threshold", "4.62dB", "--pause", "0.8"}), lower);
  EXPECT_NE(out({"--threshold", "4.60dB", "--pause", "0.8"}), lower);
  std::ofstream(*this / "levels") << "vad_threshold 4.7dB\nhangover_frames 80\nuv_energy_offset 3.76DB\n";
  std::ofstream(*this / "json levels") << "{\"vad_threshold\": \"4.7dB\", \"hangover_frames\": 80}";
  for (const char* file : {"text", "marked", "json", "levels", "json levels"})
    EXPECT_EQ(out({"--profile", file}), lower) << file;
  EXPECT_EQ(out({"--profile", "json", "--threshold", "45", "--hangover", "1"}), out({}));

  // The preset has the library's values, and explicit options override it.
  const std::vector<Utterance> robust = Detect(kRoom, {"--preset", "robust"});
  ASSERT_EQ(robust.size(), 5u);
  EXPECT_NEAR(robust[0].span_start, robust[0].start - 0.1, 0.0005);
  EXPECT_EQ(out({"--preset", "robust", "--profile", "general", "--min-voiced", "0", "--min-speech", "0",
                 "--max-tones", "100", "--pad-start", "0.35", "--pad-end", "1"}),
            out({}));
}

TEST_F(DetectCommand, WritesRawAndFlacOfTheSameSpan) {
  const std::vector<Utterance> found = Detect(kRoom, {"-o", "raw", "--audio", "raw", "--flac"});
  ASSERT_EQ(Run({"detect", kEnergy, kRoom, "-o", "clean"}).exit_code, 0);
  const Samples room = Load(kRoom);
  for (size_t k = 0; k < found.size(); ++k) {
    const std::string name = std::string("room-00") + std::to_string(k + 1);
    const Samples raw = Load(*this / ("raw/" + name + ".flac"));
    const auto first = room.begin() + std::lround(found[k].span_start * kRateHz);
    EXPECT_TRUE(std::equal(raw.begin(), raw.end(), first)) << name;
    const Samples clean = Load(*this / ("clean/" + name + ".wav"));
    EXPECT_EQ(clean.size(), raw.size());
    EXPECT_NE(clean, raw);
  }
  EXPECT_EQ(Content(*this / "raw/room-001.flac").substr(0, 4), "fLaC");
}

TEST_F(DetectCommand, SaysWhichOptionsAreWrong) {
  std::ofstream(*this / "unknown") << "hangover_frames 80\nhangover 3\n";
  std::ofstream(*this / "half") << "hangover_frames\n";
  std::ofstream(*this / "frames") << "vad_threshold 8dB\nhangover_frames 8dB\n";
  std::ofstream(*this / "text.json") << "{\"yin_min\": 0.5}";
  const std::string level = "{\"vad_threshold\": ";
  std::ofstream nested(*this / "nested");
  for (int k = 0; k < 100000; ++k) nested << level;
  nested << 40 << std::string(100000, '}') << std::flush;
  std::ofstream(*this / "deep") << "{\"sample_shift\": 40}";
  struct Case {
    std::vector<std::string> args;
    int exit_code;
    std::string error;
  };
  for (const Case& c : std::vector<Case>{
           {{"--pad-start", "-1"}, 2, "--pad-start: -1 is not 0 to"},
           {{"--pad-end", "nan"}, 2, "--pad-end: nan is not 0 to"},
           {{"--pause", "31"}, 2, "--pause: 31 is not 0 to 30 s"},
           {{"--hangover", "31"}, 2, "--pause: 31 is not 0 to 30 s"},
           {{"--threshold", "1001"}, 2, "--threshold: 1001 is not 0dB to 188dB or 0 to 1000"},
           {{"--threshold", "-1dB"}, 2, "--threshold: -1dB is not 0dB to"},
           {{"--threshold", "nandB"}, 2, "--threshold: nandB is not 0dB to"},
           {{"--threshold", "8.5"}, 2, "--threshold: 8.5 is not 0dB to"},
           {{"--device", "loud"}, 2, "--device"},
           {{"--max-tones", "101"}, 2, "--max-tones"},
           {{"--max-segment", "1.4"}, 2, "--max-segment: 1.4 is not 1.5 to 36000 s"},
           {{"--min-speech", "3", "--max-segment", "2"}, 2, "--min-speech is above --max-segment"},
           {{"--preset", "loud"}, 2, "--preset"},
           {{"--format", "xml"}, 2, "--format"},
           {{"--resume"}, 2, "--output"},
           {{"--flac"}, 2, "--output"},
           {{"--jobs", "0"}, 2, "--jobs"},
           {{"-", "-"}, 2, "standard input (-) can be read only once"},
           {{"-", "--files-from", "-"}, 2, "only once"},
           {{kRoom, "-f", "webvtt"}, 2, "webvtt holds one recording"},
           {{"--profile", "none"}, 1, "none: no such file"},
           {{"--profile", "unknown"}, 1, "unknown: line 2: there is no value \"hangover\""},
           {{"--profile", "half"}, 1, "half: line 1: is not a name and a number"},
           {{"--profile", "text.json"}, 1, "yin_min is not a whole number"},
           {{"--profile", "frames"},
            1,
            "frames: line 2: hangover_frames is not a whole number of 32 bits: write"},
           {{"--profile", "nested"}, 1, "nested: is not a JSON object"},
           {{"--profile", "deep"}, 2, "--profile: sample_shift is not 0 to 15"},
           {{"--files-from", "none"}, 1, "none: no such file"}}) {
    const Outcome outcome = Run(With({"detect", kEnergy, kRoom}, c.args));
    EXPECT_EQ(outcome.exit_code, c.exit_code) << c.error;
    EXPECT_EQ(outcome.out, "") << c.error;
    EXPECT_NE(outcome.err.find(c.error), std::string::npos) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  }
}

TEST_F(DetectCommand, ReadsStandardInputInEveryForm) {
  std::string wanted = Run({"detect", kEnergy, kRoom}).out;
  for (size_t at = 0; (at = wanted.find(kRoom)) != std::string::npos;) wanted.replace(at, kRoom.size(), "-");
  std::string three, four, floats, stereo;  // the same samples
  for (size_t i = 0; i < room_.size(); i += 2) {
    const std::string sample = room_.substr(i, 2);
    int16_t value = 0;
    std::memcpy(&value, sample.data(), 2);
    const float scaled = static_cast<float>(value) / 32768;
    three += std::string(1, '\0') + sample;
    four += std::string(2, '\0') + sample;
    floats.append(reinterpret_cast<const char*>(&scaled), 4);
    stereo += sample + sample;
  }
  const auto bytes = static_cast<uint32_t>(room_.size());
  for (const std::string& input :
       {room_, Header(1, 1, 16000, 16, bytes) + room_ + "LIST....", Header(1, 1, 16000, 16, 0) + room_,
        Header(1, 1, 16000, 16, 0xFFFFFFFF) + room_, Header(1, 1, 16000, 24, 0) + three,
        Header(0xFFFE, 1, 16000, 32, 0x7FFFFFFF) + four, Header(3, 1, 16000, 32, 0) + floats,
        Header(1, 2, 16000, 16, 0) + stereo}) {
    const Outcome outcome = Pipe(input);
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, wanted) << input.substr(0, 60);
  }
  Samples slow = AtRate(Load(kRoom), 8000);
  const std::string slow_bytes(reinterpret_cast<const char*>(slow.data()), 2 * slow.size());
  const std::string heard = Pipe(Header(1, 1, 8000, 16, 0) + slow_bytes).out;
  EXPECT_EQ(std::count(heard.begin(), heard.end(), '\n'), 5) << heard;

  for (const auto& [input, error] : {std::pair<std::string, std::string>{"", "holds no samples"},
                                     {Header(1, 1, 16000, 16, 0), "holds no samples"},
                                     {Header(1, 1, 16000, 16, 0).substr(0, 50), "cannot be read as audio ("},
                                     {Header(7, 1, 16000, 8, 0), "holds no samples"},
                                     {Header(1, 0, 16000, 16, 0), "cannot be read as audio ("},
                                     {"RIFF1234AVI ", "cannot be read as audio ("},
                                     {"fLaC....", "cannot be read as audio ("}}) {
    const Outcome outcome = Pipe(input);
    EXPECT_EQ(outcome.exit_code, 1) << error;
    EXPECT_NE(outcome.err.find("vask: standard input: "), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find(error), std::string::npos) << outcome.err;
  }
}

TEST_F(DetectCommand, ListsAnUtteranceAsSoonAsItEnds) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pid_t child = Start({"detect", kEnergy, "-", "-o", "."}, [&] {
    dup2(ends[0], STDIN_FILENO);
    close(ends[1]);
  });
  close(ends[0]);
  // To where the first sentence has ended: 3.48 s, a second of hangover, the detector's lag.
  const size_t sent = 160 * 2 * 455, second = 160 * 2 * 620;
  ASSERT_EQ(write(ends[1], room_.data(), sent), static_cast<ssize_t>(sent));
  const auto heard = [&] { return Content(dir_.string() + ".out"); };
  for (int k = 0; k < 5000 && heard().empty(); ++k) usleep(1000);
  EXPECT_EQ(heard(), "-\t1\t1.020\t3.480\t0.670\t4.480\t0.49\tsilence\n");
  EXPECT_EQ(Files(), std::vector<std::string>{"stdin-001.wav"});
  // Ctrl-C in the middle of the second one: it is decided and listed.
  ASSERT_EQ(write(ends[1], room_.data() + sent, second - sent), static_cast<ssize_t>(second - sent));
  for (int left = 1; left > 0; usleep(1000)) ioctl(ends[1], FIONREAD, &left);
  usleep(50000);
  kill(child, SIGINT);
  const Outcome outcome = Finish(child);
  close(ends[1]);
  EXPECT_EQ(outcome.exit_code, -SIGINT);
  EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 2) << outcome.out;
  EXPECT_NE(outcome.out.find("\tinput-end\n"), std::string::npos) << outcome.out;
  EXPECT_EQ(Files().size(), 2u);
}

TEST_F(DetectCommand, ListsTheSameForAnyNumberOfJobs) {
  const std::vector<std::string> files = Many(60);
  std::string list;
  std::string marked = "\xEF\xBB\xBF";  // as editors on other systems save it
  for (const std::string& file : files) {
    list += file + "\n";
    marked += file + "\r\n";
  }
  for (const char* format : {"text", "jsonl"}) {
    const Outcome one = Run(With({"detect", kEnergy, "-f", format, "-j1"}, files));
    EXPECT_EQ(one.exit_code, 1);
    EXPECT_EQ(std::count(one.err.begin(), one.err.end(), '\n'), 2) << one.err;
    EXPECT_GT(std::count(one.out.begin(), one.out.end(), '\n'), 50);
    for (const char* jobs : {"2", "7"}) {
      const Outcome more = Run(With({"detect", kEnergy, "-f", format, "--jobs", jobs}, files));
      EXPECT_EQ(more.out, one.out) << jobs;
      EXPECT_EQ(more.err, one.err) << jobs;
    }
    for (const std::string& lines : {list, marked})
      EXPECT_EQ(Pipe(lines, {"detect", kEnergy, "-f", format, "--files-from", "-"}).out, one.out);
    std::replace(list.begin(), list.end(), '\n', '\0');
    EXPECT_EQ(Pipe(list, {"detect", kEnergy, "-f", format, "-0", "--files-from", "in"}).out, one.out);
    std::replace(list.begin(), list.end(), '\0', '\n');
  }
  const std::string json = Run({"detect", kEnergy, "-f", "jsonl", "a\xFF\"b\xC2\x9B\xC3\x9B"}).out;
  EXPECT_EQ(json,
            "{\"file\":\"a\xEF\xBF\xBD\\\"b\\u009b\xC3\x9B\",\"error\":\"no such file: check the name\"}\n");
}

// The fields of the lines of jsonl that have all of them, in order.
std::vector<std::vector<double>> Fields(const std::string& jsonl, const std::vector<std::string>& keys) {
  std::vector<std::vector<double>> rows;
  std::istringstream lines(jsonl);
  for (std::string line; std::getline(lines, line);) {
    std::vector<double> row;
    for (const std::string& key : keys) {
      const size_t at = line.find("\"" + key + "\":");
      if (at != std::string::npos) row.push_back(std::atof(line.c_str() + at + key.size() + 3));
    }
    if (row.size() == keys.size()) rows.push_back(row);
  }
  return rows;
}

TEST_F(DetectCommand, MeasuresLevelNoiseAndClipping) {
  const double full_db = 20 * std::log10(32768.0);
  struct Case {
    double gain;
    const char* detector;
    std::vector<std::string> more;
  };
  for (const Case& c : {Case{0.5, "energy", {}}, Case{1, "learned", {}}, Case{6, "learned", {}},
                        Case{1, "energy", {"--gain", "6"}}}) {
    Samples heard, stereo;
    for (const int16_t sample : Load(kRoom)) {
      heard.push_back(static_cast<int16_t>(std::clamp(sample * c.gain, -32768.0, 32767.0)));
      stereo.insert(stereo.end(), 2, heard.back());
    }
    Save(*this / "x.wav", stereo, kRateHz, 2);
    const Outcome outcome =
        Run(With({"detect", std::string("--detector=") + c.detector, "x.wav", "-f", "jsonl"}, c.more));
    const auto rows = Fields(outcome.out, {"start", "end", "level_db", "snr_db", "clipped"});
    ASSERT_EQ(rows.size(), 5u) << outcome.out;
    for (const auto& row : rows) {
      EXPECT_NEAR(row[2], PowerDb(heard, row[0], row[1]) - full_db, 0.051);
      std::vector<double> frames;
      for (double t = std::max(0.0, row[0] - 10); t < row[1] + 0.3; t += 0.01)
        frames.push_back(PowerDb(heard, t, t + 0.01) - full_db);
      std::sort(frames.begin(), frames.end());
      EXPECT_NEAR(row[3], row[2] - frames[frames.size() / 10], 0.5);
      const auto first = heard.begin() + std::lround(row[0] * kRateHz);
      const auto last = heard.begin() + std::lround(row[1] * kRateHz);
      const auto clipped = std::count_if(first, last, [](int16_t s) { return s == 32767 || s <= -32767; });
      EXPECT_NEAR(row[4], static_cast<double>(clipped) / static_cast<double>(last - first), 1e-6);
      EXPECT_EQ(row[4] > 0, c.gain == 6);
    }
  }
}

TEST_F(DetectCommand, ReadsFolders) {
  fs::create_directories(*this / "calls/.git/x");
  fs::create_directories(*this / "calls/b/out");
  for (const char* name :
       {"calls/z.wav", "calls/a.WAV", "calls/.h.wav", "calls/b/c.wav", "calls/b/out/d.wav"})
    fs::copy(kRoom, *this / name);
  fs::create_directory_symlink("..", *this / "calls/b/up");
  std::ofstream(*this / "calls/notes.txt") << "no sound";
  struct Case {
    std::vector<std::string> more, files;
  };
  for (const Case& c : std::vector<Case>{
           {{}, {"calls/a.WAV", "calls/z.wav"}},
           {{"--recursive"}, {"calls/a.WAV", "calls/b/c.wav", "calls/b/out/d.wav", "calls/z.wav"}},
           {{"--recursive", "-o", "calls/b/out"}, {"calls/a.WAV", "calls/b/c.wav", "calls/z.wav"}}}) {
    const Outcome outcome = Run(With({"detect", kEnergy, "calls"}, c.more));
    EXPECT_EQ(outcome.exit_code, 0);
    std::vector<std::string> files;
    std::istringstream lines(outcome.out);
    for (std::string line; std::getline(lines, line);) {
      const std::string file = line.substr(0, line.find('\t'));
      if (files.empty() || files.back() != file) files.push_back(file);
    }
    EXPECT_EQ(files, c.files);
    EXPECT_EQ(outcome.err.find("vask: calls: 1 of "), 0u) << outcome.err;
  }
  EXPECT_EQ(Run({"detect", "calls", "-o", "calls"}).exit_code, 2);
  fs::create_directory(*this / "none");
  const Outcome none = Run({"detect", kEnergy, "none", "calls/z.wav"});  // the others are read all the same
  EXPECT_EQ(none.exit_code, 1);
  EXPECT_EQ(none.err, "vask: none: holds no recordings: --recursive also looks into its folders\n");
  EXPECT_EQ(std::count(none.out.begin(), none.out.end(), '\n'), 5);
}

TEST_F(DetectCommand, SumsUpARun) {
  const std::vector<std::string> run = {"detect", kEnergy, kRoom, "none.wav", kRoom, "--summary"};
  for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"-o", "out", "--resume"}}) {
    const Outcome outcome = Run(With(run, more));
    EXPECT_NE(outcome.err.find(
                  "\nvask: 2 recordings, 1 failed, 0.7 min, 0.3 min of speech (45 %), 10 utterances, "),
              std::string::npos)
        << outcome.err;
    EXPECT_TRUE(outcome.err.ends_with(" times real time\n")) << outcome.err;
  }
}

TEST_F(DetectCommand, WritesAListingOfEachRecordingNextToTheUtterances) {
  fs::copy(kRoom, *this / "b.wav");
  EXPECT_EQ(Run({"detect", kEnergy, kRoom, "b.wav", "missing.wav", "-f", "labels", "-o", "out"}).out, "");
  const std::string labels = Content(*this / "out/room.txt");
  EXPECT_EQ(std::count(labels.begin(), labels.end(), '\n'), 5);
  EXPECT_EQ(Content(*this / "out/b.txt"), labels);
  EXPECT_EQ(Run({"detect", kEnergy, kRoom, "-f", "labels"}).out, labels);
  EXPECT_FALSE(fs::exists(*this / "out/missing.txt"));
}

TEST_F(DetectCommand, NamesManyRecordingsOfOneNameQuickly) {
  std::string list;
  for (int k = 0; k < 10000; ++k) list += "short.wav\n";
  Save(*this / "short.wav", Samples(160));
  const auto seconds = [&](const char* format) {
    const auto spent = [] {
      struct rusage usage;
      getrusage(RUSAGE_CHILDREN, &usage);
      return static_cast<double>(usage.ru_utime.tv_sec) + 1e-6 * static_cast<double>(usage.ru_utime.tv_usec);
    };
    const double before = spent();
    EXPECT_EQ(Pipe(list, {"detect", kEnergy, "-f", format, "--files-from", "in"}).exit_code, 0);
    return spent() - before;
  };
  EXPECT_LT(seconds("rttm"), 3 * seconds("text") + 0.5);
}

TEST_F(DetectCommand, NeedsNoMoreMemoryForALongFileNorForManyFiles) {
  const std::vector<std::string> few = Many(20);
  std::vector<std::string> many;
  for (int k = 0; k < 20; ++k) many = With(many, few);
  const long usual = Run(With({"detect", kEnergy, "-j2", "-o", "a"}, few)).peak_kib;
  EXPECT_LT(Run(With({"detect", kEnergy, "-j2", "-o", "b"}, many)).peak_kib, usual + 2000);
}

}  // namespace
}  // namespace vask::test
