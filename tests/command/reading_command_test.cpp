// How the vask command reads recordings: samples without a header, channels, and what another program
// decodes.
#include <cstring>

#include "command/command.h"

namespace vask::test {
namespace {

using Args = std::vector<std::string>;

class ReadingCommand : public Command {
 protected:
  Outcome Pipe(const std::string& file, const Args& args) {
    return Run(args, [&] { dup2(open(file.c_str(), O_RDONLY), STDIN_FILENO); });
  }

  // A program that stands in for ffmpeg, first in PATH; `lines` are its shell script.
  void Pretend(const std::string& lines) {
    fs::create_directory(*this / "bin");
    std::ofstream(*this / "bin/ffmpeg") << "#!/bin/sh\n" << lines;
    fs::permissions(*this / "bin/ffmpeg", fs::perms::owner_all);
  }
  Outcome RunPretending(const Args& args) {
    return Run(args, [] { setenv("PATH", "bin:/usr/bin:/bin", 1); });
  }

  // Two channels: the sample, and what `other` makes of each of its values.
  template <typename Other>
  void SaveTwo(const std::string& name, const Other& other) {
    Samples both;
    for (const int16_t sample : Load(kRoom))
      both.insert(both.end(), {sample, static_cast<int16_t>(other(sample))});
    Save(*this / name, both, kRateHz, 2);
  }
};

TEST_F(ReadingCommand, ReadsSamplesWithoutAHeader) {
  struct Case {
    int format, channels;
    Args options;
  };
  for (const Case& c : {Case{SF_FORMAT_PCM_16, 1, {"--raw", "--rate=8000"}},
                        Case{SF_FORMAT_PCM_24, 2, {"--rate=8000", "--raw-channels=2", "--encoding=s24"}},
                        Case{SF_FORMAT_FLOAT, 1, {"--rate=8000", "--encoding=f32"}},
                        Case{SF_FORMAT_ULAW, 2, {"--rate=8000", "--raw-channels=2", "--encoding=mulaw"}},
                        Case{SF_FORMAT_ALAW, 1, {"--rate=8000", "--encoding=alaw"}}}) {
    SCOPED_TRACE(testing::PrintToString(c.options));
    Samples samples = Load(kRoom);
    for (int32_t value = -32768; value < 32768; ++value) samples.push_back(static_cast<int16_t>(value));
    Save(*this / "samples", samples, 8000, c.channels, SF_FORMAT_RAW | c.format);
    SF_INFO info = {};
    info.samplerate = 8000;
    info.channels = c.channels;
    info.format = SF_FORMAT_RAW | c.format;
    SNDFILE* file = sf_open((*this / "samples").c_str(), SFM_READ, &info);
    ASSERT_NE(file, nullptr);
    Samples wanted(samples.size());
    EXPECT_EQ(sf_read_short(file, wanted.data(), static_cast<sf_count_t>(wanted.size())),
              static_cast<sf_count_t>(wanted.size()));
    sf_close(file);
    for (const bool piped : {false, true}) {
      const Args args = With({"denoise", "--mix=0", piped ? "-" : "samples", "-o", "out.aiff"}, c.options);
      const Outcome outcome = piped ? Pipe("samples", args) : Run(args);
      ASSERT_EQ(outcome.err, "");
      SF_INFO found = {};
      SNDFILE* out = sf_open((*this / "out.aiff").c_str(), SFM_READ, &found);
      ASSERT_NE(out, nullptr);
      Samples got(static_cast<size_t>(found.frames * found.channels));
      sf_readf_short(out, got.data(), found.frames);
      sf_close(out);
      EXPECT_EQ(found.samplerate, 8000);
      EXPECT_EQ(found.channels, c.channels);
      EXPECT_TRUE(got == wanted) << piped;
    }
  }
}

TEST_F(ReadingCommand, SaysWhatItTakesForSamples) {
  std::ofstream(*this / "samples.raw", std::ios::binary) << Content(kRoom).substr(44);
  fs::copy(kRoom, *this / "room.wav");
  const std::string note =
      "vask: standard input: no header: raw 16 kHz mono of 16 bits: --rate, --raw-channels and --encoding "
      "say "
      "otherwise\n";
  EXPECT_EQ(Pipe("samples.raw", {"detect", kEnergy, "-"}).err, note);
  EXPECT_EQ(Pipe("samples.raw", {"detect", kEnergy, "-", "--raw"}).err, "");
  EXPECT_EQ(Pipe("room.wav", {"detect", kEnergy, "-"}).err, "");
  struct Case {
    Args args;
    int exit_code;
    std::string message;
  };
  for (const Case& c :
       {Case{{"detect", "samples.raw"}, 1, "holds samples without a header, by its name: say what they are"},
        Case{{"detect", "room.wav", "--rate", "8000"}, 1, "room.wav: has a header, which says what --rate"},
        Case{{"env", "room.wav", "--encoding", "alaw"}, 1, "room.wav: has a header"},
        Case{{"mfcc", "room.wav", "--rate", "999", "-o", "x"}, 2, "999 not in range"},
        Case{{"packets", "room.wav", "--channels", "each", "-o", "x"}, 2, "each is not mix or a number"},
        Case{{"detect", "room.wav", "--channels", "0"}, 2, "0 is not mix, each or a number"},
        Case{{"denoise", kForRecognition, "--channels", "each", "room.wav", "-o", "x"}, 2, "for listening"},
        Case{{"report", "room.wav", "--channels", "2", "-o", "x"},
             1,
             "room.wav: has no channel 2: it has one"}}) {
    const Outcome outcome = Run(c.args);
    EXPECT_EQ(outcome.exit_code, c.exit_code) << c.message;
    EXPECT_NE(outcome.err.find(c.message), std::string::npos) << outcome.err;
  }
}

TEST_F(ReadingCommand, ListensToEachChannelByItself) {
  SaveTwo("call.wav", [](int16_t sample) { return sample / 2; });
  Samples half = Load(kRoom);
  for (int16_t& sample : half) sample = static_cast<int16_t>(sample / 2);
  Save(*this / "half.wav", half);
  ASSERT_EQ(Run({"detect", kEnergy, kRoom, "half.wav", "-o", "alone"}).exit_code, 0);
  const Args each = {"detect", kEnergy, "call.wav", "--channels", "each", "-o", "out", "-j2"};
  const Outcome listed = Run(each);
  EXPECT_EQ(listed.err, "");
  for (const std::string number : {"-001.wav", "-003.wav"}) {
    EXPECT_TRUE(Content(*this / ("out/call_ch1" + number)) == Content(*this / ("alone/room" + number)));
    EXPECT_TRUE(Content(*this / ("out/call_ch2" + number)) == Content(*this / ("alone/half" + number)));
  }
  // A channel that is finished is skipped, whichever way it is asked for; the mix has files of its own.
  const auto before = fs::last_write_time(*this / "out/call_ch2-001.wav");
  EXPECT_EQ(Run(With(each, {"--resume"})).out, listed.out);
  const Outcome second = Run({"detect", kEnergy, "call.wav", "--channels", "2", "-o", "out", "--resume"});
  EXPECT_TRUE(!second.out.empty() && listed.out.ends_with(second.out)) << second.out;
  EXPECT_EQ(Run({"detect", kEnergy, "call.wav", "-o", "out"}).err, "");
  EXPECT_TRUE(fs::exists(*this / "out/call-001.wav"));
  EXPECT_EQ(fs::last_write_time(*this / "out/call_ch2-001.wav"), before);

  ASSERT_EQ(Run({"denoise", "call.wav", "--channels", "2", "-o", "second.wav"}).exit_code, 0);
  ASSERT_EQ(Run({"denoise", "half.wav", "-o", "half-clean.wav"}).exit_code, 0);
  EXPECT_TRUE(Content(*this / "second.wav") == Content(*this / "half-clean.wav"));

  const Outcome piped = Pipe("call.wav", {"detect", kEnergy, "-", "--channels", "each"});
  EXPECT_EQ(piped.exit_code, 1);
  EXPECT_EQ(piped.err,
            "vask: standard input: cannot be read once for each channel: give a file, or the number of one "
            "channel\n");
}

TEST_F(ReadingCommand, TellsWhenChannelsCancel) {
  const auto said = [&](const std::string& file, const Args& more = {}) {
    std::string all;
    for (const Args& args : {Args{"detect", kEnergy, file}, {"env", file}, {"mfcc", file, "-o", "x"}}) {
      const std::string err = Run(With(args, more)).err;
      all += err.substr(0, err.find(" dB below")) + "|";
    }
    return all;
  };
  const std::string words = "vask: opposite.wav: its channels cancel each other: their mix is ";
  SaveTwo("opposite.wav", [](int16_t sample) { return -0.8 * sample; });  // 0.1 of 0.906: -19.1 dB
  EXPECT_EQ(said("opposite.wav"), words + "19|" + words + "19|" + words + "19|");
  EXPECT_EQ(said("opposite.wav", {"--channels", "2"}), "|||");
  SaveTwo("nearly.wav", [](int16_t sample) { return -0.65 * sample; });  // 0.175 of 0.843: -13.7 dB
  EXPECT_EQ(said("nearly.wav"), "|||");
  SaveTwo("one.wav", [](int16_t) { return 0; });
  EXPECT_EQ(said("one.wav"), "|||");
}

TEST_F(ReadingCommand, HasOthersReadWhatItCannot) {
  for (const std::string name : {"-in.m4a", "it's a talk.mkv"}) {
    std::ofstream(*this / name) << "no sound that is known";
    const Outcome missing = Run({"detect", "--", name}, [] { setenv("PATH", "/nowhere", 1); });
    EXPECT_EQ(missing.exit_code, 1);
    const std::string line =
        name[0] == '-' ? "./-in.m4a ./-in.wav" : "'it'\\''s a talk.mkv' 'it'\\''s a talk.wav'";
    EXPECT_TRUE(missing.err.ends_with("where it is installed: ffmpeg -i " + line + "\n")) << missing.err;
  }
  // It gets the name as a name, and a pipe as a pipe.
  std::ofstream(*this / "video", std::ios::binary) << std::string("\x1A\x45\xDF\xA3....", 8);
  Pretend("printf '%s ' \"$@\" >> words; cat >> got; cat '" + kRoom + "'\n");
  const std::string wanted = Run({"detect", kEnergy, kRoom}).out.substr(kRoom.size());
  const Outcome outcome = RunPretending({"detect", kEnergy, "--", "-in.m4a"});
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.out.substr(0, outcome.out.find('\n')), "-in.m4a" + wanted.substr(0, wanted.find('\n')));
  EXPECT_NE(Content(*this / "words").find(" -protocol_whitelist file,pipe -i file:-in.m4a "),
            std::string::npos);
  EXPECT_EQ(Content(*this / "got"), "");
  const Outcome piped = Run({"detect", kEnergy, "-"}, [] {
    setenv("PATH", "bin:/usr/bin:/bin", 1);
    dup2(open("video", O_RDONLY), STDIN_FILENO);
  });
  EXPECT_EQ(piped.err, "");
  EXPECT_NE(Content(*this / "words").find(" -i pipe:0 "), std::string::npos);
  EXPECT_EQ(Content(*this / "got"), Content(*this / "video"));

