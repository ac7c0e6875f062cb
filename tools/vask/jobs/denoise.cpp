// `vask denoise`: a recording with its background noise reduced.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <vask/stream.hpp>

#include "files/inputs.h"
#include "jobs/jobs.h"
#include "sound/audio_reader.h"
#include "sound/wav_writer.h"
#include "terminal/arguments.h"
#include "terminal/errors.h"
#include "terminal/progress.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(OUT is as long as IN and aligned with it. It appears only once it is complete.
Examples:
  vask denoise street.wav -o clean.wav
  arecord -f S16_LE -r 16000 | vask denoise - -o clean.wav)";

// The output is as long as the input at 16 kHz and aligned with it.
void Denoise(const std::string& input, const std::string& output) {
  AudioReader reader(input);
  WavWriter writer(output);
  Progress progress(input, reader.ExpectedSamples());
  StreamOptions options;
  options.mode = VASK_STREAM_CONTINUOUS;
  Stream stream(options);
  if (!stream) throw std::bad_alloc();

  std::array<int16_t, 4096> block, room;
  const auto write = [&] {
    for (;;) {
      const std::span<const int16_t> samples = stream.Read(room);
      if (samples.empty()) return;
      writer.Write(samples);
    }
  };
  int64_t length = 0;
  for (size_t n = 0; (n = reader.ReadSome(block)) > 0;) {
    if (stream.Write(std::span(block).first(n)) != static_cast<int32_t>(n)) throw std::bad_alloc();
    length += static_cast<int64_t>(n);
    write();
    progress.Update(length);
  }
  if (stream.Flush() != 0) throw std::bad_alloc();
  write();
  if (writer.samples() != length) throw FatalError("the stream lost samples: report this as a bug");
  writer.Commit();
  reader.CheckWhole();
}

}  // namespace

Job DenoiseJob(CLI::App& app, const EngineOptions& engine) {
  struct Arguments {
    std::string input, output;
  };
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* denoise = app.add_subcommand("denoise", "Reduce the noise in a file");
  denoise->footer(kFooter);
  AddInput(*denoise, arguments->input);
  AddOutput(*denoise, arguments->output, "WAV file to write");
  return {denoise, [arguments, &engine] {
            Inputs({arguments->input, engine.ConfigFile()}).CheckIsNone(arguments->output);
            CheckConfig(engine);
            Denoise(arguments->input, arguments->output);
            return EXIT_SUCCESS;
          }};
}

}  // namespace vask::command
