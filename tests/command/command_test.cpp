// The vask command from outside: its output, files and exit codes.
#include "command/command.h"

namespace vask::test {
namespace {

TEST_F(Command, FindsTheSentencesOfTheSample) {
  ASSERT_EQ(Truth().size(), 5u);
  ExpectClose(Detect(kRoom), Truth(), 0.3);
}

TEST_F(Command, WritesUtterancesFromTheListedSpans) {
  const std::vector<Utterance> found = Detect(kRoom, {"-o", "new/folder"});
  ASSERT_FALSE(found.empty());
  ASSERT_EQ(Files().size(), found.size());
  ASSERT_EQ(Run({"denoise", kForRecognition, kRoom, "-o", "clean.wav"}).exit_code, 0);
  // Up to the end of the first utterance both modes reduce the same noise: the same samples, 35 frames
  // earlier.
  const Samples first = Load(*this / "new/folder/room-001.wav"), clean = Load(*this / "clean.wav");
  const auto begin = static_cast<size_t>(std::lround((found[0].start - 0.35) * kRateHz));
  ASSERT_LE(begin + first.size(), clean.size());
  EXPECT_TRUE(std::equal(first.begin(), first.end(), clean.begin() + static_cast<std::ptrdiff_t>(begin)));
  EXPECT_NEAR(static_cast<double>(begin + first.size()) / kRateHz, found[0].end + 1.0, 0.03);  // hangover
}

TEST_F(Command, WritesWhatTheFrontEndGivesAnApplication) {
  Samples room = Load(kRoom);
  ASSERT_EQ(Run({"detect", kEnergy, kRoom, "-o", "."}).exit_code, 0);
  ASSERT_EQ(android_init_frontend(".", 2), 1);
  android_reset_frontend();
  android_wrapup_frontend();
  size_t number = 0;
  for (size_t i = 0; i + 160 <= room.size(); i += 160) {
    if (android_process_frame(160, &room[i]) != 1) continue;
    Samples utterance(static_cast<size_t>(android_get_available_frames()));
    android_get_frames(static_cast<int32_t>(utterance.size()), utterance.data());
    android_reset_frontend();
    android_process_frame(160, &room[i]);  // the frame of the end belongs to what comes next
    if (utterance.empty()) continue;       // a noise that was not speech
    EXPECT_EQ(Load(*this / ("room-00" + std::to_string(++number) + ".wav")), utterance) << number;
  }
  android_stop_frontend();
  EXPECT_EQ(number, Files().size());
}

TEST_F(Command, EndsAnUtteranceWithTheFile) {
  const Samples room = Load(kRoom);
  const std::vector<Utterance> whole = Detect(kRoom);
  ASSERT_EQ(whole.size(), 5u);
  // After the first sound of the fourth sentence; in the middle of the fifth; in the pause after that,
  // before the detector has decided. Not whole frames.
  for (const auto& [number, cut] : {std::pair{4, 13.0902}, {5, 17.50003}, {5, 18.5501}}) {
    Save(*this / "cut.wav", Samples(room.begin(), room.begin() + std::lround(cut * kRateHz)));
    const std::vector<Utterance> found = Detect("cut.wav", {"-o", "."});
    ASSERT_EQ(found.size(), static_cast<size_t>(number)) << cut;
    const Utterance& wanted = whole[found.size() - 1];
    EXPECT_EQ(found.back().start, wanted.start);
    EXPECT_NEAR(found.back().end, std::min(cut, wanted.end), 0.1);
    EXPECT_LE(found.back().end, cut + 0.0005);
    const std::string name = "cut-00" + std::to_string(number) + ".wav";
    const double length = static_cast<double>(Load(*this / name).size()) / kRateHz;
    EXPECT_NEAR(found.back().start - 0.35 + length, cut, 0.0006);
  }
}

TEST_F(Command, IgnoresNoiseThatIsNotSpeech) {
  const Samples room = Load(kRoom);
  const Samples pause(room.begin() + 299200, room.begin() + 318400);  // 1.2 s
  std::mt19937 random(7);
  Samples rustle(8000);  // loud enough for a start, but nothing in it is voiced
  for (int16_t& x : rustle) x = static_cast<int16_t>(static_cast<int>(random() % 10001) - 5000);
  Samples all(room.begin(), room.begin() + 14400);
  for (const Samples& part : {rustle, pause, pause, room}) all.insert(all.end(), part.begin(), part.end());
  Save(*this / "all.wav", all);
  std::vector<Utterance> wanted = Truth();
  for (Utterance& u : wanted) u.start += 3.8, u.end += 3.8;
  ExpectClose(Detect("all.wav", {"-o", "new"}), wanted, 0.3);
  EXPECT_EQ(Files().size(), 1 + wanted.size());
}

TEST_F(Command, DenoisesInAlignmentWithTheInput) {
  const Samples room = Load(kRoom);
  ASSERT_EQ(Run({"denoise", kForRecognition, kRoom, "-o", "clean.wav"}).exit_code, 0);
  const Samples clean = Load(*this / "clean.wav");
  ASSERT_EQ(clean.size(), room.size());
  int best_lag = 1000;
  double best = 0;
  for (int lag = -400; lag <= 400; ++lag) {
    double sum = 0;
    for (int i = 400; i < static_cast<int>(room.size()) - 400; ++i)
      sum += double{1} * room[i] * clean[i + lag];
    if (sum > best) best = sum, best_lag = lag;
  }
  EXPECT_EQ(best_lag, 0);
  const std::vector<Utterance> truth = Truth();
  for (size_t k = 0; k + 1 < truth.size(); ++k) {
    const double from = truth[k].end + 0.3, to = truth[k + 1].start - 0.2;
    const double speech_loss =
        PowerDb(room, truth[k].start, truth[k].end) - PowerDb(clean, truth[k].start, truth[k].end);
    const double noise_loss = PowerDb(room, from, to) - PowerDb(clean, from, to);
    EXPECT_GT(noise_loss, speech_loss + 6) << "pause " << k + 1;
    EXPECT_LT(std::abs(speech_loss), 10) << "sentence " << k + 1;
  }
}

TEST_F(Command, DenoisesFilesOfAnyLength) {
  const Samples room = Load(kRoom);
  for (const size_t n : {1, 159, 160, 161, 479, 480, 481, 5000}) {
    for (const size_t zeros : {0, 100, 1000}) {  // leading silence that the engine skips
      Samples samples(zeros, 0);
      samples.insert(samples.end(), room.begin(), room.begin() + static_cast<std::ptrdiff_t>(n));
      Save(*this / "in.wav", samples);
      ASSERT_EQ(Run({"denoise", kForRecognition, "in.wav", "-o", "out.wav"}).exit_code, 0);
      const Samples out = Load(*this / "out.wav");
      ASSERT_EQ(out.size(), samples.size());
      EXPECT_TRUE(std::all_of(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(zeros / 160 * 160),
                              [](int16_t x) { return x == 0; }));
    }
  }
}

TEST_F(Command, FindsTheSameInOtherFormats) {
  const Samples room = Load(kRoom);
  Samples stereo;
  for (const int16_t x : AtRate(room, 44100)) stereo.insert(stereo.end(), {x, x});
  Save(*this / "cd.flac", stereo, 44100, 2, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
  Save(*this / "phone.wav", AtRate(room, 8000), 8000);
  const std::vector<Utterance> found = Detect(kRoom);
  ASSERT_EQ(found.size(), 5u);
  ExpectClose(Detect("cd.flac"), found, 0.05);
  ASSERT_EQ(Run({"denoise", kForRecognition, "cd.flac", "-o", "cd.wav"}).exit_code, 0);
  EXPECT_NEAR(static_cast<double>(Load(*this / "cd.wav").size()), static_cast<double>(room.size()), 1);
  ExpectClose(Detect("phone.wav"), found, 0.2);  // half of the hiss is gone

  // The mean of x + d and x - d is x again: the same bits as the mono file.
  Samples mixed;
  for (size_t i = 0; i < room.size(); ++i) {
    const auto d = static_cast<int16_t>(i % 1000);
    mixed.insert(mixed.end(), {static_cast<int16_t>(room[i] + d), static_cast<int16_t>(room[i] - d)});
  }
  Save(*this / "mixed.wav", mixed, kRateHz, 2);
  ASSERT_EQ(Run({"denoise", kForRecognition, "mixed.wav", "-o", "a.wav"}).exit_code, 0);
  ASSERT_EQ(Run({"denoise", kForRecognition, kRoom, "-o", "b.wav"}).exit_code, 0);
  EXPECT_EQ(Content(*this / "a.wav"), Content(*this / "b.wav"));
}

TEST_F(Command, SaysWhatIsWrong) {
  fs::create_directory(*this / "folder");
  std::ofstream(*this / "empty.wav") << "";
  std::ofstream(*this / "text.wav") << "no sound\n";
  std::ofstream(*this / "header.wav") << Content(kRoom).substr(0, 44);
  Save(*this / "slow.wav", Samples(100), 999);
  std::ofstream(*this / "config.Vask") << "Vask_LOUDNESS: 99\n";
  struct Case {
    std::vector<std::string> args;
    int exit_code;
    std::string error;
  };
  for (const Case& c : std::vector<Case>{
           {{}, 2, "subcommand is required"},
           {{"detct", kRoom}, 2, "vask: no subcommand detct: did you mean detect?: see vask --help\n"},
           {{"--device", "32", "packet"}, 2, "did you mean packets?"},
           {{kRoom}, 2, ": vask detect finds its utterances"},
           {{"nonsense"}, 2, "no subcommand nonsense, only detect, trim, "},
           {{"detect"}, 2, "FILE is required"},
           {{"detect", kEnergy, "--loud", kRoom}, 2, "--loud"},
           {{"detect", kEnergy, "-o", "", kRoom}, 2, "empty"},
           {{"report", kEnergy, "--pad-start", "0.5", kRoom, "-o", "x.html"},
            2,
            "--pad-start is above 0.35 s"},
           {{"denoise", kForRecognition, kRoom}, 2, "--output is required"},
           {{"denoise", kForRecognition, kRoom, kRoom, "-o", "x.wav"}, 2, "not expected"},
           {{"--device", "two", "detect", kEnergy, kRoom}, 2, "--device"},
           {{"--config", "folder", "detect", kEnergy, kRoom}, 2, "contains no readable config.Vask"},
           {{"--config", ".", "detect", kEnergy, kRoom}, 1, "99"},
           // A line break; U+009B and U+202E; a byte 0x9B, but not where it is part of another character.
           {{"detect", kEnergy, "a\n\xC2\x9B\xE2\x80\xAE\x9B\xC3\x9B.wav"},
            1,
            "vask: a????\xC3\x9B.wav: no such file"},
           {{"detect", kEnergy, "folder"}, 1, "vask: folder: holds no recordings: "},
           {{"detect", kEnergy, "empty.wav"}, 1, "vask: empty.wav: is empty: "},
           {{"detect", kEnergy, "text.wav"}, 1, "vask: text.wav: cannot be read as audio "},
           {{"detect", kEnergy, "slow.wav"},
            1,
            "vask: slow.wav: its rate of 999 Hz is not 1000 to 1000000 Hz: "},
           {{"detect", kEnergy, "header.wav"}, 1, "vask: header.wav: holds no samples: "},
           {{"detect", kEnergy, kRoom, "-o", "text.wav"},
            1,
            "vask: text.wav: cannot be created as a folder "},
           {{"denoise", kForRecognition, kRoom, "-o", "folder"}, 1, "vask: folder: cannot be written "},
           {{"denoise", kForRecognition, kRoom, "-o", "no/out.wav"},
            1,
            "vask: no/out.wav: cannot be written "},
           {{"denoise", kForRecognition, kRoom, "-o", "/dev/full"},
            1,
            "vask: /dev/full: cannot be written (No space left"}}) {
    const Outcome outcome = Run(c.args);
    EXPECT_EQ(outcome.exit_code, c.exit_code) << c.error;
    EXPECT_EQ(outcome.out, "") << c.error;
    EXPECT_NE(outcome.err.find(c.error), std::string::npos) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  }
  for (const char* option : {"--help", "--version"}) {
    const Outcome outcome = Run({option});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_NE(outcome.out.find("vask"), std::string::npos);
  }
}

TEST_F(Command, GoesOnAfterAFailedFile) {
  const Outcome alone = Run({"detect", kEnergy, kRoom}),
                all = Run({"detect", kEnergy, kRoom, "missing.wav", kRoom});
  EXPECT_EQ(all.exit_code, 1);
  EXPECT_NE(alone.out, "");
  EXPECT_EQ(all.out, alone.out + alone.out);  // nor does a file depend on the one before
  EXPECT_EQ(all.err, "vask: missing.wav: no such file: check the name\n");
}

TEST_F(Command, FindsTheSameAtEveryLevel) {
  const Outcome fastest = Run({"detect", kEnergy, kRoom}), version = Run({"--cpu", "plain", "--version"});
  EXPECT_NE(version.out.find("\nArithmetic: plain (of plain, portable"), std::string::npos) << version.out;
  for (const char* level : {"plain", "portable"}) {
    EXPECT_EQ(Run({"detect", kEnergy, "--cpu", level, kRoom}).out, fastest.out) << level;
  }
  const Outcome wrong = Run({"--cpu", "abacus", "detect", kEnergy, kRoom});
  EXPECT_EQ(wrong.exit_code, 2);
  EXPECT_EQ(wrong.err.find("vask: --cpu: no level abacus on this machine, only plain, portable"), 0)
      << wrong.err;
}

TEST_F(Command, TakesTheDeviceBeforeAndAfterTheSubcommand) {
  const std::string usual = Run({"detect", kEnergy, kRoom}).out,
                    other = Run({"--device", "32", "detect", kEnergy, kRoom}).out;
  const std::string third = Run({"--device", "32", "--os", "1", "detect", kEnergy, kRoom}).out;
  for (const std::string& out : {usual, other, third}) EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 5);
  EXPECT_NE(usual, other);
  EXPECT_NE(other, third);
  EXPECT_EQ(Run({"detect", kEnergy, "--os", "1", kRoom, "--device", "32"}).out, third);
}

TEST_F(Command, NeverOverwritesAnotherFileOfTheRun) {
  for (const char* name : {"a/x.wav", "b/y.wav", "x-001.wav"}) {
    fs::create_directories((*this / name).parent_path());
    fs::copy(kRoom, *this / name);
  }
  const Outcome outcome = Run({"detect", kEnergy, "-o", ".", "x-001.wav", "a/x.wav", "b/y.wav"});
  EXPECT_EQ(outcome.exit_code, 1);
  EXPECT_EQ(outcome.err.find("vask: ./x-001.wav: is an input of this run: "), 0u) << outcome.err;
  EXPECT_TRUE(Content(*this / "x-001.wav") == Content(kRoom));
  EXPECT_EQ(Files().size(), 3u + 2 * Truth().size());
  EXPECT_TRUE(Content(*this / "x-001-002.wav") == Content(*this / "y-002.wav"));

  // Nor does a subcommand write over what it reads, whatever the name.
  fs::create_symlink("x-001.wav", *this / "soft");
  fs::create_hard_link(*this / "x-001.wav", *this / "hard");
  std::ofstream(*this / "profile") << "vad_threshold 45\n";
  std::ofstream(*this / "config.Vask") << "Vask_LOUDNESS: 1\n";
  struct Case {
    std::vector<std::string> args;
    std::string output;
  };
  for (const Case& c : std::vector<Case>{{{"denoise", kForRecognition, "x-001.wav"}, "./x-001.wav"},
                                         {{"denoise", kForRecognition, "-"}, "hard"},
                                         {{"packets", kEnergy, "x-001.wav"}, "soft"},
                                         {{"unpack", "soft"}, "hard"},
                                         {{"mfcc", "hard"}, "soft"},
                                         {{"report", "x-001.wav"}, "soft"},
                                         {{"report", kRoom, "--profile", "profile"}, "profile"},
                                         {{"packets", kEnergy, kRoom, "--config", "."}, "config.Vask"}}) {
    const std::string before = Content(*this / c.output);
    std::vector<std::string> args = c.args;
    args.insert(args.end(), {"-o", c.output});
    const Outcome refused = Run(args, [] { dup2(open("x-001.wav", O_RDONLY), STDIN_FILENO); });
    EXPECT_EQ(refused.exit_code, 1) << c.args[0];
    EXPECT_EQ(refused.err,
              "vask: " + c.output + ": is an input of this run: choose another name or folder\n");
    EXPECT_EQ(Content(*this / c.output), before) << c.args[0];
  }
  EXPECT_NE(
      Run({"denoise", kForRecognition, "/dev/null", "-o", "/dev/null"}).err.find("cannot be read as audio"),
      std::string::npos);
}

TEST_F(Command, StopsQuietlyWhenNobodyReads) {
  const Outcome closed = Run({"detect", kEnergy, kRoom}, [] {
    int ends[2];
    if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) < 0) _exit(97);
    close(ends[0]);
    close(ends[1]);
  });
  EXPECT_EQ(closed.exit_code, -SIGPIPE);
  EXPECT_EQ(closed.err, "");
  const Outcome full =
      Run({"detect", kEnergy, kRoom}, [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
  EXPECT_EQ(full.exit_code, 1);
  EXPECT_EQ(full.err.find("vask: standard output: cannot be written"), 0u) << full.err;
}

TEST_F(Command, NeedsNoMoreMemoryForALongFile) {
  const Samples room = Load(kRoom);
  const auto repeated = [](const Samples& samples) {  // 5 minutes, 9.6 MB and more
    Samples all;
    for (int k = 0; k < 15; ++k) all.insert(all.end(), samples.begin(), samples.end());
    return all;
  };
  Save(*this / "long.wav", repeated(room));
  Save(*this / "long.flac", repeated(AtRate(room, 22050)), 22050, 1, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
  const long usual = Run({"detect", kEnergy, kRoom}).peak_kib;
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"detect", kEnergy, "long.wav", "-o", "."},
        {"denoise", kForRecognition, "long.flac", "-o", "out.wav"}}) {
    const Outcome outcome = Run(args, [] { setenv("ASAN_OPTIONS", "quarantine_size_mb=0", 1); });
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_LT(outcome.peak_kib, usual + 3000) << args[0];
    if (args[0] == "detect") {
      EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 15 * 5);
    }
  }
}

