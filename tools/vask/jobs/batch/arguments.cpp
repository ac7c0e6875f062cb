// What the command line of `vask batch` says.
#include <CLI/CLI.hpp>
#include <charconv>
#include <memory>
#include <string>

#include "files/inputs.h"
#include "files/words.h"
#include "jobs/batch/batch.h"
#include "jobs/batch/record_forms.h"
#include "jobs/jobs.h"
#include "terminal/arguments.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(MANIFEST has a recording or a part of one in each line, - (the default) is standard input, read as it arrives:
  jsonl     {"id": "a1", "path": "a.flac", "offset": 2.5, "duration": 10, "channel": 1}, all but path left out
            at will; lines of NeMo (audio_filepath) and Lhotse (recordings, and with --recordings supervisions)
  csv       a header with path and any of id, offset, duration, channel
  scp       Kaldi's wav.scp; segments with --recordings wav.scp
  paths     a path a line
The kind is told by the first line and the name, .gz is unpacked. Each line gets one record, in the same order: a JSON
object with id, path, offset, duration, rate, channels, channel, segments, rejected, utterances, speech, given (what
else the line had), version and settings; one that failed has error and kind, one of manifest, refused, missing,
unreadable, audio, command, span, incomplete, duplicate. Times are seconds in the recording.
With -o FILE the records are in FILE.part until all are there; a run that was ended, by whatever, is gone on with by
--resume, and makes the same bytes.
Exit status: 0 success, 1 the run failed, 2 usage error, 3 some inputs failed, 130 ended by Ctrl-C.
Examples:
  find corpus -name '*.flac' | vask batch > records.jsonl
  vask batch corpus.jsonl -o records.jsonl --resume
  vask batch corpus.jsonl.gz --shard 3/100 -o records-3.jsonl --clips clips --shard-size 1000
  vask batch segments --recordings wav.scp --root /corpus --max-failures 1% -o records.jsonl
  vask batch --records records.jsonl -f rttm > found.rttm)";

// I/N.
std::string CheckShard(const std::string& text, ManifestOptions& manifest) {
  const size_t slash = text.find('/');
  const auto number = [&](size_t at, size_t end, uint32_t& value) {
    const auto [last, error] = std::from_chars(text.data() + at, text.data() + end, value);
    return error == std::errc() && last == text.data() + end;
  };
  const bool is_shard = slash != std::string::npos && number(0, slash, manifest.shard) &&
                        number(slash + 1, text.size(), manifest.shards) && manifest.shard < manifest.shards;
  return is_shard ? "" : text + " is not I/N with I from 0 to N - 1";
}

// N or P%.
std::string CheckFailureLimit(const std::string& text, FailureLimit& limit) {
  const bool is_percent = text.ends_with('%');
  const std::optional<double> number = Number(text.substr(0, text.size() - (is_percent ? 1 : 0)));
  if (!number || *number < 0 || *number > (is_percent ? 100 : 1e15)) return text + " is not N or P%";
  if (is_percent) {
    limit.percent = *number;
  } else {
    limit.count = static_cast<int64_t>(*number);
  }
  return "";
}

void CheckTogether(const BatchArguments& arguments, const ListenSetup& listen) {
  const bool to_file = arguments.output != "-";
  if (arguments.resume && !to_file) throw UsageError("--resume needs -o FILE");
  if (arguments.resume && arguments.form != "jsonl") {
    throw UsageError("--resume goes on with records: write them, and then --records FILE --format " +
                     arguments.form);
  }
  if (!arguments.clips.folder.empty() && (arguments.options.join || listen.joining.any())) {
    throw UsageError("--clips has what the detector delivers: not with --join or longer padding");
  }
  if (arguments.audio == "listening" && !listen.is_learned())
    throw UsageError("--audio listening needs --detector learned");
}

int Batch(BatchArguments& arguments, const EngineOptions& engine) {
  Inputs inputs({arguments.manifest.path, arguments.manifest.recordings, arguments.records});
  for (const std::string& file : FilesOf(arguments.options)) inputs.Add(file);
  if (arguments.output != "-") inputs.CheckIsNone(arguments.output);
  if (!arguments.records.empty()) {
    WriteInForm(arguments);
    return EXIT_SUCCESS;
  }
  ListenSetup listen(arguments.options, engine.device, engine.os);
  CheckTogether(arguments, listen);
  if (!arguments.clips.folder.empty()) {
    listen.setup.options.audio = arguments.audio == "raw"         ? VASK_STREAM_RAW
                                 : arguments.audio == "listening" ? VASK_STREAM_LISTENING
                                                                  : VASK_STREAM_CLEAN;
  }
  return RunBatch(arguments, listen);
}

