// Files that the library reads: any text as a coefficient table, a knowledge base, a cepstral mean, a
// parameter file or a configuration, and any bytes as a model of the learned detector.
#include <vask/engine.h>
#include <vask/mfcc.h>
#include <vask/model.h>
#include <vask/noise.h>
#include <vask/settings.h>
#include <vask/stream.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <fstream>

#include "fuzz/fuzz.h"
#include "fuzz/sound.h"
#include "kb/coefficient_file.h"
#include "support/folder.h"
#include "support/model.h"

namespace vask::fuzz {
namespace {

using Numbers = std::vector<int32_t>;

// A knowledge base whose files an input may replace.
const test::Folder& Base() {
  static const test::Folder folder;
  vask_make_coeff_files(folder.path.c_str());
  Vask_epd_set_base_dir(folder.path.c_str());
  return folder;
}

std::string Put(const test::Folder& folder, const std::string& name, const std::string& text) {
  std::ofstream(folder / name, std::ios::binary) << text;
  return folder / name;
}

// The reader agrees with the C library's, word by word, and reads back what the writer wrote.
void Coefficients(const std::string& text) {
  const std::string path = Put(Base(), "Vask.db/x.txt", text);
  CoefficientFile file(path.c_str());
  size_t at = 0;
  Numbers numbers;
  for (int32_t number = 0; file.Read(number); numbers.push_back(number)) {
    constexpr const char* kBlanks = " \t\n\v\f\r";
    at = text.find_first_not_of(kBlanks, at);
    VASK_REQUIRE(at != text.npos);
    const std::string word = text.substr(at, std::min(text.find_first_of(kBlanks, at), text.size()) - at);
    char* end = nullptr;
    VASK_REQUIRE(std::strtoll(word.c_str(), &end, 10) == number && end == word.c_str() + word.size());
    at += word.size();
  }
  VASK_REQUIRE(WriteCoefficients(path.c_str(), numbers));
  Numbers again(numbers.size());
  VASK_REQUIRE(CoefficientFile(path.c_str()).ReadInto(again, INT32_MIN, INT32_MAX) && again == numbers);
}

// A filter bank from any file has 35 good bands or is refused, and works on amplitudes.
void MelBank(const std::string& text, int32_t bands) {
  const std::string path = Put(Base(), "Vask.db/mel_filt.txt", text);
  mel_band first = {};
  if (InitMelFBFromFile(&first, bands) == 0) return;
  Bytes counted;
  for (const mel_band* band = &first; band != nullptr; band = band->next) {
    VASK_REQUIRE(band->start >= 0 && band->count >= 0 && band->start + band->count <= 129);
    counted.push_back(0);
  }
  VASK_REQUIRE(static_cast<int32_t>(counted.size()) == bands);
  std::vector<int64_t> values(129, int64_t{1} << 40), sums(129);
  DoMelFB_int64(values.data(), &first, sums.data(), 129);
  CloseMelFB(&first, bands);
}

// Cepstra with any tables; the mean that is written is the one that is read.
void Cepstra(const std::string& text, int table) {
  constexpr const char* kNames[] = {"InitFBank.txt", "loChan.txt", "InitDCTMatrix.txt", "global_cms"};
  const std::string path = Put(Base(), std::string("Vask.db/") + kNames[table], text);
  mfcc_prm m = {};
  if (init_mfcc_prm(&m, 512) == 1) {
    int32_t ready = 0;
    for (int frame = 0; frame < 6; ++frame) {
      for (int32_t k = 0; k < m.bins; ++k) m.spec[k] = (int64_t{k} * k + 7) << (7 * frame);
      mfcc_feat_ex(&m, &ready, 0, frame % 2);
    }
    global_cms_update(&m);
    const Numbers mean(m.cms, m.cms + 13);
    VASK_REQUIRE(vask_write_global_cms(&m) == 1 && vask_read_global_cms(&m) == 1);
    VASK_REQUIRE(std::equal(mean.begin(), mean.end(), m.cms));
    close_mfcc_prm(&m);
  }
  std::remove(path.c_str());
}

// Each word is one of the text, not a comment, and fits.
void Parameters(const std::string& text) {
  std::FILE* file = std::fopen(Put(Base(), "parameters", text).c_str(), "rb");
  char token[256];
  while (read_params(token, file) == 1) {
    const size_t length = std::strlen(token);
    VASK_REQUIRE(length > 0 && length < sizeof token && token[0] != '#');
    VASK_REQUIRE(text.find(token) != text.npos && std::strpbrk(token, " \t\n\v\f\r") == nullptr);
  }
  std::fclose(file);
}

void Configuration(const std::string& text) {
  Put(Base(), "config.Vask", text);
  VASK_REQUIRE(__check_Vask_Config__(Base().path.c_str()) == 0);
  VASK_REQUIRE(___epd_sensitivity == 0 || ___epd_sensitivity == 1);
  VASK_REQUIRE(Vask_EPD_Sampling_Rate == 16000 || Vask_EPD_Sampling_Rate == 8000);
  Vask_EPD_Sampling_Rate = 16000, __Hi_Freq__ = 8000, ___epd_sensitivity = 0;
}

// A file and memory give the same model, or the same reason; and a stream can work with every model.
void Model(const std::string& bytes, const Samples& sound) {
  int32_t of_memory = -1, of_file = -1;
  vask_model* model = vask_model_read(bytes.data(), static_cast<uint32_t>(bytes.size()), &of_memory);
  vask_model* other = vask_model_open(Put(Base(), "model", bytes).c_str(), &of_file);
  VASK_REQUIRE(of_memory == of_file && (model != nullptr) == (of_memory == VASK_MODEL_OK));
  VASK_REQUIRE((model == nullptr) == (other == nullptr));
  vask_model_close(other);
  if (model == nullptr) return;
  vask_stream_setup setup;
  vask_stream_setup_defaults(&setup, sizeof setup);
  setup.detector = VASK_STREAM_LEARNED, setup.model = model;
  vask_stream* stream = vask_stream_open_setup(&setup);
  const auto n = static_cast<int32_t>(sound.size());
  VASK_REQUIRE(vask_stream_write(stream, sound.data(), n) == n && vask_stream_flush(stream) == 0);
  vask_stream_close(stream);
  vask_model_close(model);
}

// Bytes as they are, or a sound model of a few sizes with some of its bytes changed and a true digest.
void AnyModel(Input& input) {
  if (input.ConsumeBool()) return Model(input.ConsumeRandomLengthString(300), {});
  const auto size = [&] { return 16 * input.ConsumeIntegralInRange<size_t>(1, 3); };
  const auto kind = input.PickValueInArray(
      {test::Kind::kTrained, test::Kind::kRandom, test::Kind::kHighest, test::Kind::kLowest});
  const size_t dense = size(), first = size(), second = size();
  std::string bytes =
      test::BytesOf(test::MakeModel(dense, first, second, kind, input.ConsumeIntegral<uint8_t>()));
  for (auto changes = input.ConsumeIntegralInRange<int>(0, 8); changes > 0; --changes)
    bytes[input.ConsumeIntegralInRange<size_t>(0, bytes.size() - 1)] = input.ConsumeIntegral<char>();
  bytes.resize(bytes.size() - (input.ConsumeBool() ? 0 : input.ConsumeIntegral<uint8_t>()));
  test::Sign(bytes);
  Model(bytes, Sound(input, 8000));
}

void Run(Input& input) {
  const auto kind = input.ConsumeIntegralInRange<int>(0, 9);
  if (kind >= 8) return AnyModel(input);
  const auto bands = input.ConsumeIntegralInRange<int32_t>(1, 36);
  const std::string text = input.ConsumeRemainingBytesAsString();
  if (kind == 0) return Coefficients(text);
  if (kind == 1) return MelBank(text, bands);
  if (kind == 2) return Parameters(text);
  if (kind == 3) return Configuration(text);
  Cepstra(text, kind - 4);
}

}  // namespace
}  // namespace vask::fuzz

VASK_FUZZ(vask::fuzz::Run)