TEST_F(Command, PacksEachUtteranceAndUnpacksItAgain) {
  ASSERT_EQ(Run({"detect", kEnergy, kRoom, "-o", "spoken"}).exit_code, 0);
  for (const int32_t n : {160, 37, 20000}) {
    ASSERT_EQ(Run({"packets", kEnergy, kRoom, "-o", "packets", "--size", std::to_string(n)}).exit_code, 0);
    ASSERT_EQ(Run({"packets", kEnergy, kRoom, "-o", "bare", "--bare", "--size", std::to_string(n)}).exit_code,
              0);
    ASSERT_EQ(Run({"unpack", "packets", "-o", "out.wav"}).exit_code, 0);
    // With the codec's own functions: every utterance from the zero state, padded with silence.
    std::string stream, bare;
    Samples heard;
    adpcm_state through = {};
    for (size_t k = 1; k <= Truth().size(); ++k) {
      Samples samples = Load(*this / ("spoken/room-00" + std::to_string(k) + ".wav"));
      const size_t packets = (samples.size() + 2 * static_cast<size_t>(n) - 1) / (2 * static_cast<size_t>(n));
      samples.resize(2 * packets * static_cast<size_t>(n));
      const auto count = static_cast<int32_t>(samples.size());
      std::string codes(samples.size() / 2, 0), joined = codes;
      adpcm_state encoder = {}, decoder = {};
      adpcm_coder(samples.data(), reinterpret_cast<uint8_t*>(codes.data()), count, &encoder);
      adpcm_coder(samples.data(), reinterpret_cast<uint8_t*>(joined.data()), count, &through);
      adpcm_decoder(reinterpret_cast<uint8_t*>(codes.data()), samples.data(), count, &decoder);
      for (size_t i = 0; i < packets; ++i) {
        char header[12];
        std::snprintf(header, sizeof header, "%s %6d", i + 1 == packets ? "E" : "D", n);
        stream += header + codes.substr(i * static_cast<size_t>(n), static_cast<size_t>(n));
      }
      bare += joined;
      heard.insert(heard.end(), samples.begin(), samples.end());
    }
    EXPECT_TRUE(Content(*this / "packets") == stream) << n;
    EXPECT_TRUE(Content(*this / "bare") == bare) << n;
    EXPECT_EQ(Load(*this / "out.wav"), heard) << n;
  }
}

