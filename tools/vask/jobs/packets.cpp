// `vask packets`: the utterances in a file as IMA ADPCM packets.
#include <vask/adpcm.h>
#include <vask/packets.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <vask/stream.hpp>
#include <vector>

#include "files/inputs.h"
#include "files/output_file.h"
#include "jobs/jobs.h"
#include "listen/input_gain.h"
#include "listen/listen_options.h"
#include "listen/segments.h"
#include "sound/audio_reader.h"
#include "sound/sound_kind.h"
#include "terminal/arguments.h"
#include "terminal/printable.h"
#include "terminal/progress.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(For whom: senders and testers of the front end's packet stream; to keep speech for listening, use detect -o.
OUT holds the utterances one after another, each a separate stream: packets "D", the last one "E", with an
8-character header before N bytes of IMA ADPCM. It appears only once it is complete.
Example:
  vask packets meeting.wav -o meeting.packets)";

struct Arguments {
  ListenOptions options;
  ReadOptions reading;
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

  void Arrived(std::span<int16_t> samples) override { level_.Apply(samples); }
  void Started(const vask_stream_event&) override {
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
    is_empty_ = false;
    Clear();
  }
  void Rejected(const vask_stream_event&) override {
    state_ = before_;
    Clear();
  }
  void Heard(int64_t samples) override { progress_.Update(samples); }

  void Commit() { file_.Commit(); }
  // What is to be said of an empty file; "" of any other.
  std::string Note() const {
    return is_empty_ ? Printable(arguments_.input) + ": " + NothingFound(level_, false) : "";
  }

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
  InputGain level_{"", SoundInput(arguments_.input)};  // only measures
  bool is_empty_ = true;
  adpcm_state state_ = {}, before_ = {};
  std::vector<int16_t> samples_;  // not packed yet
  std::vector<uint8_t> packets_;  // of this utterance
};

// Returns what is to be said of it.
std::string Pack(const vask_stream_setup& setup, const Arguments& arguments) {
  AudioReader reader({arguments.input, arguments.reading});
  Progress progress(arguments.input, reader.ExpectedSamples());
  Packer packer(arguments, progress);
  Stream stream(setup);
  if (!stream) throw std::bad_alloc();
  FindSegments(reader, stream, packer);
  packer.Commit();
  reader.Conclude();
  return packer.Note();
}

}  // namespace

Job PacketsJob(CLI::App& app, const EngineOptions& engine) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* packets = app.add_subcommand("packets", "Write the utterances in a file as ADPCM packets");
  packets->footer(kFooter);
  AddInput(*packets, arguments->input);
  AddOutput(*packets, arguments->output, "File to write, - for standard output");
  packets->get_option("--output")->check([](const std::string& name) {
    const std::vector<std::string> sounds = SoundEndings();
    const bool is_sound = std::any_of(sounds.begin(), sounds.end(),
                                      [&](const std::string& ending) { return HasEnding(name, ending); });
    return is_sound ? name + ": packets are not a sound file: call it .packets" : std::string();
  });
  packets->add_option("--size", arguments->bytes, "Bytes per packet without the header (160: 20 ms)")
      ->type_name("N")
      ->check(CLI::Range(1, VASK_LARGEST_PACKET));
  AddDetectorOptions(*packets, arguments->options);
  AddReadOptions(*packets, arguments->reading);
  packets->add_flag("--bare", arguments->bare, "No headers: all utterances in one stream of codes");
  return {packets, [arguments, &engine] {
            Inputs inputs({arguments->input, engine.ConfigFile()});
            for (const std::string& file : FilesOf(arguments->options)) inputs.Add(file);
            inputs.CheckIsNone(arguments->output);
            CheckConfig(engine);
            ListenSetup listen(arguments->options, engine.device, engine.os);
            listen.setup.options.audio = VASK_STREAM_CLEAN;
            const std::string note = Pack(listen.setup, *arguments);
            if (!note.empty()) std::fprintf(stderr, "vask: %s\n", note.c_str());
            return EXIT_SUCCESS;
          }};
}

}  // namespace vask::command
