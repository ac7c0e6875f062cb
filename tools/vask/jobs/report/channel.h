// One channel of a recording, or their mix: what the detector makes of it, and what is left without its
// noise.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>
#include <vask/stream.hpp>
#include <vector>

#include "jobs/report/page.h"
#include "jobs/report/picture.h"
#include "jobs/report/traces.h"
#include "sound/audio_reader.h"

namespace vask::command {

// The recording as it came in, and what the detector makes of it.
class Heard {
 public:
  // `reader` is its clock.
  Heard(const AudioReader& reader, const vask_stream_setup& setup, const Fineness& fineness,
        std::optional<Sound::Type> sound);

  void Add(std::span<const int16_t> samples);
  void Finish();
  // `suffix` tells the channels of a page apart.
  void WriteTo(Page& page, const std::string& suffix) const;

  const nlohmann::json& segments() const { return segments_; }

 private:
  void TakeEvents();

  const AudioReader& reader_;
  Stream stream_;
  Picture picture_;
  Traces traces_;
  int utterances_ = 0;
  nlohmann::json segments_ = nlohmann::json::array();
};

// The recording without its noise, in step with the input.
class Cleaned {
 public:
  Cleaned(const vask_stream_setup& setup, const Fineness& fineness, std::optional<Sound::Type> sound);

  void Add(std::span<const int16_t> samples);
  void Finish();
  void WriteTo(Page& page, const std::string& suffix) const;

 private:
  void Take();

  Stream stream_;
  Picture picture_;
  std::vector<int16_t> samples_;
};

}  // namespace vask::command
