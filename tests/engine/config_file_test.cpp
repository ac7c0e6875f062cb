// config.Vask and the knowledge-base directory: any content, and paths of any length.
#include "engine/config_file.h"

#include <gtest/gtest.h>
#include <unistd.h>
#include <vask/engine.h>
#include <vask/settings.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/capture.h"
#include "support/folder.h"

namespace vask::test {
namespace {

std::string Rate(const std::string& hz, const std::string& cutoff) {
  return "  Vask EPD Sampling Rate = " + hz + ", Cutoff = " + cutoff + "\n";
}
std::string Loud(const std::string& number) { return "  Vask Loud Definition = " + number + "\n"; }
std::string NotLoud(const std::string& n) { return "  Vask Loud Definition (invalid value) = " + n + "\n"; }

const std::string kHead = "  Vask EPD: Checking Config: ";
const std::string kHigh = "  Vask Sensitivity = high\n", kLow = "  Vask Sensitivity = low\n";

TEST(Config, EveryKeyAndValue) {
  const Folder folder;
  const std::string L = "Vask_LOUDNESS:", S = "Vask_SENSITIVITY:", N = "Vask_NARROWBAND:";
  const std::string plain = "16000, 8000, -1, 40", loud = "16000, 8000, -1, ", high = "16000, 8000, 1, ";
  struct Case {
    std::string content, values, out, err = "";
  };
  for (const Case& c : std::vector<Case>{
           {"", plain, ""},
           {"<BEGIN_VASK_CONFIG>\nVask_KWS: N\nVask_GENBEAM: 9600\nVask_CROSS_WORD: N\nVask_NBEST: 5\n"
            "Vask_LOUDNESS: 10\nVask_SENSITIVITY: y\n<END_VASK_CONFIG>\n",
            high + "10", Loud("10") + kHigh},
           {N + " yes\n" + N + " Y", "8000, 2000, -1, 40", "", Rate("8000", "4000") + Rate("8000", "2000")},
           {N + " n\n" + N + "\n" + N + " 1\n", plain, ""},
           {S + " y\n" + S + "\n", "16000, 8000, 0, 40", kHigh + kLow},
           {S + " N\r\n" + S + "\v\fYes\r\n" + L + "\r\n" + L + " 5\r\n", high + "5",
            kLow + kHigh + Loud("0") + Loud("5")},
           {L + " 30\n" + L + " 31\n" + L, loud + "30", Loud("30") + NotLoud("31") + NotLoud("31")},
           {L + " -1\n", plain, NotLoud("-1")},
           {L + "\t99999999999\n" + L + " -99999999999", plain,
            NotLoud("2147483647") + NotLoud("-2147483648")},
           {L + " +7 8\n" + L + "\n" + L + " x\n" + L + " 12dB", loud + "12",
            Loud("7") + Loud("7") + Loud("7") + Loud("12")},
           {L + "9\n", loud + "0", Loud("0")},          // no value without a gap; 0 before any number
           {"x " + L + " 9\n", loud + "0", Loud("0")},  // the second word is the key
           {" \t my" + L + " \t 9 \n", loud + "9", Loud("9")},
           {"Vask_LOUDNESS : 9\nvask_loudness: 9\n", plain, ""},
           {L + " 6 " + S + " y\n", "16000, 8000, 0, 40", kLow},  // one key per line
           {S + " y " + N + "\n", "8000, 4000, -1, 40", "", Rate("8000", "4000")},
           {S + " " + std::string(5000, 'y') + "\n" + L + " " + std::string(200, '0') + "3", high + "3",
            kHigh + Loud("3")},
           {std::string(255, '#') + L + " 2\n", loud + "2", Loud("2")},  // read in pieces of 255 characters
           {std::string(254, '#') + L + " 2\n", plain, ""},
       }) {
    std::ofstream(folder / "config.Vask") << c.content;
    float rate = 16000, cutoff = 8000;
    int32_t sensitivity = -1, loudness = 40;
    Settings settings = {rate, cutoff, sensitivity, loudness};
    const Said said = Hear([&] { ApplyConfigFile(settings, folder.path.c_str()); });
    EXPECT_EQ(said.out, kHead + (folder / "config.Vask\n") + c.out);
    EXPECT_EQ(said.err, c.err);
    char values[80];
    std::snprintf(values, sizeof values, "%g, %g, %d, %d", double{rate}, double{cutoff}, sensitivity,
                  loudness);
    EXPECT_EQ(values, c.values) << c.content.substr(0, 300);
  }
}

TEST(Config, TheFileIsOptionalAndClosedAgainAndNoPathIsTruncated) {
  const Folder folder;
  std::filesystem::create_directories(folder / "folder/config.Vask");
  std::ofstream(folder / "config.Vask") << "Vask_SENSITIVITY: y\n";
  const std::string most = folder.Filled(243), refusal = "ERROR: directory of config.Vask is too long\n";
  for (const auto& [dir, out] : {std::pair(folder / "no", std::string()),
                                 {folder / "folder", kHead + (folder / "folder/config.Vask\n")},
                                 {most, kHead + most + "/config.Vask\n" + kHigh},
                                 {folder.Filled(244), refusal}}) {
    int32_t result = -1;
    EXPECT_EQ(Hear([&, name = dir.c_str()] { result = __check_Vask_Config__(name); }).out, out);
    EXPECT_EQ(result, 0);
  }
  const int free_number = dup(STDIN_FILENO);
  close(free_number);
  __check_Vask_Config__(folder.path.c_str());
  const int still_free = dup(STDIN_FILENO);
  close(still_free);
  EXPECT_EQ(still_free, free_number);
  EXPECT_EQ(___epd_sensitivity, 1);
  EXPECT_EQ(Hear([] { __check_Vask_Config__(nullptr); }).out, "ERROR: directory of config.Vask is missing\n");
  for (const auto& [dir, fits] :
       {std::pair(std::string(118, 'd'), true), {std::string(119, 'd'), false}, {"", true}}) {
    const std::string before = Vask_epd_base_dir, wanted = dir + "/Vask.db/";
    const Said said = Hear([name = dir.c_str()] { Vask_epd_set_base_dir(name); });
    EXPECT_EQ(Vask_epd_base_dir, fits ? wanted : before);
    EXPECT_EQ(said.err, fits ? "Vask epd KB directory: " + wanted + "\n" : "");
    EXPECT_EQ(said.out, fits ? "" : "ERROR: knowledge-base directory is too long\n");
  }
  EXPECT_EQ(Hear([] { Vask_epd_set_base_dir(nullptr); }).out, "ERROR: knowledge-base directory is missing\n");
}

}  // namespace
}  // namespace vask::test
