// The vask command: detects utterances in recordings, reduces their noise, judges where they were made and
// computes their cepstra.

#include <fcntl.h>
#include <unistd.h>
#include <vask/export.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "denoise.h"
#include "detect.h"
#include "engine_session.h"
#include "environment.h"
#include "errors.h"
#include "knowledge_base.h"
#include "mfcc.h"
#include "signals.h"

namespace vask::command {
namespace {

constexpr int kExitFailed = 1;  // at least one file
constexpr int kExitUsage = 2;

#if defined(__clang__)
constexpr const char* kCompiler = __VERSION__;
#else
constexpr const char* kCompiler = "GCC " __VERSION__;
#endif

constexpr const char* kDescription =
    "Finds the spoken utterances in recordings and reduces their background noise.\n"
    "Reads what libsndfile reads (WAV, FLAC, Ogg, MP3 and more) at any rate, with any number of channels;\n"
    "works at, and writes, 16 kHz mono 16-bit.";

constexpr const char* kFooter =
    "Examples:\n"
    "  vask detect meeting.wav                      list the utterances\n"
    "  vask detect -o utterances morning/*.flac     and write each to a file of its own\n"
    "  vask denoise street.wav -o clean.wav         reduce the noise\n"
    "  vask env call.wav                            judge where it was recorded\n"
    "  vask mfcc call.wav -o call.npy               compute its cepstra\n"
    "  vask --device 48 detect meeting.wav          with the settings of another device\n"
    "Exit status: 0 all done, 1 a file failed (the others are done), 2 wrong usage.";

constexpr const char* kDetectFooter =
    "Output: a line an utterance, with tabs between its columns:\n"
    "  FILE  NUMBER (from 1)  START  END (seconds from the start of the file, three decimals)\n"
    "With -o each is also written to DIR/NAME-NUMBER.wav, NAME being the file's name without its ending.\n"
    "Its noise is reduced; it begins up to 0.35 s before START and goes on for about a second after END.\n"
    "Examples:\n"
    "  vask detect meeting.wav\n"
    "  vask detect meeting.wav | awk -F'\\t' '{ spoken += $4 - $3 } END { print spoken, \"s\" }'\n"
    "  vask detect -o utterances monday.flac tuesday.flac";

constexpr const char* kDenoiseFooter =
    "OUT is as long as IN and in step with it. It appears only when it is complete.\n"
    "Example:\n"
    "  vask denoise street.wav -o clean.wav";

constexpr const char* kEnvFooter =
    "Output: a line a file, with tabs between its columns, or with --json an object a line:\n"
    "  FILE  VERDICT  FIRST and LAST change (seconds)  SNR (dB)  lowest and highest SAMPLE  MEANING\n"
    "with - (null) for what there is not. The verdict:\n"
    "   0  the speech stands out from the background, and the level rose where it began\n"
    "   1  it stands out from the background at its end, but the level rose too little\n"
    "   2  it does not stand out from the background at its end\n"
    "  -1  the environment did not change twice: no speech, or only speech\n"
    "The library looks at 20.48 s. Of a longer file the rest is left out, which a note on standard error "
    "says;\n"
    "a sound that it rejects as no speech makes it begin again behind that, and a note says so too.\n"
    "Examples:\n"
    "  vask env call.wav\n"
    "  vask env --json calls/*.wav | jq -r 'select(.verdict != 0) | .file'";

constexpr const char* kMfccFooter =
    "OUT: float32, a row for every 10 ms and 13 columns, c0 to c12, as numpy.load() reads them; with "
    "--deltas\n"
    "39 columns, the first and second derivatives behind them; with --csv as text, without a line of names. "
    "It\n"
    "appears only when it is complete. A row's window is 20 ms long and ends with its 10 ms.\n"
    "With --kb DIR the cepstral mean in DIR/Vask.db/global_cms is taken off, and what this recording adds "
    "to\n"
    "it is stored there (a fifth of the new mean); table files in DIR/Vask.db replace the built-in tables.\n"
    "Examples:\n"
    "  vask mfcc call.wav -o call.npy\n"
    "  vask tables kb && vask mfcc call.wav --deltas --kb kb -o call.npy";

constexpr const char* kTablesFooter =
    "Writes DIR/Vask.db/ with the nine table files, DIR/config.Vask and an empty DIR/LOG/. Where\n"
    "DIR/Vask.db/cc1.txt is there, nothing is written.\n"
    "Example:\n"
    "  vask tables kb";

std::string Version() {
  return "vask " + std::to_string(VASK_VERSION_MAJOR) + "." + std::to_string(VASK_VERSION_MINOR) + "." +
         std::to_string(VASK_VERSION_PATCH) + " (" + kCompiler + ")";
}

// An empty text means "good", as CLI11 wants it.
std::string CheckConfigDir(const std::string& dir) {
  if (dir.size() > EngineSession::kMaxConfigDir) {
    return Printable(dir) + " is too long: at most " + std::to_string(EngineSession::kMaxConfigDir) +
           " bytes";
  }
  const bool readable = access((dir + "/config.Vask").c_str(), R_OK) == 0;
  return readable ? "" : Printable(dir) + " holds no config.Vask to read";
}

std::string CheckKnowledgeBase(const std::string& dir) {
  if (dir.size() > EngineSession::kMaxConfigDir) {
    return Printable(dir) + " is too long: at most " + std::to_string(EngineSession::kMaxConfigDir) +
           " bytes";
  }
  const bool usable = access((dir + "/Vask.db/.").c_str(), W_OK) == 0;
  return usable ? "" : Printable(dir) + " holds no folder Vask.db to write to: vask tables makes one";
}

std::string CheckNotEmpty(const std::string& name) { return name.empty() ? "the name is empty" : ""; }

struct Arguments {
  EngineOptions engine;
  std::vector<std::string> inputs;  // of detect and env
  std::string input;                // of denoise and mfcc
  std::string output;               // folder or file
  std::string folder;               // of tables
  MfccOptions mfcc;
  bool json = false;
};

int RunDetect(const Arguments& arguments) {
  UtteranceNames names(arguments.output, arguments.inputs);
  EngineSession engine(EngineSession::Mode::kDetect, arguments.engine);
  int status = EXIT_SUCCESS;
  for (const std::string& input : arguments.inputs) {
    try {
      Detect(engine, input, names);
    } catch (const FileError& error) {
      std::fprintf(stderr, "vask: %s\n", error.what());
      status = kExitFailed;
    }
  }
  return status;
}

int RunDenoise(const Arguments& arguments) {
  EngineSession engine(EngineSession::Mode::kEnhance, arguments.engine);
  Denoise(engine, arguments.input, arguments.output);
  return EXIT_SUCCESS;
}

int RunEnv(const Arguments& arguments) {
  EngineSession engine(EngineSession::Mode::kEnhance, arguments.engine);
  int status = EXIT_SUCCESS;
  for (const std::string& input : arguments.inputs) {
    try {
      const Verdict verdict = JudgeEnvironment(engine, input);
      if (verdict.length > verdict.judged_to + 0.005) {
        std::fprintf(stderr, "vask: %s: %.2f of %.2f s were looked at\n", Printable(input).c_str(),
                     verdict.judged_to, verdict.length);
      }
      if (verdict.restarted) {
        std::fprintf(stderr,
                     "vask: %s: judged from %.2f s on, a sound before that was rejected as no speech\n",
                     Printable(input).c_str(), verdict.judged_from);
      }
      std::puts((arguments.json ? JsonOf : LineOf)(input, verdict).c_str());
      if (std::fflush(stdout) != 0) ThrowOutputError();
    } catch (const FileError& error) {
      std::fprintf(stderr, "vask: %s\n", error.what());
      status = kExitFailed;
    }
  }
  return status;
}

int RunTables(const Arguments& arguments) {
  const bool written = WriteKnowledgeBase(arguments.folder);
  std::printf(written ? "%s: nine tables and config.Vask written\n"
                      : "%s: nothing written, Vask.db/cc1.txt is there already\n",
              Printable(arguments.folder).c_str());
  if (std::fflush(stdout) != 0) ThrowOutputError();
  return EXIT_SUCCESS;
}

int Run(int argc, char** argv) {
  Arguments arguments;
  CLI::App app(kDescription, "vask");
  app.set_version_flag("--version", Version(), "Print the version and the compiler, then exit");
  app.set_help_flag("-h,--help", "Print this help, then exit");
  app.footer(kFooter);
  app.require_subcommand(1);
  app.fallthrough();  // general options may stand behind the subcommand too
  app.failure_message([](const CLI::App*, const CLI::Error& error) {
    return std::string("vask: ") + Printable(error.what()) + ": see vask --help\n";
  });
  app.add_option("--device", arguments.engine.device, "Device whose settings are used (2)")->type_name("N");
  app.add_option("--os", arguments.engine.os, "Operating system of that device (2)")->type_name("N");
  app.add_option("--config", arguments.engine.config_dir, "Folder with the settings file config.Vask")
      ->type_name("DIR")
      ->check(CheckConfigDir);

  CLI::App* detect = app.add_subcommand("detect", "List the utterances in files");
  detect->footer(kDetectFooter);
  detect->add_option("FILE", arguments.inputs, "Recordings")->required()->type_name("");
  detect->add_option("-o,--output", arguments.output, "Write the utterances to this folder, made if missing")
      ->type_name("DIR")
      ->check(CheckNotEmpty);

  CLI::App* denoise = app.add_subcommand("denoise", "Reduce the noise of a file");
  denoise->footer(kDenoiseFooter);
  denoise->add_option("IN", arguments.input, "Recording")->required()->type_name("");
  denoise->add_option("-o,--output", arguments.output, "WAV file to write")
      ->required()
      ->type_name("OUT")
      ->check(CheckNotEmpty);

  CLI::App* env = app.add_subcommand("env", "Judge whether speech stands out from where it was recorded");
  env->footer(kEnvFooter);
  env->add_option("FILE", arguments.inputs, "Recordings")->required()->type_name("");
  env->add_flag("--json", arguments.json, "Print objects of JSON, one a line");

  CLI::App* mfcc = app.add_subcommand("mfcc", "Compute the mel-frequency cepstra of a file");
  mfcc->footer(kMfccFooter);
  mfcc->add_option("IN", arguments.input, "Recording")->required()->type_name("");
  mfcc->add_option("-o,--output", arguments.output, "File to write")
      ->required()
      ->type_name("OUT")
      ->check(CheckNotEmpty);
  CLI::Option* deltas =
      mfcc->add_flag("--deltas", arguments.mfcc.deltas, "With first and second derivatives: 39 columns");
  mfcc->add_flag("--log-energies", arguments.mfcc.log_energies, "Log mel energies instead: 23 columns")
      ->excludes(deltas);
  mfcc->add_flag("--csv", arguments.mfcc.csv, "Write text, one row a line with commas, instead of NPY");
  mfcc->add_option("--kb", arguments.mfcc.knowledge_base, "Knowledge base that keeps the cepstral mean")
      ->type_name("DIR")
      ->check(CheckKnowledgeBase);

  CLI::App* tables = app.add_subcommand("tables", "Write a knowledge base: the built-in tables as files");
  tables->footer(kTablesFooter);
  tables->add_option("DIR", arguments.folder, "Folder, made if missing")
      ->required()
      ->type_name("")
      ->check(CheckNotEmpty);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const bool asked_for = app.exit(error) == 0;
    if (!std::cout.flush()) ThrowOutputError();
    return asked_for ? EXIT_SUCCESS : kExitUsage;
  }
  if (detect->parsed()) return RunDetect(arguments);
  if (env->parsed()) return RunEnv(arguments);
  if (tables->parsed()) return RunTables(arguments);
  if (mfcc->parsed()) {
    Mfcc(arguments.input, arguments.output, arguments.mfcc);
    return EXIT_SUCCESS;
  }
  return RunDenoise(arguments);
}

}  // namespace
}  // namespace vask::command

int main(int argc, char** argv) {
  using namespace vask::command;
  // A stream that the parent process closed would otherwise become the first file that is opened.
  for (int fd = 0; fd <= STDERR_FILENO;) fd = open("/dev/null", O_RDWR);
  CatchSignals();
  try {
    return Run(argc, argv);
  } catch (const Interruption& interruption) {
    EndBySignal(interruption.signal);
  } catch (const std::bad_alloc&) {
    std::fputs("vask: out of memory: end other programs or use a larger machine\n", stderr);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "vask: %s\n", error.what());
  }
  return EXIT_FAILURE;
}
