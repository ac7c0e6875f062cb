// The jobs of the command, one per subcommand. Each declares its own arguments and help, and does its work;
// no job knows another. main.cpp gathers them.
#pragma once

#include <functional>

#include "library/engine_session.h"

namespace CLI {
class App;
}

namespace vask::command {

struct Job {
  CLI::App* subcommand;  // parsed() if the user asked for it
  std::function<int()>
      run;  // returns the exit status; throws UsageError, FileError, FatalError, Interruption
};

// Each adds its subcommand to `app`. `engine` holds the general options once they are parsed.
Job DetectJob(CLI::App& app, const EngineOptions& engine);
Job BatchJob(CLI::App& app, const EngineOptions& engine);
Job TrimJob(CLI::App& app, const EngineOptions& engine);
Job DenoiseJob(CLI::App& app, const EngineOptions& engine);
Job PacketsJob(CLI::App& app, const EngineOptions& engine);
Job UnpackJob(CLI::App& app);
Job EnvJob(CLI::App& app, const EngineOptions& engine);
Job MfccJob(CLI::App& app);
Job ReportJob(CLI::App& app, const EngineOptions& engine);
Job ScoreJob(CLI::App& app);
Job TuneJob(CLI::App& app);
Job TablesJob(CLI::App& app);
Job SelftestJob(CLI::App& app);

}  // namespace vask::command
