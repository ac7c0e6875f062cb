// The utterances of a batch as files: FLAC, or FLAC in shards of tar that hold so many, with their segments
// as JSON beside them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "jobs/batch/manifest.h"
#include "jobs/batch/tar_file.h"
#include "sound/sound_writer.h"

namespace vask::command {

struct Clip {
  std::string key;   // the name without its ending
  std::string file;  // where it is
};

// One that is being written. A clip that cannot be written ends the run: FatalError.
class ClipWriter {
 public:
  explicit ClipWriter(Clip clip);
  void Write(std::span<const int16_t> samples);
  Clip Commit();

 private:
  Clip clip_;
  std::unique_ptr<SoundWriter> sound_;
};

struct ClipOptions {
  std::string folder;      // empty: no clips
  int32_t shard_size = 0;  // clips in a tar; 0: files of their own
};

class Clips {
 public:
  // Creates the folder. The shards of different runs have different names: `run`, such as "3-of-8", or "".
  Clips(const ClipOptions& options, const std::string& run);

  // Clip `number`, from 1, of an item. Safe to call from any thread.
  ClipWriter Make(const Item& item, int number) const;

  // A record whose clips an earlier run has put into shards; all of them must come before the first Place().
  void Resume(const Json& record);
  // Puts the clips of a record where they belong, and their names into it.
  void Place(Json& record, const std::vector<Clip>& clips);
  // The last shard is complete.
  void Finish();

 private:
  std::string Shard(int64_t number) const;
  void Open();
  void Close();

  ClipOptions options_;
  std::string prefix_;
  int64_t packed_ = 0;  // clips in shards, in all
  std::optional<TarFile> tar_;
};

}  // namespace vask::command
