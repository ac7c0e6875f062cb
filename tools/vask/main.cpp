// The vask command: detects utterances in recordings and reduces their noise.

#include <fcntl.h>
#include <unistd.h>
#include <vask/export.h>
#include <vask/packets.h>

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
#include "errors.h"
#include "packets.h"
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

constexpr const char* kPacketsFooter =
    "OUT holds the utterances one after the other, each a stream of its own: packets \"D\", the last one "
    "\"E\",\n"
    "with 8 characters of header before N bytes of IMA ADPCM. It appears only when it is complete.\n"
    "Example:\n"
    "  vask packets meeting.wav -o meeting.packets";

constexpr const char* kUnpackFooter =
    "OUT holds the samples of all utterances, one after the other. If IN is damaged, OUT ends before the "
    "damage,\n"
    "the message says at which byte it is, and the exit status is 1.\n"
    "Example:\n"
    "  vask unpack meeting.packets -o spoken.wav";

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

std::string CheckNotEmpty(const std::string& name) { return name.empty() ? "the name is empty" : ""; }

struct Arguments {
  EngineOptions engine;
  std::vector<std::string> inputs;  // of detect
  std::string input;                // of denoise
  std::string output;               // folder or file
  PacketOptions packets;
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

int RunPackets(const Arguments& arguments) {
  EngineSession engine(EngineSession::Mode::kDetect, arguments.engine);
  Pack(engine, arguments.input, arguments.output, arguments.packets);
  return EXIT_SUCCESS;
}

int RunUnpack(const Arguments& arguments) {
  Unpack(arguments.input, arguments.output);
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
  return RunDetect(arguments);
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
