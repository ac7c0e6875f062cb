// The objects of the process, for the doorways in this folder and for no other room: one engine with its
// environment check, one front end, and what they share with the exported variables.
#pragma once

#include <cstdint>
#include <span>

#include "ecd/environment.h"
#include "engine/config_file.h"
#include "engine/record.h"
#include "frontend/framing.h"

namespace vask::process {

extern epd_engine engine_state;
extern EnvironmentDetector environment;
extern frontend front_end;
extern bool mean_loaded;      // by the first refresh of an extractor
extern int32_t mean_updates;  // since the mean file was written

// Views of these and of the exported variables.
extern EnvironmentHistory history;
extern const Engine engine;
extern Settings settings;

// Start and stop the engine and the environment check. Start sets the directory first and returns 0 on
// failure, else 1.
int32_t Start(const char* dir, int32_t mode);
void Stop();

// False, with a message and nothing changed, for a directory that is missing or too long.
bool SetBaseDir(const char* dir);

// 1: log detected speech into `dir`; any other flag: stop logging.
void SetPcmLog(int32_t flag, const char* dir);

// Where entries may be copied to: nowhere for a null pointer or a negative count.
template <typename T>
std::span<T> Destination(T* dst, int32_t max) {
  return {dst, dst == nullptr || max < 0 ? 0 : static_cast<size_t>(max)};
}

}  // namespace vask::process