  struct Case {
    std::string script, message;
  };
  const std::string sound = "head -c 320044 '" + kRoom + "'; ",
                    words = "echo '[mov @ 0x5] moov is not there' >&2; ";
  for (const Case& c :
       {Case{words + "echo 'file:x: more' >&2; exit 1",
             "vask: -in.m4a: cannot be read as audio (ffmpeg: moov is not there): convert it to WAV or "
             "FLAC\n"},
        Case{"echo 'file:-in.m4a: it ends' >&2",
             "vask: -in.m4a: cannot be read as audio (ffmpeg: it ends): "},
        Case{"exit 0", "vask: -in.m4a: holds no samples: "},
        Case{"printf 'RIFF1234WAVE'; exit 1", "vask: -in.m4a: holds no samples: "},
        Case{sound + words, "vask: -in.m4a: is damaged (ffmpeg: moov is not there) after 10.00 s: "},
        Case{sound + "exit 3", "vask: -in.m4a: is damaged (ffmpeg failed) after 10.00 s: "},
        // More than any pipe holds does not stop it.
        Case{"yes | head -c 300000 >&2; " + sound, "vask: -in.m4a: is damaged (ffmpeg: y) after 10.00"}}) {
    Pretend(c.script);
    const Outcome failed = RunPretending({"detect", kEnergy, "--", "-in.m4a"});
    EXPECT_EQ(failed.exit_code, 1) << c.script;
    EXPECT_EQ(failed.err.substr(0, c.message.size()), c.message) << c.script;
  }
  // It ends with the command.
  Pretend("head -c 100000 '" + kRoom + "'; echo $$ > id; exec sleep 100\n");
  const pid_t child =
      Start({"detect", kEnergy, "--", "-in.m4a"}, [] { setenv("PATH", "bin:/usr/bin:/bin", 1); });
  for (int k = 0; k < 10000 && Content(*this / "id").find('\n') == std::string::npos; ++k) usleep(1000);
  kill(child, SIGTERM);
  EXPECT_EQ(Finish(child).exit_code, -SIGTERM);
  EXPECT_NE(kill(std::stoi(Content(*this / "id")), 0), 0);
}

// The decoder of MP3 comments on what it skips.
TEST_F(ReadingCommand, SaysItselfWhatIsWrongWithAnMp3) {
  const Samples room = Load(kRoom);
  Save(*this / "whole.mp3", room, kRateHz, 1, SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III);
  const std::string bytes = Content(*this / "whole.mp3");
  const std::string noise(20000, 'U');  // begins no frame
  Args args = {"detect", kEnergy, "-j4"};
  for (int k = 0; k < 8; ++k) {
    const std::string name = "broken" + std::to_string(k) + ".mp3";
    std::ofstream(*this / name, std::ios::binary) << bytes.substr(0, bytes.size() / 2) << noise << bytes;
    args.push_back(name);
  }
  const Outcome outcome = Run(args);
  EXPECT_EQ(outcome.exit_code, 1);
  std::istringstream lines(outcome.err);
  int k = 0;
  for (std::string line; std::getline(lines, line); ++k) {
    EXPECT_EQ(line.find("vask: broken" + std::to_string(k) + ".mp3: is damaged ("), 0u) << line;
  }
  EXPECT_EQ(k, 8) << outcome.err;
}

}  // namespace
}  // namespace vask::test
