// `vask detect`: where somebody speaks in a file, and the utterances as files of their own.
#ifndef TOOLS_VASK_DETECT_H_
#define TOOLS_VASK_DETECT_H_

#include <set>
#include <span>
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

// Gets the utterances of a file while they come.
class UtteranceSink {
 public:
  virtual ~UtteranceSink() = default;
  virtual void Begin() = 0;
  virtual void Write(std::span<const int16_t> samples) = 0;
  virtual void End(int64_t start, int64_t end) = 0;  // where it lies in the file, in samples
  virtual void Drop() = 0;                           // it was none
};

// Throws FileError for this file, FatalError if no other file can fare better.
void FindUtterances(EngineSession& engine, const std::string& input, UtteranceSink& sink);

// Lists the utterances of `input` on standard output: file, number, start and end in seconds, tabs between.
// Throws as FindUtterances().
void Detect(EngineSession& engine, const std::string& input, UtteranceNames& names);

}  // namespace vask::command

#endif  // TOOLS_VASK_DETECT_H_
