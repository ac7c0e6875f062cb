#include "sound/sound_input.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <utility>

#include "format.h"

namespace vask::command {
namespace {

struct Encoding {
  const char* name;
  int32_t bytes;
  Coding coding;
};

constexpr Encoding kEncodings[] = {{"s16", 2, Coding::kInteger},
                                   {"s24", 3, Coding::kInteger},
                                   {"f32", 4, Coding::kFloat},
                                   {"mulaw", 1, Coding::kMulaw},
                                   {"alaw", 1, Coding::kAlaw}};

bool IsChannelNumber(const std::string& text) {
  int number = 0;
  return CLI::detail::lexical_cast(text, number) && number >= 1 && number <= 1024;
}

}  // namespace

WavForm ReadOptions::RawForm() const {
  WavForm form = {rate.value_or(kRateHz), raw_channels.value_or(1), 2, Coding::kInteger, kUntilTheEnd};
  for (const Encoding& known : kEncodings) {
    if (encoding != known.name) continue;
    form.bytes = known.bytes;
    form.coding = known.coding;
  }
  return form;
}

int32_t ReadOptions::Channel(int32_t by_default) const {
  if (channels.empty()) return by_default;
  if (channels == "each") return kAllChannels;
  return channels == "mix" ? kMixed : static_cast<int32_t>(std::strtol(channels.c_str(), nullptr, 10));
}

std::string ReadOptions::Text() const {
  if (!describe_raw()) return "";
  const WavForm form = RawForm();
  return std::string(raw ? " raw " : " headerless ") + std::to_string(form.rate) + ' ' +
         std::to_string(form.channels) + ' ' + (encoding.empty() ? "s16" : encoding);
}

void AddReadOptions(CLI::App& job, ReadOptions& options, const char* each) {
  const bool has_each = each != nullptr;
  job.add_option(
         "--channels", options.channels,
         std::string("Channels to read: mix, ") + (has_each ? each : "") + "or the number of one (mix)")
      ->type_name(has_each ? "mix|each|N" : "mix|N")
      ->check([has_each](const std::string& text) {
        const bool known = text == "mix" || (has_each && text == "each") || IsChannelNumber(text);
        return known ? "" : text + (has_each ? " is not mix, each or a number" : " is not mix or a number");
      });
  job.add_flag("--raw", options.raw, "The input is samples without a header");
  job.add_option("--rate", options.rate, "Rate of samples without a header, in Hz (16000)")
      ->type_name("HZ")
      ->check(CLI::Range(kLowestRate, kHighestRate));
  job.add_option("--raw-channels", options.raw_channels, "Number of their channels (1)")
      ->type_name("N")
      ->check(CLI::Range(1, 1024));
  std::vector<std::string> names;
  for (const Encoding& encoding : kEncodings) names.emplace_back(encoding.name);
  job.add_option("--encoding", options.encoding, "Their encoding, little-endian (s16)")
      ->type_name("NAME")
      ->check(CLI::IsMember(names));
}

SoundInput::SoundInput(std::string name, ReadOptions how)
    : path(std::move(name)), options(std::move(how)), channel(options.Channel()) {}

SoundInput::SoundInput(std::string name, ReadOptions how, int32_t one_channel)
    : path(std::move(name)), options(std::move(how)), channel(one_channel) {}

std::string NameOf(const std::string& path, int32_t channel) {
  return channel > 0 ? path + ", channel " + std::to_string(channel) : path;
}

}  // namespace vask::command
