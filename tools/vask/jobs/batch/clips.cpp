#include "jobs/batch/clips.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "files/hash.h"
#include "files/input_file.h"
#include "files/output_file.h"
#include "terminal/errors.h"

namespace vask::command {

namespace fs = std::filesystem;

namespace {

constexpr size_t kLongestKey = 64;  // bytes of the id in it: a name in a tar has 100

// The id as a file name without dots, which end the key of a WebDataset: with a hash if that changes it.
std::string KeyOf(const std::string& id) {
  std::string key = id.substr(0, kLongestKey);
  for (char& c : key) {
    if (std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '-' && c != '_') c = '_';
  }
  return key == id ? key : key + "-" + HashText(id);
}

// Calls what may fail for want of room or permission.
template <typename Call>
auto OrEnd(const Call& call) {
  try {
    return call();
  } catch (const FileError& error) {
    throw FatalError(error.what());
  }
}

std::string Bytes(const std::string& file) {
  return OrEnd([&] {
    InputFile input(file);
    std::vector<uint8_t> bytes(fs::file_size(file));
    bytes.resize(input.Read(bytes));
    return std::string(bytes.begin(), bytes.end());
  });
}

}  // namespace

ClipWriter::ClipWriter(Clip clip) : clip_(std::move(clip)) {
  OrEnd([&] { sound_ = MakeSoundWriter(clip_.file); });
}

void ClipWriter::Write(std::span<const int16_t> samples) {
  OrEnd([&] { sound_->Write(samples); });
}

Clip ClipWriter::Commit() {
  OrEnd([&] { sound_->Commit(); });
  return clip_;
}

Clips::Clips(const ClipOptions& options, const std::string& run)
    : options_(options), prefix_(run.empty() ? "clips-" : "clips-" + run + "-") {
  std::error_code error;
  fs::create_directories(options.folder, error);
  if (error || !fs::is_directory(options.folder, error)) {
    throw FatalError(Printable(options.folder) + ": cannot be created as a folder (" +
                     (error ? error.message() : "a file of this name exists") + "): choose another");
  }
  RemoveLeftovers(options.folder);
}

ClipWriter Clips::Make(const Item& item, int number) const {
  char end[16];
  std::snprintf(end, sizeof end, "-%03d", number);
  const std::string key = KeyOf(item.id) + end;
  // Those that go into a tar are hidden until then.
  return ClipWriter({key, options_.folder + (options_.shard_size > 0 ? "/." : "/") + key + ".flac"});
}

void Clips::Resume(const Json& record) {
  if (options_.shard_size == 0) return;
  for (const Json& segment : record.value("segments", Json::array())) packed_ += segment.contains("shard");
}

void Clips::Place(Json& record, const std::vector<Clip>& clips) {
  if (clips.empty()) return;
  auto clip = clips.begin();
  for (Json& segment : record["segments"]) {
    segment["clip"] = clip->key + ".flac";
    if (options_.shard_size > 0) {
      if (!tar_) Open();
      segment["shard"] = fs::path(Shard(packed_ / options_.shard_size)).filename().string();
      const Json beside = {
          {"id", record["id"]}, {"path", record["path"]}, {"segment", segment}, {"given", record["given"]}};
      tar_->Add(clip->key + ".flac", Bytes(clip->file));
      tar_->Add(clip->key + ".json", LineOf(beside));
      unlink(clip->file.c_str());
      if (++packed_ % options_.shard_size == 0) Close();
    }
    if (++clip == clips.end()) return;
  }
}

void Clips::Finish() {
  if (tar_) Close();
}

std::string Clips::Shard(int64_t number) const {
  char figures[24];
  std::snprintf(figures, sizeof figures, "%06lld.tar", static_cast<long long>(number));
  return options_.folder + "/" + prefix_ + figures;
}

void Clips::Open() {
  const std::string shard = Shard(packed_ / options_.shard_size);
  tar_.emplace(shard, 2 * (packed_ % options_.shard_size));
}

void Clips::Close() {
  tar_->Finish();
  tar_.reset();
}

}  // namespace vask::command
