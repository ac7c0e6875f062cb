#include "terminal/arguments.h"

#include <CLI/CLI.hpp>

namespace vask::command {

std::string CheckNotEmpty(const std::string& name) { return name.empty() ? "the name is empty" : ""; }

void AddInput(CLI::App& job, std::string& input, const char* name, const char* help) {
  job.add_option(name, input, help)->required()->type_name("");
}

void AddOutput(CLI::App& job, std::string& output, const char* help) {
  job.add_option("-o,--output", output, help)->required()->type_name("OUT")->check(CheckNotEmpty);
}

}  // namespace vask::command