void AddManifestOptions(CLI::App& batch, BatchArguments& arguments) {
  ManifestOptions& manifest = arguments.manifest;
  CLI::Option* path =
      batch.add_option("MANIFEST", manifest.path, "What to listen to, - for standard input")->type_name("");
  batch.add_option("--manifest", manifest.form, "Its kind (auto)")
      ->type_name("KIND")
      ->check(CLI::IsMember(ManifestForms()));
  batch
      .add_option("--recordings", manifest.recordings,
                  "Where the recordings of segments and supervisions are")
      ->type_name("FILE");
  batch.add_option("--root", manifest.root, "Read only files in this folder; names are relative to it")
      ->type_name("DIR")
      ->check(CLI::ExistingDirectory.description(""));
  batch.add_flag("--allow-commands", manifest.allow_commands, "Run the commands in the manifest, with sh");
  batch
      .add_option_function<std::string>(
          "--shard", [](const std::string&) {}, "Only lines whose ids have the hash I of N, I from 0")
      ->type_name("I/N")
      ->check([&manifest](const std::string& text) { return CheckShard(text, manifest); });
  batch
      .add_option("--records", arguments.records,
                  "Write the records of this file in another form, and do no more")
      ->type_name("FILE")
      ->excludes(path);
}

void AddOutputOptions(CLI::App& batch, BatchArguments& arguments) {
  CLI::Option* output = batch.add_option("-o,--output", arguments.output, "Write the records to FILE")
                            ->type_name("FILE")
                            ->check(CheckNotEmpty);
  batch.add_flag("--resume", arguments.resume, "Go on with what an earlier run has written")->needs(output);
  batch.add_option("-f,--format", arguments.form, "Form of the records (jsonl)")
      ->type_name("NAME")
      ->check(CLI::IsMember(RecordForms()));
  batch.add_flag("--delivered", arguments.delivered, "In the other forms, the spans with their padding");
  batch.add_flag("--unordered", arguments.unordered, "Write records as they are ready");
  batch.add_flag("--time", arguments.time, "Also tell the seconds that each took");
  batch
      .add_option_function<std::string>(
          "--max-failures", [](const std::string&) {},
          "The run fails if more inputs do: a number, or percent at its end")
      ->type_name("N|P%")
      ->check(
          [&arguments](const std::string& text) { return CheckFailureLimit(text, arguments.most_failures); });
  CLI::Option* clips =
      batch.add_option("--clips", arguments.clips.folder, "Write the utterances to this folder, as FLAC")
          ->type_name("DIR")
          ->check(CheckNotEmpty);
  batch
      .add_option("--shard-size", arguments.clips.shard_size,
                  "Write them to tar files of so many (WebDataset)")
      ->type_name("CLIPS")
      ->check(CLI::Range(1, 1'000'000))
      ->needs(clips);
  batch.add_option("--audio", arguments.audio, "Their audio: clean, listening or raw (clean)")
      ->type_name("KIND")
      ->check(CLI::IsMember({"clean", "listening", "raw"}))
      ->needs(clips);
  batch.add_option("-j,--jobs", arguments.jobs, "Recordings to process at a time (one per core)")
      ->type_name("N")
      ->check(CLI::Range(1, 1024));
}

}  // namespace

Job BatchJob(CLI::App& app, const EngineOptions& engine) {
  const auto arguments = std::make_shared<BatchArguments>();
  CLI::App* batch = app.add_subcommand("batch", "Listen to what a manifest lists, a record for each line");
  batch->footer(kFooter);
  AddManifestOptions(*batch, *arguments);
  AddOutputOptions(*batch, *arguments);
  AddReadOptions(*batch, arguments->reading);
  AddListenOptions(*batch, arguments->options);
  AddJoinOption(*batch, arguments->options);
  return {batch, [arguments, &engine] {
            CheckConfig(engine);
            return Batch(*arguments, engine);
          }};
}

}  // namespace vask::command
