#include "sound/wav_header.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <optional>

#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr uint32_t kPcm = 1, kFloat = 3, kAlaw = 6, kMulaw = 7, kExtensible = 0xFFFE;  // format tags
constexpr size_t kPlainFmt = 16, kExtensibleFmt = 40;  // bytes of a chunk "fmt "
constexpr int32_t kMostChannels = 1024;

uint32_t Little(const uint8_t* bytes, int count) {
  uint32_t value = 0;
  for (int i = count - 1; i >= 0; --i) value = value << 8 | bytes[i];
  return value;
}

std::optional<Coding> CodingOf(uint32_t tag, uint32_t bits) {
  if (tag == kPcm && (bits == 16 || bits == 24 || bits == 32)) return Coding::kInteger;
  if (tag == kFloat && bits == 32) return Coding::kFloat;
  if (tag == kMulaw && bits == 8) return Coding::kMulaw;
  if (tag == kAlaw && bits == 8) return Coding::kAlaw;
  return std::nullopt;
}

// G.711: sign, three bits of the segment, four of the step in it; the values are those of 16 bits.
int32_t FromMulaw(uint8_t byte) {
  const int32_t code = ~byte & 0xFF;
  const int32_t magnitude = ((((code & 15) << 3) + 0x84) << ((code >> 4) & 7)) - 0x84;
  return (code & 0x80) != 0 ? -magnitude : magnitude;
}

int32_t FromAlaw(uint8_t byte) {
  const int32_t code = byte ^ 0x55, segment = (code >> 4) & 7;
  int32_t magnitude = ((code & 15) << 4) + 8;
  if (segment > 0) magnitude = (magnitude + 0x100) << (segment - 1);
  return (code & 0x80) != 0 ? magnitude : -magnitude;
}

}  // namespace

WavForm ReadWavHeader(const std::string& name, const TakeBytes& take) {
  const auto fail = [&](const std::string& wrong) {
    throw FileError(name, wrong, "send PCM of 16, 24 or 32 bits or 32-bit floats");
  };
  const auto need = [&](std::span<uint8_t> bytes) {
    if (!take(bytes)) fail("ends within the WAV header");
  };
  std::array<uint8_t, 8> head;
  need(head);  // size of the whole, which is not needed, and the type
  if (std::memcmp(&head[4], "WAVE", 4) != 0) fail("is RIFF but not WAV");

  WavForm form;
  for (;;) {
    need(head);
    uint64_t size = Little(&head[4], 4);
    if (std::memcmp(head.data(), "data", 4) == 0) {
      if (form.rate == 0) fail("its WAV header does not say what the samples are");
      form.data_bytes = size == 0 || size >= kEndlessBytes ? kUntilTheEnd : size;
      return form;
    }
    size += size % 2;  // chunks are padded to even lengths
    if (std::memcmp(head.data(), "fmt ", 4) == 0) {
      std::array<uint8_t, kExtensibleFmt> fmt = {};
      const auto known = static_cast<size_t>(std::min<uint64_t>(size, fmt.size()));
      if (known < kPlainFmt) fail("its WAV header is damaged");
      need(std::span(fmt).first(known));
      size -= known;
      uint32_t tag = Little(&fmt[0], 2);
      if (tag == kExtensible) tag = Little(&fmt[24], 2);
      const uint32_t channels = Little(&fmt[2], 2), rate = Little(&fmt[4], 4), bits = Little(&fmt[14], 2);
      const std::optional<Coding> coding = CodingOf(tag, bits);
      if (!coding) {
        fail("is WAV of format " + std::to_string(tag) + " with " + std::to_string(bits) + " bits");
      }
      if (channels < 1 || channels > kMostChannels || rate < 1 || rate > INT32_MAX ||
          Little(&fmt[12], 2) != channels * bits / 8) {
        fail("its WAV header is damaged");
      }
      form = {static_cast<int32_t>(rate), static_cast<int32_t>(channels), static_cast<int32_t>(bits / 8),
              *coding, 0};
    }
    std::array<uint8_t, 512> skipped;
    for (; size > 0; size -= std::min<uint64_t>(size, skipped.size())) {
      need(std::span(skipped).first(static_cast<size_t>(std::min<uint64_t>(size, skipped.size()))));
    }
  }
}

double WavSample(const WavForm& form, const uint8_t* bytes) {
  if (form.coding == Coding::kMulaw) return FromMulaw(*bytes) / 32768.0;
  if (form.coding == Coding::kAlaw) return FromAlaw(*bytes) / 32768.0;
  const uint32_t bits = Little(bytes, form.bytes) << (32 - 8 * form.bytes);
  if (form.coding == Coding::kFloat) return static_cast<double>(std::bit_cast<float>(bits));
  return static_cast<double>(static_cast<int32_t>(bits)) / 2147483648.0;
}

}  // namespace vask::command
