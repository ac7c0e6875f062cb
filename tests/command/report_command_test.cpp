// The sound in the page of vask report. tests/web looks at the page itself.
#include "command/command.h"

namespace vask::test {
namespace {

using ReportCommand = Command;

std::string FromBase64(const std::string& text) {
  static const std::string kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bytes;
  uint32_t bits = 0;
  for (size_t i = 0; i < text.size() && text[i] != '='; ++i) {
    bits = bits << 6 | static_cast<uint32_t>(kDigits.find(text[i]));
    if (i % 4 != 0) bytes += static_cast<char>(bits >> (6 - 2 * (i % 4)));
  }
  return bytes;
}

double Product(const Samples& a, const Samples& b, size_t lag) {
  double sum = 0;
  for (size_t i = lag; i < a.size(); ++i) sum += double{1} * a[i] * b[i - lag];
  return sum;
}

TEST_F(ReportCommand, HoldsTheWholeSoundInTimeExactUpToHalfAMinuteThenEncoded) {
  const Samples room = Load(kRoom);
  for (const size_t length : {30 * 16000, 30 * 16000 + 1, 31 * 16000 - 17, 960 * 520}) {
    SCOPED_TRACE(length);
    Samples input(length);
    for (size_t i = 0; i < length; ++i) input[i] = room[i % room.size()];
    Save(*this / "in.wav", input);
    ASSERT_EQ(Run({"report", "in.wav", "-o", "out.html"}).exit_code, 0);
    const std::string page = Content(*this / "out.html"),
                      opening = "<script id=\"data-sound-input-0\" type=\"text/plain\">";
    const size_t begin = page.find(opening) + opening.size();
    std::ofstream(*this / "sound", std::ios::binary)
        << FromBase64(page.substr(begin, page.find('<', begin) - begin));
    const Samples sound = Load(*this / "sound");
    ASSERT_EQ(sound.size(), length);
    if (length <= 30 * 16000) {
      EXPECT_EQ(sound, input);
      continue;
    }
    EXPECT_LT(fs::file_size(*this / "sound"), 70000);  // 16 kbit/s
    const double alike = Product(sound, input, 0);
    EXPECT_GT(alike, 0.8 * std::sqrt(Product(sound, sound, 0) * Product(input, input, 0)));
    EXPECT_GT(alike, Product(sound, input, 1));
    EXPECT_GT(alike, Product(input, sound, 1));
  }
}

}  // namespace
}  // namespace vask::test
