// `vask report`: what was found in a recording, as a page to look at and listen to.
#ifndef TOOLS_VASK_REPORT_REPORT_H_
#define TOOLS_VASK_REPORT_REPORT_H_

#include <vask/stream.hpp>

#include <string>

namespace vask::command {

struct ReportOptions {
  StreamOptions detector;
  std::string title;  // empty: the file's name
  bool no_audio = false;
};

// Throws FileError, FatalError.
void Report(const std::string& input, const std::string& output, const ReportOptions& options);

}  // namespace vask::command

#endif  // TOOLS_VASK_REPORT_REPORT_H_
