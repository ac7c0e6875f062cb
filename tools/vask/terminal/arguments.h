// Arguments that several jobs share.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace vask::command {

// For CLI::Option::check(): what is wrong with a name, "" if nothing is.
std::string CheckNotEmpty(const std::string& name);

// The recording that a job reads, required.
void AddInput(CLI::App& job, std::string& input, const char* name = "IN", const char* help = "Recording");

// -o, --output: the file that a job writes, required. "-" is standard output. Its name may have one of these
// endings, or none; with no endings given any.
void AddOutput(CLI::App& job, std::string& output, const char* help, std::vector<std::string> endings = {});

// What is wrong with the ending of a name, "" if nothing is.
std::string CheckEnding(const std::string& name, const std::vector<std::string>& endings);
// Whether a name has this ending, in any case of its letters.
bool HasEnding(const std::string& name, std::string_view ending);

}  // namespace vask::command
