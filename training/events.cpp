// events learned|learned=MODEL|energy|robust FILE...
//
// Runs a stream over recordings (WAV, 16 kHz, 16 bits, mono, a header of 44 bytes) and prints for each one
// line of JSON: {"name", "events": [[start, end, span_start, span_end, told], …], "values": [[at, speech],
// …]}, in seconds: the utterances, when the end of each was known, and how probable speech was from `at` on,
// as judged 0.2 s later (learned only).
#include <vask/vask.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr double kRate = 16000;
constexpr size_t kHeader = 44;
constexpr int32_t kPiece = 160;
constexpr double kLookBack = 0.2;

std::string Number(double value) {
  char text[32];
  std::snprintf(text, sizeof(text), "%.4f", value);
  return text;
}

void TakeEvents(vask_stream* stream, std::string* list) {
  vask_stream_event event;
  while (vask_stream_next(stream, &event) == 1) {
    if (event.kind != VASK_STREAM_ENDED) continue;
    const int64_t positions[] = {event.start, event.end, event.span_start, event.span_end, event.heard};
    std::string item;
    for (const int64_t position : positions) item += (item.empty() ? "[" : ", ") + Number(position / kRate);
    *list += (list->empty() ? "" : ", ") + item + "]";
  }
}

// The built-in model is null.
vask_stream* Open(std::string_view detector, const vask_model* model) {
  vask_stream_setup setup;
  vask_stream_setup_defaults(&setup, sizeof(setup));
  setup.options.audio = VASK_STREAM_NO_AUDIO;
  setup.detector = detector.starts_with("learned") ? VASK_STREAM_LEARNED : VASK_STREAM_ENERGY;
  setup.model = model;
  if (detector == "robust") vask_stream_robust(&setup.options);
  return vask_stream_open_setup(&setup);
}

bool Run(std::string_view detector, const vask_model* model, const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), {});
  vask_stream* stream = bytes.size() > kHeader ? Open(detector, model) : nullptr;
  if (!stream) return false;
  std::vector<int16_t> samples((bytes.size() - kHeader) / sizeof(int16_t));
  std::memcpy(samples.data(), bytes.data() + kHeader, samples.size() * sizeof(int16_t));

  std::string events, values;
  int64_t newest = -1;
  for (size_t at = 0; at < samples.size(); at += kPiece) {
    const auto n = static_cast<int32_t>(std::min<size_t>(kPiece, samples.size() - at));
    if (vask_stream_write(stream, samples.data() + at, n) != n) return false;
    TakeEvents(stream, &events);
    vask_stream_hearing hearing = {};
    hearing.size = sizeof(hearing);
    if (vask_stream_hear(stream, &hearing) != 0 || hearing.at == newest) continue;
    newest = hearing.at;
    values += (values.empty() ? "[" : ", [") + Number(static_cast<double>(newest) / kRate - kLookBack) +
              ", " + Number(hearing.speech_200ms_ago) + "]";
  }
  vask_stream_flush(stream);
  TakeEvents(stream, &events);
  vask_stream_close(stream);
  const size_t slash = path.rfind('/') + 1;  // 0 if there is none
  const std::string name = path.substr(slash, path.rfind('.') - slash);
  std::printf("{\"name\": \"%s\", \"events\": [%s], \"values\": [%s]}\n", name.c_str(), events.c_str(),
              values.c_str());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  const char* path = std::strchr(argv[1], '=');
  vask_model* const model = path ? vask_model_open(path + 1, nullptr) : nullptr;
  if (path && !model) {
    std::fprintf(stderr, "%s is not a model\n", path + 1);
    return 1;
  }
  for (int i = 2; i < argc; ++i) {
    if (!Run(argv[1], model, argv[i])) {
      std::fprintf(stderr, "%s cannot be processed\n", argv[i]);
      return 1;
    }
  }
  vask_model_close(model);
  return 0;
}
