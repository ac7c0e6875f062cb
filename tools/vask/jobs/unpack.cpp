// `vask unpack`: the sound of a stream of packets.
#include <vask/adpcm.h>
#include <vask/packets.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <vector>

#include "files/input_file.h"
#include "files/inputs.h"
#include "jobs/jobs.h"
#include "sound/sound_writer.h"
#include "terminal/arguments.h"
#include "terminal/errors.h"
#include "terminal/signals.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(For whom: whoever receives the front end's packet stream, or tests it.
OUT holds the samples of all utterances, one after another. If IN is damaged, OUT ends before the damage,
a message says at which byte that is, and the exit status is 1.
Example:
  vask unpack meeting.packets -o spoken.wav)";

// Reads packet after packet.
class Unpacker {
 public:
  explicit Unpacker(const std::string& input) : input_(input), file_(input) {}

  // The samples of the next packet; false at the end. Throws a FileError that says where the stream is
  // damaged.
  bool Next(std::vector<int16_t>& samples) {
    CheckSignals();
    uint8_t header[VASK_PACKET_HEADER];
    const size_t got = file_.Read(header);
    if (got == 0) {
      if (open_) ThrowAt("the stream is truncated: the last utterance has no packet E");
      return false;
    }
    char type = 0;
    const int32_t bytes = vask_read_packet_header(header, static_cast<int32_t>(got), &type);
    if (bytes == 0) ThrowAt(got < sizeof header ? "a packet is truncated" : "no packet begins here");
    codes_.resize(static_cast<size_t>(bytes));
    if (file_.Read(codes_) != codes_.size()) ThrowAt("a packet is truncated");
    if (!open_) state_ = {};
    open_ = type == 'D';
    samples.resize(2 * codes_.size());
    adpcm_decoder(codes_.data(), samples.data(), 2 * bytes, &state_);
    offset_ += VASK_PACKET_HEADER + bytes;
    return true;
  }

 private:
  [[noreturn]] void ThrowAt(const char* wrong) const {
    throw FileError(input_, "byte " + std::to_string(offset_) + ": " + wrong,
                    offset_ > 0 ? "what came before it is kept" : "it is not a file of vask packets");
  }

  std::string input_;
  InputFile file_;
  int64_t offset_ = 0;  // of the next packet
  bool open_ = false;   // in an utterance
  adpcm_state state_ = {};
  std::vector<uint8_t> codes_;
};

// Writes the samples of a stream with headers. A fault in the stream is a FileError that names the byte;
// `output` then holds the complete packets before it, if there are any.
void Unpack(const std::string& input, const std::string& output) {
  Unpacker unpacker(input);
  std::vector<int16_t> samples;
  std::optional<FileError> wrong;
  std::unique_ptr<SoundWriter> sound;
  try {
    while (unpacker.Next(samples)) {
      if (!sound) sound = MakeSoundWriter(output);
      sound->Write(samples);
    }
  } catch (const FileError& error) {
    wrong = error;
  }
  if (sound) sound->Commit();
  if (wrong) throw *wrong;
}

}  // namespace

Job UnpackJob(CLI::App& app) {
  struct Arguments {
    std::string input, output;
  };
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* unpack = app.add_subcommand("unpack", "Decode such packets to a sound file");
  unpack->footer(kFooter);
  AddInput(*unpack, arguments->input, "IN", "Packets with headers");
  AddOutput(*unpack, arguments->output,
            "File to write, of the kind that its name ends in, - for a WAV stream", SoundEndings());
  return {unpack, [arguments] {
            Inputs({arguments->input}).CheckIsNone(arguments->output);
            Unpack(arguments->input, arguments->output);
            return EXIT_SUCCESS;
          }};
}

}  // namespace vask::command
