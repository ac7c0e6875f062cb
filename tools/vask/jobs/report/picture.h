// One of the two sounds of a report, before or after the noise reduction: what is drawn and played of it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "jobs/report/envelope.h"
#include "jobs/report/page.h"
#include "jobs/report/sound.h"
#include "jobs/report/spectrogram.h"

namespace vask::command {

// How fine a report is drawn: bounded, so that the page for an hour stays small.
struct Fineness {
  int32_t envelope_step;       // samples per value
  int32_t spectrogram_frames;  // of 10 ms per column
  int32_t trace_frames;

  static Fineness For(int64_t samples);  // 0: unknown length
};

class Picture {
 public:
  Picture(const Fineness& fineness, std::optional<Sound::Type> sound);

  void Add(std::span<const int16_t> samples);
  void Finish();
  void WriteTo(Page& page, const std::string& name) const;

 private:
  Envelope envelope_;
  Spectrogram spectrogram_;
  std::optional<Sound> sound_;
};

}  // namespace vask::command
