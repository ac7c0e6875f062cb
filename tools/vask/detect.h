// `vask detect`: where somebody speaks in a file, and the utterances as files of their own.
#ifndef TOOLS_VASK_DETECT_H_
#define TOOLS_VASK_DETECT_H_

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "engine_session.h"

namespace vask::command {

// Names for the utterances of one run: FOLDER/BASE-001.wav, where BASE is the input's name without its
// ending, with _2, _3 and so on behind it if another input of this run has the same.
class UtteranceNames {
 public:
  // `inputs` are never overwritten.
  UtteranceNames(std::string folder, const std::vector<std::string>& inputs);

  bool wanted() const { return !folder_.empty(); }  // else utterances are only listed
  void StartInput(const std::string& input);
  std::string Name(int number) const;  // FileError if it is one of the inputs

 private:
  std::string folder_, base_;
  std::set<std::string> taken_bases_;
  std::set<std::pair<uint64_t, uint64_t>> inputs_;  // device, inode
};

// Lists the utterances of `input` on standard output: file, number, start and end in seconds, tabs between.
// Throws FileError for this file, FatalError if no other file can fare better.
void Detect(EngineSession& engine, const std::string& input, UtteranceNames& names);

}  // namespace vask::command

#endif  // TOOLS_VASK_DETECT_H_
