#include "jobs/detect/meter.h"

#include <algorithm>
#include <cstdio>

#include "format.h"

namespace vask::command {
namespace {

constexpr float kQuietestDb = -80;  // the left end of the bar; the right end is full scale
constexpr int kWidth = 40;

}  // namespace

std::string MeterLine(const vask_stream_measures& measures) {
  const float level = std::max(measures.level_db, -99.9F), share = 1 - level / kQuietestDb;
  const std::string bar(static_cast<size_t>(std::clamp(share, 0.0F, 1.0F) * kWidth), '#');
  const char* state = measures.open != 0 ? "utterance" : measures.speech != 0 ? "speech" : "";
  const int64_t tenths = measures.heard / (kRateHz / 10);
  char text[160];
  std::snprintf(text, sizeof text, "%6.1f dB  [%-*s]  %-9s  %-6s  %d:%02d.%d", static_cast<double>(level),
                kWidth, bar.c_str(), state, measures.voiced != 0 ? "voiced" : "",
                static_cast<int>(tenths / 600), static_cast<int>(tenths / 10 % 60),
                static_cast<int>(tenths % 10));
  return text;
}

}  // namespace vask::command
