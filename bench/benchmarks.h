// The groups of benchmarks, registered by main.
#pragma once

#include <string>

namespace vask::bench {

// Names: stage/<stage>, over speech.
void RegisterStages();

// Names: EngineName(mode, material) and ReferenceName(material), for every material.
void RegisterEngine();
void RegisterReference();

inline constexpr int kEngineModes[] = {1, 2};  // 1: every frame comes out noise-reduced; 2: the utterances do

inline std::string EngineName(int mode, const std::string& material) {
  return "engine/mode_" + std::to_string(mode) + '/' + material;
}
inline std::string ReferenceName(const std::string& material) { return "speexdsp/" + material; }

}  // namespace vask::bench
