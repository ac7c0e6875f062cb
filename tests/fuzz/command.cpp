// The texts that the command reads: the first byte says which, the second how, the rest is the text. A reader
// takes it or throws the command's own errors; what it took keeps that reader's promises; and what the
// command writes, it reads again.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <string>

#include "files/file_list.h"
#include "files/json_text.h"
#include "fuzz/fuzz.h"
#include "jobs/batch/manifest.h"
#include "jobs/batch/record.h"
#include "jobs/batch/record_forms.h"
#include "jobs/detect/journal.h"
#include "listen/detector_units.h"
#include "listen/listen_options.h"
#include "listen/profile_file.h"
#include "listing/forms.h"
#include "scoring/score.h"
#include "sound/sound_input.h"
#include "support/folder.h"
#include "terminal/arguments.h"
#include "terminal/errors.h"
#include "terminal/nearest.h"
#include "terminal/signals.h"

namespace vask::fuzz {
namespace {

using namespace command;

// A file of that name with that text.
std::string Written(const std::string& name, const std::string& text) {
  static const test::Folder folder;
  std::ofstream(folder / name, std::ios::binary) << text;
  return folder / name;
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::istringstream lines(text);
  std::vector<std::string> all;
  for (std::string line; std::getline(lines, line);) all.push_back(line);
  return all;
}

void CheckSorted(const std::vector<SpeechInterval>& speech) {
  for (size_t i = 0; i < speech.size(); ++i) {
    VASK_REQUIRE(std::isfinite(speech[i].end) && speech[i].start <= speech[i].end);
    VASK_REQUIRE(i == 0 || speech[i - 1].start <= speech[i].start);
  }
}

// Everything in a list, scored against its first recording.
void CheckLists(const SpeechLists& lists) {
  for (const auto& [key, recording] : lists) {
    CheckSorted(recording.speech);
    const Score score = ScoreOf(lists.begin()->second, recording, nullptr, 0.25);
    VASK_REQUIRE(score.missed <= score.speech && score.speech <= score.scored && score.false_alarm >= 0);
    VASK_REQUIRE(score.found <= score.utterances && score.wrong + score.merging <= score.segments);
  }
}

template <const char* const& kName>
void List(uint8_t how, const std::string& text) {
  CheckLists(ReadSpeechLists(Written(kName, text), how % 2 != 0));
}
constexpr const char *kRttm = "list.rttm", *kLabels = "list.txt", *kTextGrid = "list.TextGrid",
                     *kJsonl = "list.jsonl";

void Parts(uint8_t, const std::string& text) {
  for (const auto& [key, part] : ReadScoredParts(Written("parts.uem", text))) {
    for (const SpeechInterval& interval : part) VASK_REQUIRE(interval.start <= interval.end);
  }
}

void Profile(uint8_t how, const std::string& text) {
  ListenOptions options;
  options.profile = Written("profile", text);
  const char* const detectors[] = {"", "learned", "energy"};
  options.detector = detectors[how % 3];
  epd_profile profile = {};
  ReadProfileFile(options.profile).Apply(profile);
  const ListenSetup listen(options, kUsualDevice, kUsualOs);
  VASK_REQUIRE(vask_stream_setup_complaint(&listen.setup) == nullptr);
}

void Names(uint8_t how, const std::string& text) {
  for (const std::string& name : ReadFileList(Written("names", text), how % 2 != 0)) {
    VASK_REQUIRE(!name.empty() && name.find(how % 2 != 0 ? '\0' : '\n') == std::string::npos);
  }
}

void AnyJson(uint8_t, const std::string& text) {
  const Json json = ParseJson(text);
  if (!json.is_discarded()) VASK_REQUIRE(ParseJson(json.dump()) == json);
}

// The words of a command line, one a line.
void Arguments(uint8_t, const std::string& text) {
  ListenOptions listen;
  ReadOptions read;
  std::string input, output;
  int32_t device = kUsualDevice, os = kUsualOs;
  CLI::App job;
  job.allow_windows_style_options(false);
  job.add_option("--device", device);
  job.add_option("--os", os);
  AddListenOptions(job, listen);
  AddJoinOption(job, listen);
  AddReadOptions(job, read, "each, ");
  AddInput(job, input);
  AddOutput(job, output, "", {".wav", ".flac"});
  std::vector<std::string> words = LinesOf(text);
  for (const std::string& word : words) Nearest(word, {"detect", "denoise", "selftest"}), UnitsOf(word);
  std::reverse(words.begin(), words.end());
  try {
    job.parse(words);
  } catch (const CLI::ParseError&) {
    return;
  }
  VASK_REQUIRE(!output.empty() && read.Channel() >= kAllChannels && read.Channel() <= 1024);
  const WavForm form = read.RawForm();
  VASK_REQUIRE(form.rate >= kLowestRate && form.channels >= 1 && form.bytes >= 1 && form.bytes <= 4);
  if (NamesProfileFile(listen.profile)) listen.profile.clear();  // whatever file of this machine that is
  listen.model.clear();
  const ListenSetup setup(listen, device, os);
  VASK_REQUIRE(vask_stream_setup_complaint(&setup.setup) == nullptr);
}

// Whatever a ledger holds, what is added to it is found in it afterwards.
void Ledger(uint8_t how, const std::string& text) {
  const std::string file = Written(".vask-detect.jsonl", text), folder = file.substr(0, file.rfind('/'));
  const InputState input = {"/a.wav", "a", 10, 20, true};
  const Segment segment = {1, false, 1, 2, 1, 2, 16000, 32000, 1, "silence", "", -20, 30, 0};
  const std::vector<FileStamp> files = {{"a-001.wav", 32044, 7}};
  {
    Journal journal(folder, "o", 1, false);
    for (const auto& [path, base] : journal.Bases()) {
      for (const std::string& name : journal.NamesOf({path, base})) {
        VASK_REQUIRE(name == std::string(name.c_str()) && name.find('/') == std::string::npos &&
                     journal.OwnerOf(name) == path);
      }
      journal.RivalsOf({path, base});
    }
    const auto finished = journal.Find(input);
    if (finished && how % 2 != 0) {  // its listings too, of any values
      for (const std::string& form : FormNames()) {
        const auto listing = MakeListing(form);
        listing->Begin() + listing->Open(finished->recording);
        for (const Segment& one : finished->segments) listing->Add(finished->recording, one);
        listing->Close(finished->recording) + listing->End();
      }
    }
    journal.Claim(input, "a-001.wav");
    SegmentNotes notes;
    notes.Add(segment);
    journal.Add(input, {"a.wav", 16000, 1, 3, 0, 1, 1, ""}, files, notes);
  }
  const auto found = Journal(folder, "o", 1, false).Find(input);
  VASK_REQUIRE(found && found->files == files && found->segments.size() == 1);
  VASK_REQUIRE(found->segments[0].last == segment.last && found->recording.seconds == 3);
}

// A listing of a recording of that name, and as many segments as the second byte says, read again.
void Listings(uint8_t how, const std::string& name) {
  Recording recording = {name, 16000, 2, 100, how % 3, 0, 0, ""};
  const std::array<std::string, 4> endings = {"rttm", "labels", "textgrid", "jsonl"};
  const std::array<const char*, 4> lists = {kRttm, kLabels, kTextGrid, kJsonl};
  for (size_t form = 0; form < lists.size(); ++form) {
    const auto listing = MakeListing(endings[form]);
    std::string text = listing->Begin() + listing->Open(recording);
    const int segments = how / 3 % 8;
    for (int i = 0; i < segments; ++i) {
      const double start = 0.001 * how + 2 * i;
      text +=
          listing->Add(recording, {i + 1, false, start, start + 1, start, start + 1, 0, 1, 1, "silence", ""});
    }
    text += listing->Close(recording) + listing->End();
    const SpeechLists again = ReadSpeechLists(Written(lists[form], text), false);
    CheckLists(again);
    VASK_REQUIRE(again.size() == 1 && again.begin()->second.speech.size() == static_cast<size_t>(segments));
  }
}

// A manifest in the form that the first bits say, its recordings the same text: every line becomes an item
// whose record is a line of JSON and tells which item it is for; and the forms of a record of found speech.
void Lines(uint8_t how, const std::string& text) {
  ManifestOptions options;
  options.form = ManifestForms()[how % 6];
  options.path = Written(how / 6 % 2 != 0 ? "manifest.jsonl" : "manifest.gz", text);
  if (how / 12 % 2 != 0) options.recordings = Written("recordings", text);
  if (how / 24 % 2 != 0) options.root = options.path.substr(0, options.path.rfind('/'));
  options.allow_commands = how / 48 % 2 != 0;
  Manifest manifest(options);
  while (const std::optional<Item> item = manifest.Next()) {
    VASK_REQUIRE(item->refusal || !item->place.path.empty());
    VASK_REQUIRE(item->offset >= 0 && item->duration.value_or(1) > 0 && item->channel >= 0);
    Findings found = {16000, 2, 3, {}, {}, 0, {}};
    found.segments.push_back({1, false, 1, 2, 1, 2, 16000, 32000, 1, "silence", "", -20, 30, 0});
    const Json record = RecordOf(*item, found, "s"), again = ParseJson(LineOf(record));
    VASK_REQUIRE(again.is_object() && KeyOf(record) == item->Key() && KeyOf(again) == item->Key());
    VASK_REQUIRE(IsError(record) == item->refusal.has_value());
    for (const std::string& form : RecordForms())
      VASK_REQUIRE(form == "jsonl" || InForm(form, again, how % 2 != 0).empty() == IsError(record) ||
                   form == "lhotse-recordings");
  }
}

using Reader = void(uint8_t how, const std::string& text);
constexpr Reader* kReaders[] = {List<kRttm>, List<kLabels>, List<kTextGrid>, List<kJsonl>, Parts,    Profile,
                                Names,       AnyJson,       Arguments,       Ledger,       Listings, Lines};

}  // namespace
}  // namespace vask::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace vask::fuzz;
  if (size < 2) return 0;
  try {
    kReaders[data[0] % std::size(kReaders)](data[1], std::string(data + 2, data + size));
  } catch (const FileError& error) {
    VASK_REQUIRE(vask::command::Printable(error.what()) == error.what());  // one line, whatever it quotes
  } catch (const UsageError&) {
  }
  return 0;
}
