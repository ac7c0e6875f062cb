// What the detector measured, frame by frame, in bytes.
#pragma once

#include <vask/stream.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace vask::command {

// A column covers one or more frames of 10 ms: the loudest of them, and whether any was speech or voiced.
class Traces {
 public:
  static constexpr uint8_t kNone = 255;  // not measured
  static constexpr int32_t kStepsPerDb = 2;
  static constexpr int32_t kLowestLevelDb = -100;
  static constexpr int32_t kStepsOfOne = 250;
  static constexpr uint8_t kSpeech = 1,
                           kVoiced = 2;  // bits of a flag; learned: inside an utterance, speech probable

  explicit Traces(int32_t frames) : frames_(frames) {}

  // Adds the newest frame, and the detector's values to the earlier ones that they belong to; `hearing` is
  // that of the learned detector, which has no energy and no noise floor.
  void Add(const vask_stream_measures& measures, const std::optional<vask_stream_hearing>& hearing);

  const std::vector<uint8_t>& level() const { return level_; }    // dB full scale, from kLowestLevelDb
  const std::vector<uint8_t>& energy() const { return energy_; }  // dB above the detector's silence
  const std::vector<uint8_t>& noise() const { return noise_; }    // the noise floor, likewise
  const std::vector<uint8_t>& speech() const { return speech_; }  // its probability, in kStepsOfOne
  const std::vector<uint8_t>& music() const { return music_; }
  const std::vector<uint8_t>& flags() const { return flags_; }

 private:
  size_t ColumnAt(int64_t position);  // created if not there yet
  void AddMeasured(const vask_stream_measures& measures);
  void AddHeard(const vask_stream_hearing& hearing);

  int32_t frames_;
  int64_t heard_ = 0, detector_at_ = -1;  // of the last call: nothing is taken twice
  std::vector<uint8_t> level_, energy_, noise_, speech_, music_, flags_;
};

}  // namespace vask::command
