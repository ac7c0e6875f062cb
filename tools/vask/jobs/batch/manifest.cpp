#include "jobs/batch/manifest.h"

#include <algorithm>
#include <filesystem>

#include "files/hash.h"
#include "jobs/batch/manifest_forms.h"
#include "listing/listing.h"
#include "terminal/arguments.h"
#include "terminal/errors.h"

namespace vask::command {

namespace fs = std::filesystem;

namespace {

constexpr size_t kShownBytes = 200;  // of a line without an id

bool IsUtf8(const std::string& text) {
  try {
    static_cast<void>(Json(text).dump());
    return true;
  } catch (const Json::exception&) {
    return false;
  }
}

bool HasEndingOf(const std::string& path, std::string_view ending) {
  return HasEnding(path, ending) || HasEnding(path, std::string(ending) + ".gz");
}

// The path if it lies in the folder, also behind all links.
std::string Within(const std::string& root, const std::string& path) {
  std::error_code error;
  const fs::path folder = fs::canonical(root, error);
  const fs::path whole = fs::weakly_canonical(folder / path, error);
  const auto [in_root, rest] = std::mismatch(folder.begin(), folder.end(), whole.begin(), whole.end());
  if (error || in_root != folder.end()) throw Refusal{"refused", path + ": is not in --root " + root};
  return whole.string();
}

std::string IdOf(const Item& item) {
  if (item.offset == 0) return item.place.path;
  return item.place.path + "#" + Decimal(item.offset, 3);
}

}  // namespace

std::string Item::Key() const { return id.empty() ? "line:" + text : "id:" + id; }

std::vector<std::string> ManifestForms() { return {"auto", "jsonl", "csv", "scp", "segments", "paths"}; }

Manifest::Manifest(const ManifestOptions& options)
    : options_(options), lines_(options.path), form_(options.form) {
  if (!options.recordings.empty()) ReadRecordings(options.recordings);
}

std::string Manifest::Decide(const std::string& first_line) const {
  if (first_line.starts_with('{') || HasEndingOf(options_.path, ".jsonl")) return "jsonl";
  if (HasEndingOf(options_.path, ".csv")) return "csv";
  if (HasEndingOf(options_.path, ".scp")) return "scp";
  return options_.recordings.empty() ? "paths" : "segments";
}

void Manifest::ReadRecordings(const std::string& path) {
  LineReader lines(path);
  for (size_t number = 1; const std::optional<ManifestLine> line = lines.Next(); ++number) {
    Item item;
    try {
      if (line->too_long) throw Refusal{"", "is too long"};
      line->text.starts_with('{') ? ReadJsonLine(line->text, item) : ReadScpLine(line->text, item);
    } catch (const Refusal& refusal) {
      throw FileError(path + ":" + std::to_string(number), refusal.message, "correct the line or remove it");
    }
    recordings_[item.id.empty() ? item.place.path : item.id] = item.place;
  }
}

std::optional<Item> Manifest::Next() {
  while (const std::optional<ManifestLine> line = lines_.Next()) {
    if (form_ == "auto") form_ = Decide(line->text);
    if (form_ == "csv" && !has_header_) {
      ReadHeader(line->text);
      continue;
    }
    Item item = ItemOf(*line);
    if (HashOf(item.Key()) % options_.shards != options_.shard) continue;
    return item;
  }
  return std::nullopt;
}

void Manifest::ReadHeader(const std::string& line) {
  try {
    header_ = CsvFields(line);
  } catch (const Refusal& refusal) {
    throw FileError(options_.path + ":1", refusal.message, "correct the header");
  }
  has_header_ = true;
}

Item Manifest::ItemOf(const ManifestLine& line) {
  Item item;
  try {
    const std::string& text = line.text;
    if (line.too_long) throw Refusal{"manifest", "is longer than " + std::to_string(kLongestLine) + " bytes"};
    if (text.find_first_not_of(" \t") == std::string::npos) throw Refusal{"manifest", "is empty"};
    if (text.find('\0') != std::string::npos) throw Refusal{"manifest", "has a zero byte"};
    if (!IsUtf8(text)) throw Refusal{"manifest", "is not UTF-8"};
    if (form_ == "jsonl") ReadJsonLine(text, item);
    if (form_ == "csv") ReadCsvLine(text, header_, item);
    if (form_ == "scp") ReadScpLine(text, item);
    if (form_ == "segments") ReadSegmentsLine(text, item);
    if (form_ == "paths") item.place.path = text;
    if (!item.recording.empty()) {
      const auto found = recordings_.find(item.recording);
      if (found == recordings_.end()) {
        throw Refusal{"manifest", "its recording " + item.recording + " is not in " +
                                      (options_.recordings.empty() ? "--recordings" : options_.recordings)};
      }
      item.place = found->second;
    }
    if (item.id.empty()) item.id = IdOf(item);
    Settle(item);
  } catch (const Refusal& refusal) {
    item.refusal = refusal;
  }
  if (item.id.empty()) item.text = Utf8(line.text.substr(0, kShownBytes));
  return item;
}

// What may be read, and as which file.
void Manifest::Settle(Item& item) const {
  if (item.place.path.find('\0') != std::string::npos) throw Refusal{"manifest", "its path has a zero byte"};
  if (item.duration && *item.duration == 0) throw Refusal{"span", "its duration is 0"};
  item.file = item.place.path;
  if (item.place.is_command) {
    if (!options_.allow_commands) throw Refusal{"refused", "is a command, and --allow-commands is not given"};
    return;
  }
  if (item.place.path == "-") throw Refusal{"refused", "standard input cannot be a recording"};
  if (!options_.root.empty()) item.file = Within(options_.root, item.place.path);
}

}  // namespace vask::command
