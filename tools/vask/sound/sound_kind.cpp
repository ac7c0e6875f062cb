#include "sound/sound_kind.h"

#include "terminal/arguments.h"

namespace vask::command {
namespace {

constexpr int32_t kOpusRates[] = {8000, 12000, 16000, 24000, 48000};
constexpr int32_t kMp3Rates[] = {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000};

constexpr SoundKind kKinds[] = {
    {".wav", "WAV", SF_FORMAT_WAV},
    {".flac", "FLAC", SF_FORMAT_FLAC, 0, {}, 8},
    {".ogg", "Ogg Vorbis", SF_FORMAT_OGG, SF_FORMAT_VORBIS, {}, 255},
    {".oga", "Ogg Vorbis", SF_FORMAT_OGG, SF_FORMAT_VORBIS, {}, 255},
    {".opus", "Ogg Opus", SF_FORMAT_OGG, SF_FORMAT_OPUS, kOpusRates, 255},
    {".mp3", "MP3", SF_FORMAT_MPEG, SF_FORMAT_MPEG_LAYER_III, kMp3Rates, 2},
    {".aiff", "AIFF", SF_FORMAT_AIFF},
    {".aif", "AIFF", SF_FORMAT_AIFF},
    {".au", "AU", SF_FORMAT_AU},
    {".caf", "CAF", SF_FORMAT_CAF},
    {".w64", "W64", SF_FORMAT_W64},
};

}  // namespace

const SoundKind& SoundKindOf(const std::string& target) {
  for (const SoundKind& kind : kKinds) {
    if (HasEnding(target, kind.ending)) return kind;
  }
  return kKinds[0];
}

std::vector<std::string> SoundEndings() {
  std::vector<std::string> endings;
  for (const SoundKind& kind : kKinds) endings.emplace_back(kind.ending);
  return endings;
}

int32_t RateFor(const SoundKind& kind, int32_t rate) {
  if (kind.rates.empty()) return rate;
  for (const int32_t possible : kind.rates) {
    if (possible >= rate) return possible;
  }
  return kind.rates.back();
}

}  // namespace vask::command
