#include "jobs/detect/meter.h"

#include <algorithm>
#include <cstdio>

#include "format.h"
#include "terminal/terminal_line.h"

namespace vask::command {
namespace {

constexpr float kQuietestDb = -80;               // the left end of the bar; the right end is full scale
constexpr float kLoudDb = -12, kTooLoudDb = -6;  // speech peaks some 12 dB above the level of its frames
constexpr size_t kMostBar = 40, kLeastBar = 8;
constexpr size_t kAroundBar = 4;  // "  []"

Colour ColourOf(float level_db) {
  if (level_db >= kTooLoudDb) return Colour::kRed;
  return level_db >= kLoudDb ? Colour::kYellow : Colour::kGreen;
}

std::string BarOf(float level_db, size_t width) {
  const float share = std::clamp(1 - level_db / kQuietestDb, 0.0F, 1.0F);
  const auto filled = static_cast<size_t>(share * static_cast<float>(width));
  return "  [" + Coloured(ColourOf(level_db), std::string(filled, '#')) + std::string(width - filled, ' ') +
         "]";
}

}  // namespace

std::string MeterLine(const vask_stream_measures& measures, size_t columns) {
  const float level = std::max(measures.level_db, -99.9F);
  const int64_t tenths = measures.heard / (kRateHz / 10);
  char decibels[16], time[32], state[16], voiced[16];
  std::snprintf(decibels, sizeof decibels, "%6.1f dB", static_cast<double>(level));
  std::snprintf(time, sizeof time, "  %d:%02d.%d", static_cast<int>(tenths / 600),
                static_cast<int>(tenths / 10 % 60), static_cast<int>(tenths % 10));
  std::snprintf(state, sizeof state, "  %-9s",
                measures.open != 0     ? "utterance"
                : measures.speech != 0 ? "speech"
                                       : "");
  std::snprintf(voiced, sizeof voiced, "  %-6s", measures.voiced != 0 ? "voiced" : "");

  // The most telling first; what has no room beside the shortest bar is left out, and then the bar.
  size_t room = columns;
  const auto fitted = [&room](const std::string& part, size_t besides) {
    if (part.size() + besides > room) return std::string();
    room -= part.size();
    return part;
  };
  constexpr size_t kBar = kAroundBar + kLeastBar;
  const std::string level_part = fitted(decibels, 0), time_part = fitted(time, 0),
                    state_part = fitted(state, kBar), voiced_part = fitted(voiced, kBar);
  const std::string bar = room < kBar ? "" : BarOf(level, std::min(room - kAroundBar, kMostBar));
  return level_part + bar + state_part + voiced_part + time_part;
}

}  // namespace vask::command