TEST_F(Command, KeepsTheWholePacketsOfADamagedStream) {
  ASSERT_EQ(Run({"packets", kEnergy, kRoom, "-o", "whole", "--size", "100"}).exit_code,
            0);  // packets of 108 bytes
  ASSERT_EQ(Run({"unpack", "whole", "-o", "whole.wav"}).exit_code, 0);
  const std::string whole = Content(*this / "whole");
  const Samples sound = Load(*this / "whole.wav");
  struct Case {
    std::string stream;
    size_t packets, byte;
    std::string error;
  };
  for (const Case& c :
       std::vector<Case>{{whole.substr(0, 5 * 108 + 50), 5, 540, "a packet is truncated"},
                         {whole.substr(0, 5 * 108 + 3), 5, 540, "a packet is truncated"},
                         {whole.substr(0, 5 * 108), 5, 540, "no packet E"},
                         {whole.substr(0, 5 * 108) + whole.substr(5 * 108 + 1), 5, 540, "no packet begins"},
                         {whole.substr(0, 7 * 108 - 1) + whole.substr(7 * 108), 7, 756,
                          "no packet begins"},  // a byte is lost
                         {whole + "and more text", whole.size() / 108, whole.size(), "no packet begins"},
                         {"D      0" + whole, 0, 0, "no packet begins"},
                         {"D 999999" + whole, 0, 0, "a packet is truncated"},
                         {whole.substr(0, 60), 0, 0, "a packet is truncated"},
                         {Content(kRoom), 0, 0, "no packet begins"}}) {
    std::ofstream(*this / "damaged", std::ios::binary) << c.stream;
    fs::remove(*this / "out.wav");
    const Outcome outcome = Run({"unpack", "damaged", "-o", "out.wav"});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(outcome.err.find("vask: damaged: byte " + std::to_string(c.byte) + ": "), 0u) << outcome.err;
    EXPECT_NE(outcome.err.find(c.error), std::string::npos) << outcome.err;
    ASSERT_EQ(fs::exists(*this / "out.wav"), c.packets > 0) << outcome.err;
    if (c.packets == 0) continue;
    const Samples kept = Load(*this / "out.wav");
    ASSERT_EQ(kept.size(), 200 * c.packets) << outcome.err;
    // The last packet before a lost byte has the wrong end.
    EXPECT_TRUE(std::equal(kept.begin(), kept.end() - 200, sound.begin())) << outcome.err;
  }
  for (const std::vector<std::string>& args :
       std::vector<std::vector<std::string>>{{"packets", kEnergy, kRoom},
                                             {"packets", kEnergy, kRoom, "-o", "x", "--size", "0"},
                                             {"packets", kEnergy, kRoom, "-o", "x", "--size", "1000000"},
                                             {"unpack", "whole"}}) {
    EXPECT_EQ(Run(args).exit_code, 2) << args.back();
  }
}

}  // namespace
}  // namespace vask::test
