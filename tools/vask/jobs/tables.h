// `vask tables`: a knowledge base with the built-in tables and a default configuration.
#ifndef TOOLS_VASK_JOBS_TABLES_H_
#define TOOLS_VASK_JOBS_TABLES_H_

#include <string>

namespace vask::command {

// Makes `dir` and the folders above it as needed; what is complete stays as it is. True if it was written.
// Throws FileError.
bool WriteKnowledgeBase(const std::string& dir);

}  // namespace vask::command

#endif  // TOOLS_VASK_JOBS_TABLES_H_
