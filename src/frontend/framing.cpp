#include "frontend/framing.h"

#include <algorithm>

#include "dsp/message.h"
#include "engine/lifecycle.h"
#include "engine/pipeline.h"

namespace vask {
namespace {

bool RunsEngine(int32_t mode) { return mode >= kEnhancedSpeech && mode <= kFeatures; }

bool HasFrame(const frontend& f) { return f.input_len >= f.frame_pos + kFrame; }

// Append the samples that fit to the input; returns how many did.
int32_t Append(frontend& f, std::span<const int16_t> samples) {
  const int32_t room = kInputCapacity - f.input_len;
  const auto taken = static_cast<int32_t>(std::min(samples.size(), static_cast<size_t>(room)));
  std::copy_n(samples.begin(), taken, f.input + f.input_len);
  f.input_len += taken;
  return taken;
}

// False if not all of them fit. Modes 3 and 4 emit nothing.
bool Queue(frontend& f, std::span<const int16_t> entries) {
  const auto taken = std::min(entries.size(), static_cast<size_t>(kOutputCapacity - f.write_pos));
  std::copy_n(entries.begin(), taken, f.frames + f.write_pos);
  f.write_pos += static_cast<int32_t>(taken);
  return taken == entries.size();
}

// Overwrite the caller's samples of a frame with what was processed: clipped ones. `first` is the position of
// samples[0] in the input.
void WriteBack(const frontend& f, int32_t first, std::span<int16_t> samples) {
  const int32_t begin = std::max(f.frame_pos, first);
  const int32_t end = std::min(f.frame_pos + kFrame, first + static_cast<int32_t>(samples.size()));
  for (int32_t i = begin; i < end; ++i) samples[static_cast<size_t>(i - first)] = f.input[i];
}

struct Outcome {
  int32_t result;
  bool is_over;  // the engine has been wrapped up
};

Outcome End(const Engine& engine) {
  WrapUp(engine);
  return {kEnded, true};
}

// Like the engine's own end, but because a buffer is full. Both stay so until they are reset.
Outcome EndBecauseFull(frontend& f, const Engine& engine, const char* what) {
  if (!f.told_full)
    Say(Message::kFailure, "ERROR: %s is full, the utterance is ended: reset the front end\n", what);
  f.told_full = true;
  return End(engine);
}

// The frame at frame_pos.
Outcome RunFrame(frontend& f, const Engine& engine) {
  engine.state.mode = f.mode;
  const Step step = ProcessFrame(engine, std::span<int16_t, kFrame>(f.input + f.frame_pos, kFrame));
  if (!Queue(f, step.emitted)) return EndBecauseFull(f, engine, "output queue");
  if (f.mode == kEnhancedSpeech || step.result == kGoOn)
    return {step.result, false};  // mode 1 runs on until it is stopped
  if (step.result == kRestarted) f.read_pos = f.write_pos = 0;
  return End(engine);
}

}  // namespace

void ChooseMode(frontend& f, int32_t mode) { f.mode = mode; }

Processed ProcessSamples(frontend& f, const Engine& engine, std::span<int16_t> samples) {
  if (!IsUp(engine.state)) return {};
  const int32_t first = f.input_len;
  const auto taken = static_cast<size_t>(Append(f, samples));
  Processed processed;
  for (; HasFrame(f); f.frame_pos += kFrame) {
    if (!RunsEngine(f.mode)) continue;
    const Outcome outcome = RunFrame(f, engine);
    processed = {outcome.result, true};
    WriteBack(f, first, samples.first(taken));
    // The frame that ended the utterance stays in the input, to be processed by the fresh engine or discarded
    // by a reset.
    if (outcome.is_over) break;
  }
  if (taken < samples.size()) processed.result = EndBecauseFull(f, engine, "input buffer").result;
  return processed;
}

int32_t AvailableEntries(const frontend& f) { return f.write_pos - f.read_pos; }

namespace {

template <typename T>
int32_t Take(frontend& f, const T* queue, std::span<T> dst) {
  const auto count = static_cast<int32_t>(std::min(dst.size(), static_cast<size_t>(AvailableEntries(f))));
  std::copy_n(queue + f.read_pos, count, dst.begin());
  f.read_pos += count;
  return count;
}

}  // namespace

int32_t TakeFrames(frontend& f, std::span<int16_t> dst) { return Take<int16_t>(f, f.frames, dst); }
int32_t TakeFeatures(frontend& f, std::span<int32_t> dst) { return Take<int32_t>(f, f.features, dst); }

void ResetPositions(frontend& f) {
  f.frame_pos = f.input_len = f.read_pos = f.write_pos = 0;
  f.told_full = false;
}

}  // namespace vask
