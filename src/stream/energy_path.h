// A stream with the front end's own detector: runs an engine, and turns what that emits and decides into
// audio and events on the input's time line.
#pragma once

#include <vask/stream.h>

#include <cstdint>
#include <optional>
#include <span>

#include "engine/pipeline.h"
#include "engine/record.h"
#include "stream/conversation.h"
#include "stream/timeline.h"

namespace vask {

class EnergyPath {
 public:
  // `options` have passed the check for complaints. False if there is no memory.
  bool Open(Timeline& line, const vask_stream_options& options);
  void Close();
  void Clear();

  // Take one frame of the input, or of the silence after it.
  void Take(Timeline& line, std::span<const int16_t, kFrame> frame);

  // After the last of TotalFrames(): the input's frames and the silence that brings out what is in flight.
  void EndInput(Timeline& line);
  int64_t TotalFrames(const Timeline& line) const;

  // The most samples that one frame emits: the margin before a start and what has arrived since.
  int64_t most_out() const { return 48 * kFrame; }

  // How the open segment stands.
  std::optional<Quiet> QuietNow() const;

  int64_t NoStartBefore(const Timeline& line) const;

  // Change the hangover. False if there is no memory, and then nothing has changed.
  bool SetPause(Timeline& line, int32_t frames);

  // What the detector knows; the rest is filled in already.
  void Measure(const Timeline& line, vask_stream_measures& measures) const;

 private:
  const energy_epd_prm& detector() const { return engine_.epd; }
  int64_t FrameAfterSpeech() const;
  int64_t FrameAfterSpeechSoFar() const;
  void NoteDetector(Timeline& line) const;
  Step RunEngine(const Timeline& line, std::span<const int16_t, kFrame> frame);
  void EmitContinuous(Timeline& line, const Step& step) const;
  void Deliver(Timeline& line, std::span<const int16_t> emitted) const;
  void UseHangover(int32_t frames);
  void EndSegment(Timeline& line, int32_t result, std::span<const int16_t, kFrame> frame);

  epd_engine engine_;
  int64_t detector_frame_;   // that the detector's newest values belong to: its window begins there
  int32_t hangover_frames_;  // in force
  int64_t margin_end_;
  vask_stream_options options_;
};

}  // namespace vask
