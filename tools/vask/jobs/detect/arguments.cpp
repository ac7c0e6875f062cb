// The arguments of `vask detect`, and whether they are compatible.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "files/file_list.h"
#include "files/folder.h"
#include "jobs/detect/detect.h"
#include "jobs/jobs.h"
#include "listing/forms.h"
#include "terminal/arguments.h"
#include "terminal/errors.h"
#include "terminal/terminal_line.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(Output: one line per utterance, in the order of the recordings, with tab-separated columns:
  FILE  NUMBER (from 1)  START  END  SPAN_START  SPAN_END  VOICED  ENDED
START and END are as detected, the span is what is written with -o, padding included; all are in seconds
from the start of the recording. VOICED is the share of frames that the learned detector takes for speech, or
the energy detector for voiced; ENDED is how it ended: silence (a pause), input-end, split or (energy)
long-noise, which is a long stretch without voice. A pause is the silence that ends an utterance. With
--verbose rejected segments are listed too, with - as NUMBER and the reason as ENDED: too-short,
too-little-voice or (energy) tones.
jsonl and csv also say how loud a segment is, how far above the noise and how much of it is clipped, and end
each recording with its length, form, utterances and a hash of the settings.
The formats of other programs show one interval per utterance: START to END, or with --pad-start, --pad-end
or a preset, that edge of the span; none begins before the previous one ends. man vask describes each.
rttm and kaldi call a recording NAME, with _ for white space; kaldi, sorted by bytes, is printed at the end.
With -o each utterance is also written to DIR/NAME-NUMBER.wav, where NAME is the file's name without its
extension, and a format that holds one recording to DIR/NAME.EXT. A file appears complete or not at all. If
several recordings have the same name, NAME is NAME_FOLDER, or ends in a hash of the path. A hidden file in
DIR records what was written and finished: a new run replaces what was written of the same recordings, and
other files only with --overwrite. One run at a time writes to DIR.
A span begins 0.1 s before START and ends 0.25 s after END; with --detector energy 0.35 s before and about a
second after, the pause. Options marked (energy) need that detector: it learns the noise of a recording
and judges levels and voicing. There an option overrides the profile, which overrides the preset; a file for
--profile holds lines such as "vad_threshold 7.5dB" or a JSON object.
With --channels each a channel is a recording of its own: NAME_chN in DIR, and a last column CHANNEL.
If FILE is -, each utterance is listed as soon as it ends; Ctrl-C ends the input.
Examples:
  vask detect meeting.wav | awk -F'\t' '{ spoken += $4 - $3 } END { print spoken, "s" }'
  vask detect -o utterances --flac --pad-start 0.1 --pad-end 0.2 monday.flac tuesday.flac
  vask detect --probability 0.5 --pause 1 -f jsonl street.wav | jq 'select(.number).start'
  vask detect --detector energy --preset robust --threshold 6.5dB street.wav
  find . -name '*.wav' -print0 | vask detect -0 --files-from - -o out --resume > list.txt
  arecord -f S16_LE -r 16000 | vask detect --meter -
  vask detect -f webvtt --max-segment 10 talk.mp3 > talk.vtt)";

void CheckTogether(const DetectArguments& arguments) {
  const std::vector<std::string>& inputs = arguments.inputs;
  if (inputs.empty() && arguments.files_from.empty()) throw UsageError("FILE is required");
  if (std::count(inputs.begin(), inputs.end(), "-") + (arguments.files_from == "-") > 1) {
    throw UsageError("standard input (-) can be read only once");
  }
  if (arguments.options.gain == "auto" && std::count(inputs.begin(), inputs.end(), "-") > 0) {
    throw UsageError(
        "--gain auto reads a recording twice, which standard input (-) cannot be: give a number of dB");
  }
  if (arguments.output == "-") {
    throw UsageError("--output is a folder for the utterances; the list goes to standard output without it");
  }
  const std::string ending = MakeListing(arguments.format)->EndingOfOne();
  if (!ending.empty() && inputs.size() > 1 && arguments.output.empty()) {
    throw UsageError("--format " + arguments.format +
                     " holds one recording: with -o DIR each FILE gets its "
                     "own DIR/NAME" +
                     ending);
  }
}

