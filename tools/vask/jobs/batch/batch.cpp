#include "jobs/batch/batch.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <thread>
#include <unordered_set>
#include <utility>
#include <vector>

#include "files/hash.h"
#include "files/output_file.h"
#include "jobs/batch/desk.h"
#include "jobs/batch/hearing.h"
#include "jobs/batch/line_reader.h"
#include "jobs/batch/output.h"
#include "jobs/batch/record.h"
#include "jobs/batch/record_forms.h"
#include "listen/settings_text.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

// The threads that listen.
class Workers {
 public:
  Workers(Desk& desk, const HearingOptions& options, const std::string& settings, bool time)
      : desk_(desk), options_(options), settings_(settings), time_(time) {}
  ~Workers() {
    for (std::thread& thread : threads_) thread.join();
  }
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  void Start(int32_t count) {
    threads_.reserve(static_cast<size_t>(count));
    try {
      for (int32_t k = 0; k < count; ++k) threads_.emplace_back([this] { Work(); });
    } catch (const std::exception&) {
      // The system starts no more threads: those that run do all the work.
    }
    if (threads_.empty()) throw FatalError("no thread can be started: close other programs");
  }

 private:
  void Work() {
    try {
      Hearing hearing(options_);
      for (std::vector<Item> items; !(items = desk_.Take()).empty();) {
        const auto report = [&](const Item& item, const Findings& heard) { Report(item, heard); };
        if (items[0].refusal) {
          for (const Item& item : items) Report(item, {});
        } else {
          hearing.Hear(items, report, [&] { desk_.ThrowIfStopped(); });
        }
      }
    } catch (const Desk::Stopped&) {
      // another thread says why
    } catch (...) {
      desk_.Stop(std::current_exception());
    }
  }

  void Report(const Item& item, const Findings& heard) {
    Json record = RecordOf(item, heard, settings_);
    if (time_) record["took"] = heard.took;
    desk_.Done(item.number, {std::move(record), heard.clips});
  }

  Desk& desk_;
  HearingOptions options_;
  const std::string& settings_;
  bool time_;
  std::vector<std::thread> threads_;
};

std::string ShardName(const ManifestOptions& manifest) {
  if (manifest.shards == 1) return "";
  return std::to_string(manifest.shard) + "-of-" + std::to_string(manifest.shards);
}

// Two lines with one id would have clips of the same names.
class Ids {
 public:
  void Check(Item& item) {
    if (!item.refusal && !seen_.insert(HashOf(item.id)).second)
      item.refusal = {"duplicate", item.id + ": an earlier line has this id: clips are named by it"};
  }

 private:
  std::unordered_set<uint64_t> seen_;
};

void ReadManifest(const BatchArguments& arguments, BatchOutput& output, Desk& desk) {
  Manifest manifest(arguments.manifest);
  std::optional<Ids> ids;
  if (!arguments.clips.folder.empty()) ids.emplace();
  while (std::optional<Item> item = manifest.Next()) {
    if (ids) ids->Check(*item);
    if (!output.Has(*item)) desk.Put(*std::move(item));
  }
  output.EndOfManifest();
}

}  // namespace

int RunBatch(const BatchArguments& arguments, const ListenSetup& listen) {
  std::string text = SettingsText(arguments.options, arguments.reading, listen) + arguments.reading.channels;
  std::optional<Clips> clips;
  if (!arguments.clips.folder.empty()) {
    text += " clips " + arguments.audio + std::to_string(arguments.clips.shard_size);
    clips.emplace(arguments.clips, ShardName(arguments.manifest));
  }
  const std::string settings = HashText(text);
  BatchOutput output(arguments, settings, clips ? &*clips : nullptr);
  if (!output.is_finished()) {
    Desk desk(arguments.unordered, [&](Result result) { output.Write(std::move(result)); });
    const HearingOptions hearing = {arguments.options, arguments.reading, listen, clips ? &*clips : nullptr};
    {
      Workers workers(desk, hearing, settings, arguments.time);
      try {
        const auto cores = static_cast<int32_t>(std::max(1U, std::thread::hardware_concurrency()));
        workers.Start(arguments.jobs > 0 ? arguments.jobs : cores);
        ReadManifest(arguments, output, desk);
        desk.Close();
      } catch (const Desk::Stopped&) {
        // a worker says why
      } catch (...) {
        desk.Stop(std::current_exception());
      }
    }
    desk.ThrowFailure();
    output.Finish();
  }
  if (output.failures() == 0) return EXIT_SUCCESS;
  Note(std::to_string(output.failures()) + " of " + std::to_string(output.records()) +
       " inputs failed: their records say why");
  return kExitSomeFailed;
}

void WriteInForm(const BatchArguments& arguments) {
  LineReader lines(arguments.records);
  OutputFile output(arguments.output, OutputFile::Content::kText);
  for (int64_t number = 1; const std::optional<ManifestLine> line = lines.Next(); ++number) {
    const Json record = ParseJson(line->text);
    if (!record.is_object() || KeyOf(record).empty()) {
      throw FileError(arguments.records + ":" + std::to_string(number), "is no record of vask batch",
                      "give a file that it wrote");
    }
    const std::string text = InForm(arguments.form, record, arguments.delivered);
    output.Append({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
  }
  output.Commit();
}

}  // namespace vask::command
