// `vask mfcc`: the cepstra of a recording, as an array for numpy or as text.
#ifndef TOOLS_VASK_JOBS_MFCC_H_
#define TOOLS_VASK_JOBS_MFCC_H_

#include <string>

namespace vask::command {

struct MfccOptions {
  bool log_energies = false;   // 23 columns: natural logarithms of the mel energies, in place of cepstra
  bool deltas = false;         // 39 columns: cepstra, first and second derivatives
  bool csv = false;            // else NPY
  std::string knowledge_base;  // whose mean is taken off and learned further; empty: none
};

// A row for every 10 ms of `input`. Throws FileError, FatalError.
void Mfcc(const std::string& input, const std::string& output, const MfccOptions& options);

}  // namespace vask::command

#endif  // TOOLS_VASK_JOBS_MFCC_H_
