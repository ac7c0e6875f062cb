#include "sound/signature.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

namespace vask::command {
namespace {

using std::string_view_literals::operator""sv;

struct Mark {
  size_t place;  // in the stream
  std::string_view bytes;
  Signature signature;
};

constexpr Mark kMarks[] = {
    {0, "RIFF"sv, Signature::kRiff},
    {0, "OggS"sv, Signature::kForward},
    {0, "RF64"sv, Signature::kForward},
    {0, "RIFX"sv, Signature::kForward},
    {0, "FORM"sv, Signature::kForward},  // AIFF
    {0, ".snd"sv, Signature::kForward},  // AU
    {0, "dns."sv, Signature::kForward},
    {0, "NIST"sv, Signature::kForward},
    {0, "riff"sv, Signature::kForward},  // W64
    // MP3: where libsndfile 1.2 cannot go back, it reads beside its buffer.
    {0, "ID3"sv, Signature::kElsewhere},
    {0, "fLaC"sv, Signature::kElsewhere},
    {0, "caff"sv, Signature::kElsewhere},
    {4, "ftyp"sv, Signature::kElsewhere},              // MP4, M4A
    {0, "\x1A\x45\xDF\xA3"sv, Signature::kElsewhere},  // Matroska, WebM
    {0, "\x30\x26\xB2\x75"sv, Signature::kElsewhere},  // WMA
    {0, "\0\0\1\xBA"sv, Signature::kElsewhere},        // MPEG video
    {0, "FLV\1"sv, Signature::kElsewhere},
    {0, "#!AMR"sv, Signature::kElsewhere},
    {0, "wvpk"sv, Signature::kElsewhere},
};

constexpr size_t kMostBytes = 8;  // of the marks

// Bytes of the MPEG audio frame, layer III, that `head` begins; nullopt if it begins none.
std::optional<size_t> Mp3FrameBytes(std::span<const uint8_t> head) {
  constexpr int kRates[] = {44100, 48000, 32000};
  constexpr int kBits1[] = {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
  constexpr int kBits2[] = {8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};
  if (head.size() < 4 || head[0] != 0xFF || (head[1] & 0xE6) != 0xE2) return std::nullopt;
  const int version = head[1] >> 3 & 3;  // 0: 2.5, 2: 2, 3: 1
  const int bits = head[2] >> 4, rate = head[2] >> 2 & 3;
  if (version == 1 || bits == 0 || bits == 15 || rate == 3) return std::nullopt;
  const bool first = version == 3;
  const int hertz = kRates[rate] / (first ? 1 : version == 2 ? 2 : 4);
  const int kbits = (first ? kBits1 : kBits2)[bits - 1];
  return static_cast<size_t>((first ? 144 : 72) * kbits * 1000 / hertz + (head[2] >> 1 & 1));
}

}  // namespace

Signature FindSignature(InputFile& input, std::vector<uint8_t>& seen) {
  const auto need = [&](size_t bytes) {
    if (seen.size() >= bytes) return true;
    const size_t had = seen.size();
    seen.resize(bytes);
    seen.resize(had + input.Read(std::span(seen).subspan(had)));
    return seen.size() == bytes;
  };
  need(kMostBytes);
  const std::string_view text(reinterpret_cast<const char*>(seen.data()), seen.size());
  for (const Mark& mark : kMarks) {
    if (text.size() > mark.place && text.substr(mark.place).starts_with(mark.bytes)) return mark.signature;
  }
  // Samples may look like the start of a frame, but not like two.
  const std::optional<size_t> frame = Mp3FrameBytes(seen);
  if (frame && need(*frame + 4) && Mp3FrameBytes(std::span(seen).subspan(*frame)))
    return Signature::kElsewhere;
  return Signature::kNone;
}

}  // namespace vask::command
