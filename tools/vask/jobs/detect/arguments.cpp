// The arguments of `vask detect`, and whether they go together.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

#include "files/file_list.h"
#include "jobs/detect/detect.h"
#include "listing/listing.h"
#include "terminal/errors.h"
#include "terminal/help.h"
#include "terminal/terminal_line.h"

namespace vask::command {
namespace {

void CheckTogether(const DetectArguments& arguments) {
  const std::vector<std::string>& inputs = arguments.inputs;
  if (inputs.empty() && arguments.files_from.empty()) throw UsageError("FILE is required");
  if (std::count(inputs.begin(), inputs.end(), "-") + (arguments.files_from == "-") > 1) {
    throw UsageError("standard input (-) can be read once only");
  }
  const std::string ending = MakeListing(arguments.format)->EndingOfOne();
  if (!ending.empty() && inputs.size() > 1 && arguments.output.empty()) {
    throw UsageError("--format " + arguments.format +
                     " holds one recording: with -o DIR each FILE gets its "
                     "own DIR/NAME" +
                     ending);
  }
}

}  // namespace

CLI::App* AddDetect(CLI::App& app, DetectArguments& arguments) {
  CLI::App* detect = app.add_subcommand("detect", "List the utterances in recordings");
  detect->footer(kDetectFooter);
  detect->add_option("FILE", arguments.inputs, "Recordings, - for standard input")->type_name("");
  detect->add_option("--files-from", arguments.files_from, "And those that this file names, one a line")
      ->type_name("LIST");
  detect->add_flag("-0,--null", arguments.null, "The names in LIST end with zero bytes");
  detect->add_option("-f,--format", arguments.format, "Form of the list (text)")
      ->type_name("NAME")
      ->check(CLI::IsMember(ListingNames()));
  detect->add_flag("--verbose", arguments.verbose, "List what was rejected too, with the reason");
  CLI::Option* output = detect
                            ->add_option("-o,--output", arguments.output,
                                         "Write the utterances to this folder, made if missing")
                            ->type_name("DIR")
                            ->check([](const std::string& name) {
                              return std::string(name.empty() ? "the name is empty" : "");
                            });
  detect->add_flag("--flac", arguments.flac, "Write them as FLAC")->needs(output);
  detect->add_option("--audio", arguments.audio, "clean, without the noise, or raw (clean)")
      ->type_name("KIND")
      ->check(CLI::IsMember({"clean", "raw"}));
  detect->add_flag("--resume", arguments.resume, "Skip what an earlier run into DIR has finished")
      ->needs(output);
  detect->add_option("-j,--jobs", arguments.jobs, "Recordings at a time (one a core)")
      ->type_name("N")
      ->check(CLI::Range(1, 1024));
  detect->add_flag("--meter", arguments.meter, "Show level and state on the terminal");
  AddDetectOptions(*detect, arguments.options);
  return detect;
}

int Detect(DetectArguments arguments, int32_t device, int32_t os) {
  CheckTogether(arguments);
  if (!arguments.files_from.empty()) {
    const std::vector<std::string> more = ReadFileList(arguments.files_from, arguments.null);
    arguments.inputs.insert(arguments.inputs.end(), more.begin(), more.end());
    if (arguments.inputs.empty()) return EXIT_SUCCESS;
    CheckTogether(arguments);
  }
  vask_stream_options options = StreamOptionsOf(arguments.options, device, os);
  if (!arguments.output.empty()) {
    options.audio = arguments.audio == "raw" ? VASK_STREAM_RAW : VASK_STREAM_CLEAN;
  }
  if (arguments.meter && !TerminalLine::Possible()) {
    std::fputs("vask: --meter: standard error is no terminal: nothing is shown\n", stderr);
    arguments.meter = false;
  }
  return DetectAll(arguments, options);
}

}  // namespace vask::command
