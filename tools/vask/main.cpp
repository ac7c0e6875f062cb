// The vask command: its arguments, and which of its jobs they ask for.

#include <fcntl.h>
#include <unistd.h>
#include <vask/packets.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <new>
#include <string>
#include <vask/stream.hpp>
#include <vector>

#include "jobs/denoise.h"
#include "jobs/detect/detect.h"
#include "jobs/environment.h"
#include "jobs/mfcc.h"
#include "jobs/packets.h"
#include "jobs/report/report.h"
#include "jobs/tables.h"
#include "library/engine_session.h"
#include "terminal/errors.h"
#include "terminal/help.h"
#include "terminal/signals.h"
#include "terminal/version.h"

namespace vask::command {
namespace {

constexpr int kExitFailed = 1;  // at least one file
constexpr int kExitUsage = 2;

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
  DetectArguments detect;
  std::vector<std::string> inputs;  // of env
  std::string input;                // of denoise, packets, unpack and mfcc
  std::string output;               // file
  PacketOptions packets;
  std::string folder;  // of tables
  MfccOptions mfcc;
  ReportArguments report;
  bool json = false;
};

// Streams have no settings file: it is read to tell what is wrong with it.
void CheckConfig(const EngineOptions& options) {
  if (!options.config_dir.empty()) EngineSession engine(options);
}

int RunDetect(const Arguments& arguments) {
  CheckConfig(arguments.engine);
  return Detect(arguments.detect, arguments.engine.device, arguments.engine.os);
}

int RunDenoise(const Arguments& arguments) {
  CheckConfig(arguments.engine);
  Denoise(arguments.input, arguments.output);
  return EXIT_SUCCESS;
}

int RunPackets(const Arguments& arguments) {
  CheckConfig(arguments.engine);
  StreamOptions options;
  options.Device(arguments.engine.device, arguments.engine.os);
  Pack(options, arguments.input, arguments.output, arguments.packets);
  return EXIT_SUCCESS;
}

int RunUnpack(const Arguments& arguments) {
  Unpack(arguments.input, arguments.output);
  return EXIT_SUCCESS;
}

int RunEnv(const Arguments& arguments) {
  EngineSession engine(arguments.engine);
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

int RunMfcc(const Arguments& arguments) {
  Mfcc(arguments.input, arguments.output, arguments.mfcc);
  return EXIT_SUCCESS;
}

int RunReport(const Arguments& arguments) {
  CheckConfig(arguments.engine);
  Report(arguments.report, arguments.engine.device, arguments.engine.os);
  return EXIT_SUCCESS;
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
  app.set_version_flag("--version", Version(), "Print the version and the features, then exit");
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

  CLI::App* detect = AddDetect(app, arguments.detect);

  CLI::App* denoise = app.add_subcommand("denoise", "Reduce the noise of a file");
  denoise->footer(kDenoiseFooter);
  denoise->add_option("IN", arguments.input, "Recording")->required()->type_name("");
  denoise->add_option("-o,--output", arguments.output, "WAV file to write")
      ->required()
      ->type_name("OUT")
      ->check(CheckNotEmpty);

  CLI::App* packets = app.add_subcommand("packets", "Write the utterances of a file as ADPCM packets");
  packets->footer(kPacketsFooter);
  packets->add_option("IN", arguments.input, "Recording")->required()->type_name("");
  packets->add_option("-o,--output", arguments.output, "File to write")
      ->required()
      ->type_name("OUT")
      ->check(CheckNotEmpty);
  packets->add_option("--size", arguments.packets.bytes, "Bytes of a packet without its header (160: 20 ms)")
      ->type_name("N")
      ->check(CLI::Range(1, VASK_LARGEST_PACKET));
  packets->add_flag("--bare", arguments.packets.bare, "No headers: all utterances in one stream of codes");

  CLI::App* unpack = app.add_subcommand("unpack", "Write the sound of such packets");
  unpack->footer(kUnpackFooter);
  unpack->add_option("IN", arguments.input, "Packets with headers")->required()->type_name("");
  unpack->add_option("-o,--output", arguments.output, "WAV file to write")
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

  CLI::App* report = AddReport(app, arguments.report);

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
  if (denoise->parsed()) return RunDenoise(arguments);
  if (packets->parsed()) return RunPackets(arguments);
  if (unpack->parsed()) return RunUnpack(arguments);
  if (env->parsed()) return RunEnv(arguments);
  if (report->parsed()) return RunReport(arguments);
  if (tables->parsed()) return RunTables(arguments);
  if (mfcc->parsed()) return RunMfcc(arguments);
  if (detect->parsed()) return RunDetect(arguments);
  return kExitUsage;  // not reached: a subcommand is required
}

}  // namespace
}  // namespace vask::command

int main(int argc, char** argv) {
  using namespace vask::command;
  // A stream that the parent process closed would otherwise become the first file that is opened.
  for (int fd = 0; fd <= STDERR_FILENO;) fd = open("/dev/null", O_RDWR);
  CatchSignals();
  try {
    const int status = Run(argc, argv);
    CheckSignals();  // one that has ended standard input
    return status;
  } catch (const Interruption& interruption) {
    EndBySignal(interruption.signal);
  } catch (const UsageError& error) {
    std::fprintf(stderr, "vask: %s: see vask --help\n", Printable(error.what()).c_str());
    return kExitUsage;
  } catch (const std::bad_alloc&) {
    std::fputs("vask: out of memory: end other programs or use a larger machine\n", stderr);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "vask: %s\n", error.what());
  }
  return EXIT_FAILURE;
}
