#include "sound/promised_length.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <span>
#include <string_view>

#include "sound/wav_header.h"

namespace vask::command {
namespace {

// A file of chunks, each an identifier, a size and the content.
struct Container {
  std::string_view tag;  // the file begins with it
  size_t head;           // bytes before the first chunk
  size_t id, size;       // bytes of these two
  bool big_endian;
  bool counts_itself;      // the size includes identifier and size
  int64_t aligned;         // chunks begin at multiples of this many bytes
  std::string_view sound;  // identifier of the chunk with the samples
  int64_t lead;            // bytes in it before the samples
  uint64_t endless;        // a size from here on is from a writer that did not know it
};

constexpr Container kContainers[] = {
    {"RIFF", 12, 4, 4, false, false, 2, "data", 0, kEndlessBytes},
    {"RIFX", 12, 4, 4, true, false, 2, "data", 0, kEndlessBytes},
    {"RF64", 12, 4, 4, false, false, 2, "data", 0, UINT32_MAX},
    {"FORM", 12, 4, 4, true, false, 2, "SSND", 8, 0x7EFFF000},
    {"riff", 40, 16, 8, false, true, 8, "data", 0, uint64_t{1} << 62},
};

constexpr int kMostChunks = 1000;       // more only in nonsense
constexpr double kMostFrames = 0x1p52;  // too

uint64_t Number(const uint8_t* bytes, size_t count, bool big_endian) {
  uint64_t value = 0;
  for (size_t i = 0; i < count; ++i) value = value << 8 | bytes[big_endian ? i : count - 1 - i];
  return value;
}

// Bytes of samples.
struct Bytes {
  uint64_t promised, present;
};

class HeaderReader {
 public:
  explicit HeaderReader(const std::string& path) : file_(path, std::ios::binary) {
    std::error_code error;
    length_ = static_cast<int64_t>(std::filesystem::file_size(path, error));
    if (error) length_ = 0;
  }

  std::optional<Bytes> Find() {
    std::array<uint8_t, 16> head;
    if (!ReadAt(0, head)) return std::nullopt;
    const std::string_view tag(reinterpret_cast<const char*>(head.data()), 4);
    if (tag == ".snd" || tag == "dns.") {
      const bool big_endian = tag == ".snd";
      return Of(static_cast<int64_t>(Number(&head[4], 4, big_endian)), Number(&head[8], 4, big_endian),
                UINT32_MAX);
    }
    for (const Container& container : kContainers) {
      if (tag == container.tag) return FindChunk(container);
    }
    return std::nullopt;
  }

  bool ReadAt(int64_t place, std::span<uint8_t> out) {
    file_.clear();
    file_.seekg(place);
    return static_cast<bool>(
        file_.read(reinterpret_cast<char*>(out.data()), static_cast<std::streamsize>(out.size())));
  }

  int64_t length() const { return length_; }

 private:
  std::optional<Bytes> FindChunk(const Container& container) {
    const auto prefix = static_cast<int64_t>(container.id + container.size);
    std::array<uint8_t, 24> head;
    uint64_t long_size = 0;  // in RF64, whose own size field is too short
    auto place = static_cast<int64_t>(container.head);
    for (int chunk = 0; chunk < kMostChunks; ++chunk) {
      if (!ReadAt(place, std::span(head).first(static_cast<size_t>(prefix)))) break;
      uint64_t size = Number(&head[container.id], container.size, container.big_endian);
      if (container.counts_itself) size -= std::min<uint64_t>(size, static_cast<uint64_t>(prefix));
      const std::string_view id(reinterpret_cast<const char*>(head.data()), 4);
      place += prefix;
      if (id == container.sound) {
        if (size == UINT32_MAX && long_size > 0) return Of(place, long_size, uint64_t{1} << 62);
        const auto lead = static_cast<uint64_t>(container.lead);
        return Of(place + container.lead, size - std::min(size, lead), container.endless);
      }
      if (id == "ds64" && ReadAt(place, std::span(head).first(16))) long_size = Number(&head[8], 8, false);
      if (size > static_cast<uint64_t>(length_)) break;
      place += static_cast<int64_t>(size);
      place += (container.aligned - place % container.aligned) % container.aligned;
    }
    return std::nullopt;
  }

  std::optional<Bytes> Of(int64_t start, uint64_t promised, uint64_t endless) const {
    if (promised == 0 || promised >= endless || start >= length_) return std::nullopt;
    return Bytes{promised, static_cast<uint64_t>(length_ - start)};
  }

  std::ifstream file_;
  int64_t length_ = 0;
};

// "sample_count -i 1234" among the lines of text that a NIST file begins with; 0 without it.
int64_t NistFrames(const std::string& path) {
  constexpr std::string_view kField = "sample_count -i ";
  std::array<char, 1024> text = {};
  std::ifstream(path, std::ios::binary).read(text.data(), text.size());
  const auto* field = std::search(text.begin(), text.end(), kField.begin(), kField.end());
  int64_t frames = 0;
  if (field != text.end()) std::from_chars(field + kField.size(), text.end(), frames);
  return frames;
}

// Whether an MP3 file is shorter than its first frame says, by more than a hundredth: encoders differ in
// which bytes they count.
bool IsCutMp3(const std::string& path) {
  HeaderReader file(path);
  std::array<uint8_t, 256> head;
  if (!file.ReadAt(0, head)) return false;
  int64_t start = 0;
  if (std::equal(head.begin(), head.begin() + 3, "ID3")) {
    for (size_t i = 6; i < 10; ++i) start = start << 7 | head[i];
    start += 10;
    if (!file.ReadAt(start, head)) return false;
  }
  if (head[0] != 0xFF || head[1] < 0xE0) return false;
  for (const std::string_view tag : {"Xing", "Info"}) {
    const auto found = std::search(head.begin(), head.end() - 16, tag.begin(), tag.end());
    if (found == head.end() - 16) continue;
    const bool has_frames = (found[7] & 1) != 0, has_bytes = (found[7] & 2) != 0;
    const uint64_t bytes = Number(&*found + (has_frames ? 12 : 8), 4, true);
    return has_bytes && bytes / 100 * 99 > static_cast<uint64_t>(file.length() - start);
  }
  return false;
}

}  // namespace

int64_t PromisedFrames(const std::string& path, const SF_INFO& info) {
  if (info.frames == SF_COUNT_MAX) return 0;
  const int type = info.format & SF_FORMAT_TYPEMASK;
  if (type == SF_FORMAT_NIST) return NistFrames(path);
  // For these libsndfile reports what the header says.
  if (type == SF_FORMAT_FLAC || IsCutMp3(path)) return info.frames;
  const std::optional<Bytes> bytes = HeaderReader(path).Find();
  if (!bytes || bytes->promised <= bytes->present) return 0;
  const double share = static_cast<double>(bytes->promised) / static_cast<double>(bytes->present);
  const double frames = std::ceil(static_cast<double>(info.frames) * share);
  if (frames > kMostFrames) return 0;
  return std::max(static_cast<int64_t>(frames), int64_t{info.frames} + 1);
}

}  // namespace vask::command
