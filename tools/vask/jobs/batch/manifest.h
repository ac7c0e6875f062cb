// What a batch is to listen to: a manifest's lines, in the forms that corpora have.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "files/json_text.h"
#include "jobs/batch/line_reader.h"

namespace vask::command {

// Why an input has no result: for people, and a word for programs.
struct Refusal {
  std::string kind, message;
};

// Where a recording is.
struct Place {
  std::string path;  // or what a shell is to run, whose standard output is the recording
  bool is_command = false;
};

// One line.
struct Item {
  uint64_t number = 0;             // among those that are listened to, from 0
  std::string id;                  // empty: the line has none
  std::string text;                // then its first bytes, as UTF-8
  Place place;                     // as the line names it
  std::string file;                // what is opened for it
  std::string recording;           // its name, if the line names one of another file
  double offset = 0;               // s, where the span begins
  std::optional<double> duration;  // s; none: to the end
  int32_t channel = 0;             // from 1; 0: all of them, mixed, or what --channels says
  Json given = Json::object();     // what the line had besides
  std::optional<Refusal> refusal;

  std::string Key() const;  // tells it from other lines; the same in every run
};

struct ManifestOptions {
  std::string path = "-", form = "auto", recordings, root;
  bool allow_commands = false;
  uint32_t shard = 0, shards = 1;
};

// The names for --manifest.
std::vector<std::string> ManifestForms();

class Manifest {
 public:
  explicit Manifest(const ManifestOptions& options);  // throws FileError

  // The next line of this shard, as soon as it arrives; none at the end. A line that says nothing usable is
  // an item with a refusal. Throws FileError, Interruption.
  std::optional<Item> Next();

 private:
  using Recordings = std::map<std::string, Place>;

  std::string Decide(const std::string& first_line) const;
  void ReadRecordings(const std::string& path);
  void ReadHeader(const std::string& line);
  Item ItemOf(const ManifestLine& line);
  void Settle(Item& item) const;

  const ManifestOptions& options_;
  LineReader lines_;
  std::string form_;                 // "auto" until the first line is there
  std::vector<std::string> header_;  // of CSV
  bool has_header_ = false;
  Recordings recordings_;  // by id, for lines that name a recording
};

}  // namespace vask::command
