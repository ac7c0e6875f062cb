#include "sound/ffmpeg_sound.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "files/child_process.h"
#include "files/input_file.h"
#include "sound/streamed_sound.h"
#include "sound/wav_header.h"
#include "terminal/errors.h"
#include "terminal/signals.h"

namespace vask::command {
namespace {

// A word of a command line, for a shell.
std::string Quoted(std::string word) {
  if (word.starts_with('-')) word.insert(0, "./");
  const bool plain = std::all_of(word.begin(), word.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("/._-+,@%").find(c) != std::string_view::npos;
  });
  if (plain) return word;
  std::string quoted = "'";
  for (const char c : word) quoted += c == '\'' ? "'\\''" : std::string(1, c);
  return quoted + "'";
}

[[noreturn]] void ThrowNoFfmpeg(const std::string& name, const std::string& unknown, bool piped) {
  const std::string wrong = "cannot be read as audio (" + unknown + ")";
  if (piped) throw FileError(name, wrong, "install ffmpeg, which reads it, or send WAV");
  std::filesystem::path other = name;
  other.replace_extension(other.extension() == ".wav" ? ".flac" : ".wav");
  throw FileError(name, wrong,
                  "install ffmpeg (apt install ffmpeg), which reads it, or convert it where it is installed: "
                  "ffmpeg -i " +
                      Quoted(name) + " " + Quoted(other.string()));
}

// The first line of what ffmpeg wrote, without the name of the file and of its own parts.
std::string FirstWords(std::string text, const std::string& file) {
  text.resize(std::min(text.find('\n'), text.size()));
  if (const size_t part = text.find("] "); text.starts_with('[') && part != std::string::npos) {
    text.erase(0, part + 2);
  }
  const std::string prefix = file + ": ";
  if (text.starts_with(prefix)) text.erase(0, prefix.size());
  return text;
}

class FfmpegSound : public SoundSource {
 public:
  FfmpegSound(std::string name, ChildProcess ffmpeg, std::unique_ptr<Relay> relay, std::string file)
      : name_(std::move(name)), file_(std::move(file)), relay_(std::move(relay)), ffmpeg_(std::move(ffmpeg)) {
    const AtSignal at_signal = relay_ && relay_->ends_at_signal() ? AtSignal::kEnd : AtSignal::kThrow;
    auto output = std::make_unique<InputFile>(name_, ffmpeg_.TakeOutput(), at_signal);
    std::optional<WavForm> form;
    try {
      const auto take = [&](std::span<uint8_t> out) { return output->Read(out) == out.size(); };
      std::array<uint8_t, 4> tag;
      if (take(tag)) form = ReadWavHeader(name_, take);
    } catch (const FileError&) {
      // it gave up within the header, and says why
    }
    if (!form) {
      output.reset();
      ThrowUnread();
    }
    sound_ = OpenStream(std::move(output), *form);
    rate_ = sound_->rate();
    channels_ = sound_->channels();
  }

  size_t Read(std::span<double> interleaved) override {
    if (is_over_) return 0;
    size_t n = 0;
    try {
      n = sound_->Read(interleaved);
    } catch (const FileError&) {  // none at all
      ThrowUnread();
    }
    if (n > 0) return n;
    is_over_ = true;
    if (relay_ && relay_->ends_at_signal() && SignalNoted()) return 0;
    if (relay_) relay_->CheckEnd();
    ffmpeg_.Wait();
    damage_ = Words();
    if (damage_.empty() && ffmpeg_.failed()) damage_ = "ffmpeg failed";
    return 0;
  }

 private:
  std::string Words() const {
    const std::string words = FirstWords(ffmpeg_.Errors(), file_);
    return words.empty() ? "" : "ffmpeg: " + words;
  }

  [[noreturn]] void ThrowUnread() {
    CheckSignals();
    if (relay_) relay_->CheckEnd();
    ffmpeg_.Wait();
    const std::string words = Words();
    if (words.empty()) throw FileError(name_, "holds no samples", "record or copy it again");
    throw FileError(name_, "cannot be read as audio (" + words + ")",
                    relay_ ? "give the name of a file, or send WAV" : "convert it to WAV or FLAC");
  }

  std::string name_, file_;  // for messages, and as ffmpeg calls it
  std::unique_ptr<Relay> relay_;
  ChildProcess ffmpeg_;  // ends before the relay
  std::unique_ptr<SoundSource> sound_;
  bool is_over_ = false;
};

}  // namespace

std::unique_ptr<SoundSource> OpenByFfmpeg(const std::string& name, const std::string& unknown,
                                          std::unique_ptr<Relay> relay) {
  // No name is taken for an option or an address, and no list of files for leave to open those.
  const std::string file = relay ? "pipe:0" : "file:" + name;
  const std::vector<std::string> command = {
      "ffmpeg",    "-v",        "error", "-nostdin", "-protocol_whitelist",
      "file,pipe", "-i",        file,    "-map",     "0:a:0",
      "-c:a",      "pcm_f32le", "-f",    "wav",      "-"};
  std::optional<ChildProcess> ffmpeg = ChildProcess::Start(name, command, relay ? relay->fd() : -1);
  if (!ffmpeg) ThrowNoFfmpeg(name, unknown, relay != nullptr);
  return std::make_unique<FfmpegSound>(name, *std::move(ffmpeg), std::move(relay), file);
}

}  // namespace vask::command
