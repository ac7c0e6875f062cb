#include "sound/command_sound.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "files/child_process.h"
#include "files/input_file.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

class CommandSound : public SoundSource {
 public:
  CommandSound(const std::string& command, ChildProcess child, const ReadOptions& options)
      : child_(std::move(child)) {
    auto output = std::make_unique<InputFile>(command, child_.TakeOutput(), AtSignal::kThrow);
    try {
      sound_ = OpenPipe(std::move(output), options);
    } catch (const FileError&) {
      child_.Wait();  // its output is closed
      if (!child_.failed()) throw;
      throw FileError(command, Complaint(), "run it by hand");
    }
    rate_ = sound_->rate();
    channels_ = sound_->channels();
    form_ = sound_->form();
    frames_ = sound_->frames();
  }

  size_t Read(std::span<double> interleaved) override {
    const size_t frames = sound_->Read(interleaved);
    if (frames > 0) return frames;
    promised_ = sound_->promised();
    damage_ = sound_->damage();
    child_.Wait();
    if (damage_.empty() && child_.failed()) damage_ = Complaint();
    return 0;
  }

 private:
  std::string Complaint() const {
    std::string words = child_.Errors();
    words.resize(std::min(words.find('\n'), words.size()));
    return "the command failed" + (words.empty() ? "" : ": " + words);
  }

  ChildProcess child_;
  std::unique_ptr<SoundSource> sound_;  // is closed first, so that the program can end
};

}  // namespace

std::unique_ptr<SoundSource> OpenCommand(const std::string& command, const ReadOptions& options) {
  std::optional<ChildProcess> child = ChildProcess::Start(command, {"sh", "-c", command}, -1);
  if (!child) throw FileError(command, "there is no shell to run it", "install one as sh");
  return std::make_unique<CommandSound>(command, *std::move(child), options);
}

}  // namespace vask::command
