// The files of `vask detect -o DIR`: their names, and what runs before this one have left there.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>

#include "files/inputs.h"
#include "sound/sound_writer.h"

namespace vask::command {

// DIR/BASE-001.wav and so on, where BASE is the input's name without its ending, with _2, _3 and so on behind
// it if another input of this run has the same.
class UtteranceFiles {
 public:
  // Makes the folder. `inputs` are never overwritten.
  UtteranceFiles(const std::string& folder, bool flac, Inputs inputs);

  // The BASE of the next input; called for each, in their order.
  std::string NextBase(const std::string& input);

  std::string NameOf(const std::string& base, int number) const;
  std::unique_ptr<SoundWriter> Make(const std::string& base, int number) const;
  std::string ListingOf(const std::string& base, const std::string& ending) const;

 private:
  std::string Checked(const std::string& name) const;  // FileError if it is one of the inputs

  std::string folder_;
  bool flac_;
  std::set<std::string> taken_bases_;
  Inputs inputs_;
};

}  // namespace vask::command
