// The learned detector: analysis -> net. In: frames of 160 samples. Out, every second frame, probabilities of
// speech. Each gate has all its state in itself.
#pragma once

#include <cstdint>
#include <span>

#include "gate/analysis.h"
#include "gate/model.h"
#include "gate/net.h"

namespace vask {

inline constexpr int32_t kGateStepFrames = 2;  // frames from one verdict to the next: 20 ms

// What the net says at a step, probabilities in Q15 (0 .. 32767). Delays count from the end of the step.
struct Verdict {
  int16_t speech_now;        // speech in this step
  int16_t speech_100ms_ago;  // in the step of 5 steps ago
  int16_t speech_200ms_ago;  // in the step of 10 steps ago
  int16_t utterance;         // inside an utterance 20 steps (400 ms) ago: pauses under 0.35 s count as speech
  int16_t music;             // music in the step of 10 steps ago
};

class Gate {
 public:
  bool Open(const Model& model);  // false if there is no memory; the model must outlive the gate
  void Close();
  void Clear();  // as opened

  // Hear one frame. True: it completes a step, and verdict() is that of the step.
  bool Hear(std::span<const int16_t, kFrame> frame);
  const Verdict& verdict() const { return verdict_; }

 private:
  void ForgetLongQuiet();

  Analysis analysis_;
  Net net_;
  Verdict verdict_;
  int32_t quiet_steps_;  // in a row
};

}  // namespace vask
