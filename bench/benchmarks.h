// The groups of benchmarks, registered by main.
#pragma once

#include <string>

#include "dsp/level.h"

namespace vask::bench {

// Names: stage/<stage>, over speech.
void RegisterStages();

// Names: FormName of every form at every level of the machine, over speech.
void RegisterForms();

// Names: frontend/...
void RegisterFrontEnd();

// Names: stream/mode_1 and _2, and stream/learned/<audio>, over speech.
void RegisterStreams();

// Names: EngineName(mode, material) and ReferenceName(material), for every material.
void RegisterEngine();
void RegisterReference();

inline constexpr int kEngineModes[] = {1, 2};  // 1: every frame, noise-reduced; 2: the utterances

inline constexpr const char* kForms[] = {"transform", "gain_design",      "likelihood_ratios", "convolution",
                                         "lags",      "log_mel_analysis", "neural_net"};

inline constexpr const char* kListOnly = "stream/learned/no_audio";  // the learned detector alone

inline std::string FormName(const std::string& name, Level level) {
  return "form/" + name + '/' + NameOf(level);
}
inline std::string EngineName(int mode, const std::string& material) {
  return "engine/mode_" + std::to_string(mode) + '/' + material;
}
inline std::string ReferenceName(const std::string& material) { return "speexdsp/" + material; }

}  // namespace vask::bench
