// The arguments of `vask report`.
#include <CLI/CLI.hpp>

#include "jobs/report/report.h"
#include "terminal/help.h"

namespace vask::command {

CLI::App* AddReport(CLI::App& app, ReportArguments& arguments) {
  CLI::App* report = app.add_subcommand("report", "Draw what was found in a file, as a page for a browser");
  report->footer(kReportFooter);
  report->add_option("FILE", arguments.input, "Recording, - for standard input")->required()->type_name("");
  report->add_option("-o,--output", arguments.output, "Page to write (HTML)")
      ->required()
      ->type_name("OUT")
      ->check([](const std::string& name) { return std::string(name.empty() ? "the name is empty" : ""); });
  report->add_option("--title", arguments.title, "Heading of the page instead of the file's name")
      ->type_name("TEXT");
  report->add_flag("--no-audio", arguments.no_audio, "Leave the sound out: a smaller page, made faster");
  AddDetectOptions(*report, arguments.options);
  return report;
}

}  // namespace vask::command