// Puts the recordings in a folder in its place. Returns whether all folders could be read.
bool EnterFolders(DetectArguments& arguments) {
  namespace fs = std::filesystem;
  bool all = true;
  std::vector<std::string> inputs;
  for (const std::string& input : arguments.inputs) {
    std::error_code error;
    if (!fs::is_directory(input, error)) {
      inputs.push_back(input);
      continue;
    }
    if (!arguments.output.empty() && fs::equivalent(input, arguments.output, error))
      throw UsageError(
          "--output is the folder that is read: choose another, since later runs would read the clips");
    try {
      for (std::string& file : RecordingsIn(input, {arguments.recursive, arguments.output}))
        inputs.push_back(std::move(file));
    } catch (const FileError& failure) {
      Note(failure.what());
      all = false;
    }
  }
  arguments.inputs = std::move(inputs);
  return all;
}

int32_t AudioOf(const std::string& name) {
  if (name == "raw") return VASK_STREAM_RAW;
  return name == "listening" ? VASK_STREAM_LISTENING : VASK_STREAM_CLEAN;
}

// Checks the arguments and lists the utterances of all inputs.
int Detect(DetectArguments arguments, int32_t device, int32_t os) {
  CheckTogether(arguments);
  if (!arguments.files_from.empty()) {
    const std::vector<std::string> more = ReadFileList(arguments.files_from, arguments.null);
    arguments.inputs.insert(arguments.inputs.end(), more.begin(), more.end());
    if (arguments.inputs.empty()) return EXIT_SUCCESS;
  }
  const bool entered_all = EnterFolders(arguments);
  if (arguments.inputs.empty()) return kExitFailed;
  CheckTogether(arguments);
  ListenSetup listen(arguments.options, device, os);
  if (arguments.audio == "listening" && !listen.is_learned()) {
    throw UsageError("--audio listening needs --detector learned");
  }
  if (!arguments.output.empty()) listen.setup.options.audio = AudioOf(arguments.audio);
  if (arguments.meter && !TerminalLine::Possible()) {
    std::fputs("vask: --meter: standard error is not a terminal: nothing is shown\n", stderr);
    arguments.meter = false;
  }
  const int status = DetectAll(arguments, listen);
  return entered_all ? status : kExitFailed;
}

}  // namespace

Job DetectJob(CLI::App& app, const EngineOptions& engine) {
  const auto arguments = std::make_shared<DetectArguments>();
  CLI::App* detect = app.add_subcommand("detect", "List the utterances in recordings");
  detect->footer(kFooter);
  detect->add_option("FILE", arguments->inputs, "Recordings or folders of them, - for standard input")
      ->type_name("");
  detect->add_flag("--recursive", arguments->recursive, "Also read the folders in a folder");
  detect
      ->add_option("--files-from", arguments->files_from,
                   "Also read the recordings named in this file, one per line")
      ->type_name("LIST");
  detect->add_flag("-0,--null", arguments->null, "Names in LIST end with a zero byte");
  detect->add_option("-f,--format", arguments->format, "Format of the list (text)")
      ->type_name("NAME")
      ->check(CLI::IsMember(FormNames()));
  detect->add_flag("--verbose", arguments->verbose, "Also list what was rejected, with the reason");
  CLI::Option* output = detect
                            ->add_option("-o,--output", arguments->output,
                                         "Write the utterances to this folder, created if missing")
                            ->type_name("DIR")
                            ->check(CheckNotEmpty);
  detect->add_flag("--flac", arguments->flac, "Write them as FLAC")->needs(output);
  detect
      ->add_option("--audio", arguments->audio,
                   "Audio to write: clean, with the noise reduced, listening, reduced for people, raw, or "
                   "original: at the "
                   "input's own rate (clean)")
      ->type_name("KIND")
      ->check(CLI::IsMember({"clean", "listening", "raw", "original"}));
  detect->add_flag("--resume", arguments->resume, "Skip what an earlier run into DIR finished")
      ->needs(output);
  detect
      ->add_flag("--overwrite", arguments->overwrite,
                 "Replace files in DIR that do not belong to these recordings")
      ->needs(output);
  detect->add_flag("--no-wait", arguments->no_wait, "Fail if another run is writing to DIR")->needs(output);
  detect->add_option("-j,--jobs", arguments->jobs, "Recordings to process at a time (one per core)")
      ->type_name("N")
      ->check(CLI::Range(1, 1024));
  detect->add_flag("--meter", arguments->meter, "Show level and state on the terminal");
  detect->add_flag("--summary", arguments->summary,
                   "Say at the end how much was read and found, and how fast");
  AddReadOptions(*detect, arguments->reading, "each (as a recording of its own), ");
  AddListenOptions(*detect, arguments->options);
  AddJoinOption(*detect, arguments->options);
  return {detect, [arguments, &engine] {
            CheckConfig(engine);
            return Detect(*arguments, engine.device, engine.os);
          }};
}

}  // namespace vask::command
