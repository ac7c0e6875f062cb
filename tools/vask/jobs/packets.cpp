// `vask packets`: the utterances in a file as IMA ADPCM packets.
#include <vask/adpcm.h>
#include <vask/packets.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <new>
#include <vask/stream.hpp>
#include <vector>

#include "files/inputs.h"
#include "files/output_file.h"
#include "jobs/jobs.h"
#include "listen/listen_options.h"
#include "listen/segments.h"
#include "sound/audio_reader.h"
#include "terminal/arguments.h"
#include "terminal/progress.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(OUT holds the utterances one after another, each a separate stream: packets "D", the last one "E", with an
8-character header before N bytes of IMA ADPCM. It appears only once it is complete.
Example:
  vask packets meeting.wav -o meeting.packets)";

struct Arguments {
  ListenOptions options;
  std::string input, output;
  int32_t bytes = 160;  // of codes per packet: 20 ms
  bool bare = false;    // no headers: all utterances in one stream of codes
};

// Packs each utterance as it arrives. Its packets are held until it ends, since it may be rejected, and its
// last samples until more follow, since the last packet is of another type.
class Packer : public SegmentSink {
 public:
  Packer(const Arguments& arguments, Progress& progress)
      : arguments_(arguments),
        packet_samples_(2 * static_cast<size_t>(arguments.bytes)),
        file_(arguments.output),
        progress_(progress) {}

  void Started() override {
    before_ = state_;
    if (!arguments_.bare) state_ = {};
  }
  void Audio(std::span<const int16_t> samples) override {
    samples_.insert(samples_.end(), samples.begin(), samples.end());
    size_t packed = 0;
    for (; samples_.size() - packed > packet_samples_; packed += packet_samples_) AddPacket('D', packed);
    samples_.erase(samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(packed));
  }
  void Ended(const vask_stream_event&) override {
    samples_.resize(packet_samples_);  // the rest is silence
    AddPacket('E', 0);
    file_.Append(packets_);
    Clear();
  }
  void Rejected(const vask_stream_event&) override {
    state_ = before_;
    Clear();
  }
  void Heard(int64_t samples) override { progress_.Update(samples); }

  void Commit() { file_.Commit(); }

 private:
  void AddPacket(char type, size_t first) {
    if (!arguments_.bare) {
      packets_.resize(packets_.size() + VASK_PACKET_HEADER);
      vask_write_packet_header(type, arguments_.bytes,
                               packets_.data() + packets_.size() - VASK_PACKET_HEADER);
    }
    const auto bytes = static_cast<size_t>(arguments_.bytes);
    packets_.resize(packets_.size() + bytes);
    adpcm_coder(samples_.data() + first, packets_.data() + packets_.size() - bytes, 2 * arguments_.bytes,
                &state_);
  }

  void Clear() {
    samples_.clear();
    packets_.clear();
  }

  const Arguments& arguments_;
  size_t packet_samples_;
  OutputFile file_;
  Progress& progress_;
  adpcm_state state_ = {}, before_ = {};
  std::vector<int16_t> samples_;  // not packed yet
  std::vector<uint8_t> packets_;  // of this utterance
};

void Pack(const vask_stream_setup& setup, const Arguments& arguments) {
  AudioReader reader(arguments.input);
  Progress progress(arguments.input, reader.ExpectedSamples());
  Packer packer(arguments, progress);
  Stream stream(setup);
  if (!stream) throw std::bad_alloc();
  FindSegments(reader, stream, packer);
  packer.Commit();
  reader.CheckWhole();
}

}  // namespace

Job PacketsJob(CLI::App& app, const EngineOptions& engine) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* packets = app.add_subcommand("packets", "Write the utterances in a file as ADPCM packets");
  packets->footer(kFooter);
  AddInput(*packets, arguments->input);
  AddOutput(*packets, arguments->output, "File to write");
  packets->add_option("--size", arguments->bytes, "Bytes per packet without the header (160: 20 ms)")
      ->type_name("N")
      ->check(CLI::Range(1, VASK_LARGEST_PACKET));
  AddDetectorOptions(*packets, arguments->options);
  packets->add_flag("--bare", arguments->bare, "No headers: all utterances in one stream of codes");
  return {packets, [arguments, &engine] {
            Inputs inputs({arguments->input, engine.ConfigFile()});
            for (const std::string& file : FilesOf(arguments->options)) inputs.Add(file);
            inputs.CheckIsNone(arguments->output);
            CheckConfig(engine);
            Listening listening(arguments->options, engine.device, engine.os);
            listening.setup.options.audio = VASK_STREAM_CLEAN;
            Pack(listening.setup, *arguments);
            return EXIT_SUCCESS;
          }};
}

}  // namespace vask::command
