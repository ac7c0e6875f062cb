// vask env, mfcc and tables from outside, on recordings made here.

#include <cstdio>
#include <cstring>

#include "command/command.h"

namespace vask::test {
namespace {

void Save(const fs::path& path, const std::vector<double>& samples) {
  Samples rounded;
  for (const double x : samples) rounded.push_back(static_cast<int16_t>(std::lround(x)));
  test::Save(path, rounded);
}

// 29 harmonics of 120 Hz shaped by three formants, with syllables; `level` is the root mean square.
std::vector<double> Voice(size_t n, double level) {
  std::vector<double> x(n, 0);
  double energy = 0;
  for (size_t i = 0; i < n; ++i) {
    const double t = static_cast<double>(i) / kRateHz, turn = 2 * std::numbers::pi * t;
    for (int h = 1; h < 30; ++h) {
      double formants = 0;
      for (const auto& [hz, width, height] : {std::tuple{500, 150, 1.0}, {1500, 200, 0.5}, {2500, 250, 0.3}})
        formants += height / (1 + std::pow((h * 120.0 - hz) / width, 2));
      x[i] += formants * std::sin(turn * h * 120 + h * h);
    }
    x[i] *= 0.9 + 0.1 * std::sin(turn * 4);
    energy += x[i] * x[i] / static_cast<double>(n);
  }
  for (double& value : x) value *= level / std::sqrt(energy);
  return x;
}

// A second of room, `voiced` seconds of voice in it, 0.6 s of room. The room hisses above 6 kHz, at a root
// mean square of `hiss`: low-passed noise with every other sample negated.
std::vector<double> Scene(double hiss, double voiced, double level) {
  std::mt19937 random(5);
  std::normal_distribution<double> normal;
  const auto n = static_cast<size_t>((1.6 + voiced) * kRateHz);
  std::vector<double> white(n + 80), x(n);
  for (double& w : white) w = normal(random);
  for (size_t i = 0; i < n; ++i) {
    double sum = 0;
    for (int j = -40; j < 40; ++j) {  // up to 2 kHz; its power gain is a quarter
      const double place = (j + 0.5) * std::numbers::pi / 4,
                   fade = std::cos((j + 0.5) * std::numbers::pi / 80);
      sum += 0.25 * std::sin(place) / place * fade * fade * white[i + static_cast<size_t>(j + 40)];
    }
    x[i] = hiss * 2 * sum * (i % 2 == 0 ? 1 : -1) + 10 * normal(random);
  }
  const std::vector<double> voice = Voice(static_cast<size_t>(voiced * kRateHz), level);
  for (size_t i = 0; i < voice.size(); ++i) x[kRateHz + i] += voice[i];
  return x;
}

class Analysis : public testing::Test {
 protected:
  // Runs the command in the test's folder; its exit code. Output and errors: out_, err_.
  int Run(const std::string& arguments) {
    const std::string line =
        "cd '" + dir_.string() + "' && '" VASK_COMMAND "' " + arguments + " > .out 2> .err";
    const int status = std::system(line.c_str());
    out_ = Content(dir_ / ".out");
    err_ = Content(dir_ / ".err");
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  // The columns of each line that was printed.
  std::vector<std::vector<std::string>> Table() const {
    std::vector<std::vector<std::string>> table;
    std::istringstream lines(out_);
    for (std::string line; std::getline(lines, line);) {
      std::istringstream columns(line);
      table.emplace_back();
      for (std::string column; std::getline(columns, column, '\t');) table.back().push_back(column);
      EXPECT_EQ(table.back().size(), 13U) << line;
      table.back().resize(13);
    }
    return table;
  }
  std::vector<std::string> Columns() const { return Table().at(0); }

  // An NPY file of float32 rows.
  std::vector<float> Array(const std::string& name, size_t rows, size_t columns) {
    const std::string bytes = Content(dir_ / name);
    const std::string shape = std::string("(") + std::to_string(rows) + ", " + std::to_string(columns) + ")";
    EXPECT_EQ(bytes.substr(0, 10), std::string("\x93NUMPY\1\0\x76\0", 10));
    EXPECT_NE(bytes.substr(10, 118).find("'descr': '<f4', 'fortran_order': False, 'shape': " + shape),
              std::string::npos)
        << bytes.substr(10, 118);
    std::vector<float> values(rows * columns);
    EXPECT_EQ(bytes.size(), 128 + 4 * values.size());
    if (bytes.size() == 128 + 4 * values.size())
      std::memcpy(values.data(), bytes.data() + 128, bytes.size() - 128);
    return values;
  }

  Folder folder_;
  const fs::path dir_ = folder_.path;
  std::string out_, err_;
};

TEST_F(Analysis, JudgesTheEnvironment) {
  // Voice and background together are 2 dB above the background alone: 10^0.2 times its power.
  const double near = 2000 / std::sqrt(std::pow(10, 0.2) - 1);
  struct Case {
    const char* name;
    double hiss, level;
    const char* verdict;
    double snr;  // dB: the background is hiss and a floor of 10
  };
  for (const Case& c : {Case{"quiet.wav", 30, 2000, "0", 10 * std::log10(2000.0 * 2000 / (30 * 30 + 100))},
                        Case{"near.wav", near, 2000, "2", 2}, Case{"noise.wav", 300, 0, "-1", 0}}) {
    Save(dir_ / c.name, Scene(c.hiss, 1, c.level));
    EXPECT_EQ(Run(std::string("env ") + c.name), 0);
    EXPECT_EQ(err_, "");
    const std::vector<std::string> columns = Columns();
    EXPECT_EQ(columns[0], c.name);
    EXPECT_EQ(columns[1], c.verdict) << out_;
    EXPECT_LT(std::stod(columns[5]), 0);
    EXPECT_GT(std::stod(columns[6]), 0);
    if (c.level == 0) {
      EXPECT_EQ(columns[2] + columns[3] + columns[4], "---") << out_;
      continue;
    }
    EXPECT_NEAR(std::stod(columns[2]), 1.0, 0.15) << c.name;  // the voice begins
    EXPECT_NEAR(std::stod(columns[3]), 2.0, 0.25) << c.name;  // and ends
    EXPECT_NEAR(std::stod(columns[4]), c.snr, 0.8) << c.name;
  }
  // The same as objects, for several files, of which one is missing.
  EXPECT_EQ(Run("env --json quiet.wav none.wav noise.wav"), 1);
  EXPECT_EQ(err_, "vask: none.wav: no such file: check the name\n");
  EXPECT_EQ(std::count(out_.begin(), out_.end(), '\n'), 2);
  EXPECT_NE(out_.find("{\"file\":\"quiet.wav\",\"verdict\":0,"), std::string::npos) << out_;
  EXPECT_NE(out_.find("{\"file\":\"noise.wav\",\"verdict\":-1,"), std::string::npos) << out_;
  EXPECT_NE(out_.find("\"first_change\":null,\"last_change\":null,\"changes\":0,\"snr_db\":null,"),
            std::string::npos);
}

TEST_F(Analysis, JudgesEachUtteranceOfALongRecordingAsInAShortOne) {
  Samples twice = Load(kRoom);
  const Samples room = twice;
  twice.insert(twice.end(), room.begin(), room.end());
  test::Save(dir_ / "twice.wav", twice);
  ASSERT_EQ(Run("env twice.wav"), 0);
  EXPECT_EQ(err_, "");
  const std::vector<std::vector<std::string>> lines = Table();
  ASSERT_EQ(lines.size(), 11U) << out_;
  const std::vector<Utterance> truth = Truth();
  for (size_t k = 0; k < 10; ++k) {
    const std::vector<std::string>& part = lines[k];
    const double from = std::stod(part[11]), to = std::stod(part[12]);
    const double later = k < 5 ? 0 : static_cast<double>(room.size()) / kRateHz;
    const Utterance& said = truth.at(k % 5);
    EXPECT_EQ(part[10], std::to_string(k + 1));
    EXPECT_LT(from, said.start + later);
    EXPECT_GT(to, said.end + later);
    EXPECT_LT(to - from, said.end - said.start + 2.5);
    EXPECT_NEAR(std::stod(part[8]), 17, 3) << "part " << k + 1;  // what the recording was mixed to
    const auto at = [&](double seconds) { return twice.begin() + std::lround(seconds * kRateHz); };
    test::Save(dir_ / "part.wav", Samples(at(from), at(to)));
    ASSERT_EQ(Run("env part.wav"), 0);
    std::vector<std::string> alone = Columns();
    for (const size_t column : {2U, 3U}) {
      ASSERT_EQ(alone[column] == "-", part[column] == "-") << out_;
      if (alone[column] == "-") continue;
      EXPECT_NEAR(std::stod(alone[column]) + from, std::stod(part[column]), 0.0011);
    }
    for (const size_t column : {1U, 4U, 5U, 6U}) EXPECT_EQ(alone[column], part[column]) << "part " << k + 1;
  }
  const std::vector<std::string>& whole = lines.back();
  EXPECT_EQ(whole[1] + whole[2] + whole[3] + whole[4] + whole[10], "0----");
  EXPECT_EQ(std::stod(whole[12]), std::round(twice.size() / 160.0) / 100);
  Save(dir_ / "noise.wav", Scene(300, 24, 0));
  EXPECT_EQ(Run("env noise.wav"), 0);
  EXPECT_EQ(out_.substr(0, 19), "noise.wav\t-1\t-\t-\t-\t");
  EXPECT_EQ(Columns()[7] + err_, "no speech was found");
  Save(dir_ / "silence.wav", std::vector<double>(kRateHz, 0.0));
  EXPECT_EQ(Run("env silence.wav"), 0);
  EXPECT_EQ(out_.substr(0, out_.find("\tno")), "silence.wav\t-1\t-\t-\t-\t0\t0");
}

// Speech without its room, in white noise of a known level: what the manual selects as bad is bad.
TEST_F(Analysis, TellsBadRecordingsFromGoodOnes) {
  const Samples room = Load(kRoom);
  std::mt19937 random(9);
  std::normal_distribution<double> normal;
  double power = 0, seconds = 0;
  std::vector<double> speech(room.size(), 0);
  for (const Utterance& u : Truth()) {
    seconds += u.end - u.start;
    for (size_t i = static_cast<size_t>((u.start - 0.05) * kRateHz);
         i < static_cast<size_t>((u.end + 0.05) * kRateHz); ++i) {
      speech[i] = room[i];
      power += speech[i] * speech[i];
    }
  }
  power /= seconds * kRateHz;
  struct Case {
    const char* name;
    double snr, gain;  // dB; the gain is above what the peaks allow
    const char* quality;
    bool is_bad;
  };
  const double highest = *std::max_element(speech.begin(), speech.end());
  for (const Case& c : {Case{"clean", 40, -6, "good", false},
                        {"good", 20, -6, "good", false},
                        {"fair", 12, -6, "fair", false},
                        {"noisy", 5, -6, "poor", true},
                        {"loud", 30, 14, "poor", true},
                        {"hushed", 30, 14, "poor", true}}) {
    for (const int times : {1, 2}) {  // in one piece, and utterance by utterance
      const std::string name = c.name + std::to_string(times) + ".wav";
      Samples mixed;
      for (int k = 0; k < times; ++k) {
        for (const double x : speech) {
          const double noise = std::sqrt(power) * std::pow(10, -c.snr / 20) * normal(random);
          const double full = (x + noise) * 32767 / highest * std::pow(10, c.gain / 20);
          const double cut = std::clamp(full, -32768.0, 32767.0);
          mixed.push_back(
              static_cast<int16_t>(std::lround(c.name[0] == 'h' ? cut / 3 : cut)));  // made softer
        }
      }
      test::Save(dir_ / name, mixed);
      EXPECT_EQ(Run("env --json " + name), 0);
      EXPECT_NE(out_.find("\"quality\":\"" + std::string(c.quality) +
                          "\",\"bad\":" + (c.is_bad ? "true" : "false") + ",\"first"),
                std::string::npos)
          << name << ": " << out_;
      EXPECT_EQ(Run("env " + name), 0);
      if (c.gain < 0) {
        EXPECT_NEAR(std::stod(Table().back()[8]), c.snr, 1.2) << out_;
      }
    }
  }
  Save(dir_ / "empty.wav", std::vector<double>(3 * kRateHz, 1.0));
  ASSERT_EQ(std::system(("mandoc -T ascii " VASK_SAMPLES_DIR "/../docs/man/vask.1 > '" +
                         (dir_ / "manual").string() + "'")
                            .c_str()),
            0);
  const std::string manual = Content(dir_ / "manual");  // as it is read
  const size_t at = manual.find("vask env --json calls/*.wav | jq ");
  ASSERT_NE(at, std::string::npos);
  const std::string line = manual.substr(at, manual.find('\n', at) - at);
  EXPECT_EQ(Run("env --help"), 0);
  EXPECT_NE(out_.find(line), std::string::npos);
  EXPECT_EQ(Run("env --json *.wav | " + line.substr(line.find("jq"))), 0) << err_;
  EXPECT_EQ(out_, "empty.wav\nhushed1.wav\nhushed2.wav\nloud1.wav\nloud2.wav\nnoisy1.wav\nnoisy2.wav\n");
}

TEST_F(Analysis, WritesArraysOfEveryKind) {
  const size_t rows = 1998;  // 319680 samples
  ASSERT_EQ(Run("mfcc '" + kRoom + "' -o plain.npy") + Run("mfcc '" + kRoom + "' --deltas -o deltas.npy") +
                Run("mfcc '" + kRoom + "' --csv -o plain.csv"),
            0);
  EXPECT_EQ(out_ + err_, "");
  const std::vector<float> plain = Array("plain.npy", rows, 13), deltas = Array("deltas.npy", rows, 39);
  std::istringstream text(Content(dir_ / "plain.csv"));
  for (size_t i = 0; i < plain.size(); ++i) {
    ASSERT_EQ(plain[i], deltas[i / 13 * 39 + i % 13]) << "row " << i / 13 << " column " << i % 13;
    float value = 0;
    char gap = 0;
    text >> value;
    text.get(gap);
    ASSERT_EQ(value, plain[i]) << "row " << i / 13 << " column " << i % 13;
    ASSERT_EQ(gap, i % 13 == 12 ? '\n' : ',');
  }
  // An incomplete last frame has its row too.
  Save(dir_ / "short.wav", std::vector<double>(161, 1000.0));
  ASSERT_EQ(Run("mfcc short.wav --log-energies -o short.npy"), 0);
  Array("short.npy", 2, 23);
}

TEST_F(Analysis, KeepsTheMeanInTheKnowledgeBaseAcrossRuns) {
  EXPECT_EQ(Run("tables new/kb"), 0);
  EXPECT_EQ(out_, "new/kb: wrote nine tables and config.Vask\n");
  EXPECT_EQ(Run("tables new/kb"), 0);
  EXPECT_EQ(out_, "new/kb: wrote nothing: nine tables and config.Vask already exist\n");
  fs::remove(dir_ / "new/kb/Vask.db/ss3.txt");
  EXPECT_EQ(Run("tables new/kb"), 0);
  EXPECT_EQ(out_, "new/kb: wrote what was missing of nine tables and config.Vask\n");
  ASSERT_EQ(Run("mfcc '" + kRoom + "' -o plain.npy"), 0);
  const std::vector<float> plain = Array("plain.npy", 1998, 13);
  std::vector<double> mean(13, 0), kept(13, 0);
  for (size_t i = 0; i < plain.size(); ++i) mean[i % 13] += static_cast<double>(plain[i]) / 1998;
  for (int run = 0; run < 4; ++run) {
    ASSERT_EQ(Run("mfcc '" + kRoom + "' --kb new/kb -o kept.npy"), 0) << err_;
    const std::vector<float> array = Array("kept.npy", 1998, 13);
    std::istringstream stored(Content(dir_ / "new/kb/Vask.db/global_cms"));
    for (size_t k = 0; k < 13; ++k) {
      EXPECT_NEAR(array[k], static_cast<double>(plain[k]) - kept[k], 1e-4) << "run " << run << ", " << k;
      kept[k] = 0.8 * kept[k] + 0.2 * mean[k];
      double value = 0;
      stored >> value;
      EXPECT_NEAR(value / (1 << 20), kept[k], 1e-4) << "run " << run << ", " << k;
    }
  }
  // Without table files the built-in ones are used; the mean is kept all the same.
  for (const char* name : {"pre_emph", "InitFBank", "loChan", "InitDCTMatrix"})
    fs::remove(dir_ / "new/kb/Vask.db" / (std::string(name) + ".txt"));
  EXPECT_EQ(Run("mfcc '" + kRoom + "' --kb new/kb -o kept.npy"), 0) << err_;
  EXPECT_NEAR(Array("kept.npy", 1998, 13)[0], static_cast<double>(plain[0]) - kept[0], 1e-4);
}

TEST_F(Analysis, FailsWithOneLineAndLeavesNothing) {
  ASSERT_EQ(Run("tables kb") + Run("tables bad") + Run("tables mean"), 0);
  std::ofstream(dir_ / "bad/Vask.db/loChan.txt") << "0\nnought\n";
  std::ofstream(dir_ / "mean/Vask.db/global_cms") << "1\n2\nthree\n";
  std::ofstream(dir_ / "file") << "x";
  struct Case {
    std::string arguments;
    int status;
    const char* message;
  };
  const std::string mfcc = "mfcc '" + kRoom + "' -o out.npy ";
  for (const Case& c :
       {Case{"env", 2, "FILE is required"}, Case{"env file", 1, "file: cannot be read as audio"},
        Case{mfcc + "--deltas --log-energies", 2, "excludes"},
        Case{mfcc + "--kb none", 2, "contains no writable folder Vask.db"},
        Case{mfcc + "--kb bad", 1, "loChan.txt, line 2: not a number"},
        Case{mfcc + "--kb mean", 1, "mean/Vask.db/global_cms: the engine says ERROR: read global_cms"},
        Case{"mfcc none.wav -o out.npy", 1, "none.wav: no such file"},
        Case{"mfcc '" + kRoom + "' -o none/out.npy", 1, "none/out.npy: cannot be written"},
        Case{"mfcc '" + kRoom + "' -o /dev/full", 1, "/dev/full: cannot be written"},
        Case{"tables file", 1, "file: cannot be created as a folder"},
        Case{"tables /dev/null/x", 1, "cannot be created as a folder"}}) {
    EXPECT_EQ(Run(c.arguments), c.status) << c.arguments;
    EXPECT_EQ(out_, "") << c.arguments;
    EXPECT_NE(err_.find(c.message), std::string::npos) << c.arguments << ": " << err_;
    EXPECT_EQ(std::count(err_.begin(), err_.end(), '\n'), 1) << err_;
    EXPECT_FALSE(fs::exists(dir_ / "out.npy")) << c.arguments;
  }
  EXPECT_EQ(Content(dir_ / "mean/Vask.db/global_cms"), "1\n2\nthree\n");
}

}  // namespace
}  // namespace vask::test
