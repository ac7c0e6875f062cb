// The vask command: its general options, and the choice of the job.

#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <iterator>
#include <map>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "dsp/level.h"
#include "files/output_file.h"
#include "jobs/jobs.h"
#include "library/engine_session.h"
#include "library/messages.h"
#include "terminal/errors.h"
#include "terminal/nearest.h"
#include "terminal/signals.h"
#include "terminal/version.h"

namespace vask::command {
namespace {

constexpr const char* kDescription =
    R"(Finds the spoken utterances in recordings and reduces their background noise.
Reads what libsndfile reads (WAV, FLAC, Ogg, MP3 and more), and the rest through ffmpeg where it is installed,
at any rate, with any number of channels; the name - is standard input, processed as it arrives: a stream of
these kinds, or samples without a header (16 kHz mono of 16 bits, see --rate). Works at 16 kHz mono 16-bit, and
writes that.)";

constexpr const char* kFooter =
    R"(Examples:
  vask detect meeting.wav                      list the utterances
  vask detect -o utterances morning/*.flac     and write each to its own file
  vask trim lecture.wav -o short.wav           leave out what is not speech
  arecord -f S16_LE -r 16000 | vask detect -   listen live
  vask denoise street.wav -o clean.wav         reduce the noise
  vask env call.wav                            tell whether it is a good recording
  vask mfcc call.wav -o call.npy               compute its cepstra
  vask packets call.wav -o call.packets        pack its utterances as ADPCM
  vask report call.wav -o call.html            show the results as a page
  vask batch corpus.jsonl -o records.jsonl       listen to a corpus, a record for each line
  vask score truth.rttm found.rttm             tell how good a list is
  vask tune calls -o calls.profile             fit the options to labelled recordings
  vask selftest                                check that this machine computes the same as others
  vask detect --detector energy meeting.wav    with the front end's own detector
Exit status: 0 success, 1 a file failed (the others were processed), 2 usage error, 3 some inputs of vask
batch failed, 130 ended by Ctrl-C.)";

// Freeing a JSON value allocates memory, in a destructor, which must not throw, and so does going through a
// folder. Where gcc ends the process before anything has caught the exception, its type is not known.
[[noreturn]] void EndWhereNothingCatches() {
  bool is_out_of_memory = std::current_exception() == nullptr && std::uncaught_exceptions() > 0;
  try {
    if (std::current_exception()) throw;
  } catch (const std::bad_alloc&) {
    is_out_of_memory = true;
  } catch (...) {
  }
  if (!is_out_of_memory) std::abort();
  std::fputs(kOutOfMemory, stderr);
  RemoveUnfinished();
  std::_Exit(EXIT_FAILURE);
}

// An empty string means "valid", as CLI11 expects.
std::string CheckConfigDir(const std::string& dir) {
  if (const std::string complaint = LengthComplaint(dir); !complaint.empty()) return complaint;
  const bool readable = access((dir + "/config.Vask").c_str(), R_OK) == 0;
  return readable ? "" : Printable(dir) + " contains no readable config.Vask";
}

// Also forces the level, so that --version reports it.
std::string CheckLevel(const std::string& name) {
  return ForceLevel(name) ? "" : "no level " + Printable(name) + " on this machine, only " + LevelNames();
}

using AddJob = Job (*)(CLI::App& app, const EngineOptions& engine);

// In the order of --help.
constexpr std::pair<std::string_view, AddJob> kJobs[] = {
    {"detect", DetectJob},
    {"trim", TrimJob},
    {"denoise", DenoiseJob},
    {"packets", PacketsJob},
    {"unpack", [](CLI::App& app, const EngineOptions&) { return UnpackJob(app); }},
    {"env", EnvJob},
    {"mfcc", [](CLI::App& app, const EngineOptions&) { return MfccJob(app); }},
    {"report", ReportJob},
    {"batch", BatchJob},
    {"score", [](CLI::App& app, const EngineOptions&) { return ScoreJob(app); }},
    {"tune", [](CLI::App& app, const EngineOptions&) { return TuneJob(app); }},
    {"tables", [](CLI::App& app, const EngineOptions&) { return TablesJob(app); }},
    {"selftest", [](CLI::App& app, const EngineOptions&) { return SelftestJob(app); }}};

// All of them; but if the first argument names one, that one alone: declaring the options of all takes a good
// part of the start.
std::vector<Job> AddJobs(CLI::App& app, const EngineOptions& engine, std::string_view first_argument) {
  const auto named = std::find_if(std::begin(kJobs), std::end(kJobs),
                                  [&](auto& job) { return job.first == first_argument; });
  if (named != std::end(kJobs)) return {named->second(app, engine)};
  std::vector<Job> jobs;
  for (const auto& [name, add] : kJobs) jobs.push_back(add(app, engine));
  return jobs;
}

// Throws UsageError if the first word is no subcommand, which CLI11 would call an unexpected argument.
void CheckSubcommand(const CLI::App& app) {
  if (!app.get_subcommands().empty()) return;
  const std::vector<std::string> words = app.remaining();
  const auto word = std::find_if(words.begin(), words.end(), [](auto& text) { return text[0] != '-'; });
  if (word == words.end()) return;
  std::vector<std::string> names;
  for (const CLI::App* job : app.get_subcommands([](const CLI::App*) { return true; }))
    names.push_back(job->get_name());
  const std::string nearest = Nearest(*word, names);
  if (!nearest.empty()) throw UsageError("no subcommand " + *word + ": did you mean " + nearest + "?");
  if (access(word->c_str(), F_OK) == 0)
    throw UsageError("no subcommand before " + *word + ": vask detect finds its utterances");
  throw UsageError("no subcommand " + *word + ", only " + CLI::detail::join(names, ", "));
}

int Run(int argc, char** argv) {
  EngineOptions engine;
  std::string level;
  CLI::App app(kDescription, "vask");
  app.set_version_flag("--version", Version, "Print the version and the features, then exit");
  app.set_help_flag("-h,--help", "Print this help, then exit");
  app.footer(kFooter);
  app.allow_windows_style_options(false);  // a name may begin with a slash
  app.require_subcommand(1);
  app.fallthrough();  // general options may follow the subcommand too
  app.failure_message([](const CLI::App*, const CLI::Error& error) {
    return std::string("vask: ") + Printable(error.what()) + ": see vask --help\n";
  });
  app.add_option("--device", engine.device, "Use the settings of this device: a number, or general (2)")
      ->type_name("N")
      ->transform(CLI::Transformer(std::map<std::string, std::string>{{"general", "2"}}).description(""));
  app.add_option("--os", engine.os, "Number of that device's operating system (2); 1 changes some settings")
      ->type_name("N");
  app.add_option("--config", engine.config_dir, "Folder with the settings file config.Vask")
      ->type_name("DIR")
      ->check(CheckConfigDir);
  app.add_option("--cpu", level, "Arithmetic level, one of those in --version; affects speed only")
      ->type_name("LEVEL")
      ->check(CheckLevel)
      ->trigger_on_parse();

  const std::vector<Job> jobs = AddJobs(app, engine, argc > 1 ? argv[1] : "");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    CheckSubcommand(app);
    const bool asked_for = app.exit(error) == 0;
    if (!std::cout.flush()) ThrowOutputError();
    return asked_for ? EXIT_SUCCESS : kExitUsage;
  }
  for (const Job& job : jobs) {
    if (!job.subcommand->parsed()) continue;
    const CLI::Option* output = job.subcommand->get_option_no_throw("--output");
    if (output != nullptr && output->count() > 0) RemoveLeftoversOf(output->as<std::string>());
    return job.run();
  }
  return kExitUsage;  // not reached: a subcommand is required
}

// Otherwise the first file opened would take the place of a standard stream that the parent closed.
void OpenStandardStreams() {
  for (int fd = 0; fd <= STDERR_FILENO;) fd = open("/dev/null", O_RDWR);
}

}  // namespace
}  // namespace vask::command

int main(int argc, char** argv) {
  using namespace vask::command;
  OpenStandardStreams();
  std::set_terminate(EndWhereNothingCatches);
  try {
    DropMessages();
    CatchSignals();
    const int status = Run(argc, argv);
    CheckSignals();  // one may have ended standard input
    return status;
  } catch (const Interruption& interruption) {
    EndBySignal(interruption.signal);
  } catch (const UsageError& error) {
    std::fprintf(stderr, "vask: %s: see vask --help\n", Printable(error.what()).c_str());
    return kExitUsage;
  } catch (const std::bad_alloc&) {
    std::fputs(kOutOfMemory, stderr);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "vask: %s\n", Printable(error.what()).c_str());
  }
  return EXIT_FAILURE;
}
