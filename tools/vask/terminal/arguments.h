// Arguments that several jobs share.
#pragma once

#include <string>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace vask::command {

// For CLI::Option::check(): what is wrong with a name, "" if nothing is.
std::string CheckNotEmpty(const std::string& name);

// The recording that a job reads, required.
void AddInput(CLI::App& job, std::string& input, const char* name = "IN", const char* help = "Recording");

// -o, --output: the file that a job writes, required.
void AddOutput(CLI::App& job, std::string& output, const char* help);

}  // namespace vask::command
