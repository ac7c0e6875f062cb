// The arguments of `vask report`.
#include <CLI/CLI.hpp>
#include <memory>

#include "files/inputs.h"
#include "jobs/jobs.h"
#include "jobs/report/report.h"
#include "terminal/arguments.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(OUT is a single page that needs no network: waveform and spectrogram before and after the noise reduction
(the one for listening; with --detector energy the one for recognition), the utterances and what was rejected,
how probable speech and music were (or energy and noise floor), and the sound before and after, as WAV up to
30 s and as Ogg Opus beyond (an hour takes less than 30 MB). Labels, a table and each utterance can be saved
from it, and it prints well. It appears only once it is complete.
Example:
  vask report meeting.wav -o meeting.html && xdg-open meeting.html)";

}  // namespace

Job ReportJob(CLI::App& app, const EngineOptions& engine) {
  const auto arguments = std::make_shared<ReportArguments>();
  CLI::App* report = app.add_subcommand("report", "Show what was found in a file as a page for a browser");
  report->footer(kFooter);
  AddInput(*report, arguments->input, "FILE", "Recording, - for standard input");
  AddOutput(*report, arguments->output, "Page to write (HTML), - for standard output", {".html", ".htm"});
  report->add_option("--title", arguments->title, "Heading of the page instead of the file's name")
      ->type_name("TEXT");
  report->add_flag("--no-audio", arguments->no_audio, "Leave out the sound: a smaller page, made faster");
  AddReadOptions(*report, arguments->reading, "each (all in one page), ");
  AddListenOptions(*report, arguments->options);
  return {report, [arguments, &engine] {
            Inputs inputs({arguments->input, engine.ConfigFile()});
            for (const std::string& file : FilesOf(arguments->options)) inputs.Add(file);
            inputs.CheckIsNone(arguments->output);
            CheckConfig(engine);
            Report(*arguments, engine.device, engine.os);
            return EXIT_SUCCESS;
          }};
}

}  // namespace vask::command
