// `vask denoise`: a recording with its background noise reduced, for people or for a recogniser.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <optional>
#include <vask/stream.hpp>
#include <vector>

#include "files/inputs.h"
#include "jobs/jobs.h"
#include "listen/channel_filter.h"
#include "listen/listen_options.h"
#include "sound/audio_reader.h"
#include "sound/channel_reader.h"
#include "sound/sound_writer.h"
#include "terminal/arguments.h"
#include "terminal/errors.h"
#include "terminal/progress.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(OUT is as long as IN and aligned with it, with its rate, channels and bits. The ending of its name says what
it is: .wav (also without an ending), .flac, .ogg, .opus, .mp3, .aiff, .au, .caf or .w64; Opus and MP3 get the next
higher of their own rates. Each channel is filtered by itself; what lies above 8 kHz follows the highest bands
below. With --for recognition OUT is 16 kHz mono of 16 bits, as a recogniser hears it. It appears only once it is
complete; - is standard output: a WAV stream.
Examples:
  vask denoise street.wav -o clean.wav
  vask denoise podcast.flac -o podcast-clean.flac --limit 12
  arecord -f S16_LE -r 16000 | vask denoise - -o clean.wav --for recognition)";

constexpr size_t kBlock = 4096;  // samples

struct DenoiseArguments {
  ListenOptions options;
  ReadOptions reading;
  std::string input, output, purpose = "listening";
  std::optional<double> limit, mix;  // dB, percent
};

// As long as the input at 16 kHz, and aligned with it.
void DenoiseForRecognition(const DenoiseArguments& arguments) {
  AudioReader reader({arguments.input, arguments.reading});
  const std::unique_ptr<SoundWriter> writer = MakeSoundWriter(arguments.output);
  Progress progress(arguments.input, reader.ExpectedSamples());
  StreamOptions options;
  options.mode = VASK_STREAM_CONTINUOUS;
  Stream stream(options);
  if (!stream) throw std::bad_alloc();

  std::array<int16_t, kBlock> block, room;
  int64_t length = 0, written = 0;
  const auto write = [&] {
    for (;;) {
      const std::span<const int16_t> samples = stream.Read(room);
      if (samples.empty()) return;
      writer->Write(samples);
      written += static_cast<int64_t>(samples.size());
    }
  };
  for (size_t n = 0; (n = reader.ReadSome(block)) > 0;) {
    if (stream.Write(std::span(block).first(n)) != static_cast<int32_t>(n)) throw std::bad_alloc();
    length += static_cast<int64_t>(n);
    write();
    progress.Update(length);
  }
  if (stream.Flush() != 0) throw std::bad_alloc();
  write();
  if (written != length) throw FatalError("the stream lost samples: report this as a bug");
  writer->Commit();
  reader.Conclude();
}

// What all channels have ready, to the writer.
void Write(std::vector<ChannelFilter>& channels, SoundWriter& writer) {
  size_t count = channels[0].ready().size();
  for (const ChannelFilter& channel : channels) count = std::min(count, channel.ready().size());
  std::vector<double> interleaved(count * channels.size());
  for (size_t c = 0; c < channels.size(); ++c) {
    for (size_t i = 0; i < count; ++i) interleaved[i * channels.size() + c] = channels[c].ready()[i];
    channels[c].Drop(count);
  }
  writer.Write(interleaved);
}

void DenoiseForListening(const DenoiseArguments& arguments, const vask_stream_setup& setup) {
  ChannelReader reader({arguments.input, arguments.reading, arguments.reading.Channel(kAllChannels)});
  const std::unique_ptr<SoundWriter> writer =
      MakeSoundWriter(arguments.output, {reader.rate(), reader.channels(), reader.form()});
  Progress progress(arguments.input, reader.expected());
  const auto count = static_cast<size_t>(reader.channels());
  std::vector<ChannelFilter> channels;
  channels.reserve(count);
  for (size_t c = 0; c < count; ++c) channels.emplace_back(reader.name(), reader.rate(), setup);

  std::vector<double> interleaved(kBlock * count), channel;
  size_t frames = 0;
  do {
    frames = reader.Read(interleaved);
    channel.resize(frames);
    for (size_t c = 0; c < count; ++c) {
      for (size_t i = 0; i < frames; ++i) channel[i] = interleaved[i * count + c];
      channels[c].Take(channel);
    }
    Write(channels, *writer);
    progress.Update(reader.frames_read());
  } while (frames > 0);
  writer->Commit();
  reader.Conclude();
}

vask_stream_setup SetupOf(const DenoiseArguments& arguments, const ListenSetup& listen) {
  vask_stream_setup setup = listen.setup;
  setup.options.mode = VASK_STREAM_CONTINUOUS;
  setup.options.audio = VASK_STREAM_LISTENING;
  if (arguments.limit) setup.listening_floor_db = static_cast<float>(-*arguments.limit);
  if (arguments.mix) setup.listening_mix = static_cast<float>(*arguments.mix / 100);
  return setup;
}

void Denoise(const DenoiseArguments& arguments) {
  if (arguments.purpose == "listening") {
    const ListenSetup listen(arguments.options, kUsualDevice, kUsualOs);
    return DenoiseForListening(arguments, SetupOf(arguments, listen));
  }
  if (arguments.reading.channels == "each") {
    throw UsageError("--channels each is for listening, not --for recognition");
  }
  if (arguments.limit || arguments.mix || !arguments.options.model.empty()) {
    throw UsageError("--limit, --mix and --model are for listening, not --for recognition");
  }
  DenoiseForRecognition(arguments);
}

}  // namespace

Job DenoiseJob(CLI::App& app, const EngineOptions& engine) {
  const auto arguments = std::make_shared<DenoiseArguments>();
  CLI::App* denoise = app.add_subcommand("denoise", "Reduce the noise in a file");
  denoise->footer(kFooter);
  AddInput(*denoise, arguments->input);
  AddOutput(*denoise, arguments->output,
            "File to write, of the kind that its name ends in, - for a WAV stream", SoundEndings());
  denoise
      ->add_option("--for", arguments->purpose, "listening, or recognition: as the engine does (listening)")
      ->type_name("PURPOSE")
      ->check(CLI::IsMember({"listening", "recognition"}));
  denoise->add_option("--limit", arguments->limit, "Cut no part of the sound by more than this, 0 to 60 (18)")
      ->type_name("DB")
      ->check(CLI::Range(0.0, 60.0));
  denoise->add_option("--mix", arguments->mix, "Share of the filtered sound in the output, 0 to 100 (100)")
      ->type_name("PERCENT")
      ->check(CLI::Range(0.0, 100.0));
  AddReadOptions(*denoise, arguments->reading, "each (by itself, as --for listening does), ");
  AddModelOption(*denoise, arguments->options);
  return {denoise, [arguments, &engine] {
            Inputs inputs({arguments->input, engine.ConfigFile()});
            for (const std::string& file : FilesOf(arguments->options)) inputs.Add(file);
            inputs.CheckIsNone(arguments->output);
            CheckConfig(engine);
            Denoise(*arguments);
            return EXIT_SUCCESS;
          }};
}

}  // namespace vask::command
