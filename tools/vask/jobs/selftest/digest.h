// The digest of what a stage gives: CRC-32 of its values, their low bytes first.
#pragma once

#include <zlib.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

namespace vask::command {

class Digest {
 public:
  template <typename Value>
  void Add(Value value) {
    if constexpr (std::is_same_v<Value, float>) {
      Add(std::bit_cast<uint32_t>(value));
    } else {
      uint8_t bytes[sizeof value];
      for (size_t i = 0; i < sizeof value; ++i) bytes[i] = static_cast<uint8_t>(value >> (8 * i));
      crc_ = crc32(crc_, bytes, sizeof bytes);
    }
  }

  template <typename Value, size_t kExtent>
  void AddAll(std::span<Value, kExtent> values) {
    for (const Value& value : values) Add(value);
  }
  void AddText(std::string_view text) {
    for (const char byte : text) Add(static_cast<uint8_t>(byte));
  }

  std::string Text() const {
    char text[9];
    std::snprintf(text, sizeof text, "%08lx", static_cast<unsigned long>(crc_));
    return text;
  }

 private:
  uLong crc_ = 0;
};

}  // namespace vask::command
