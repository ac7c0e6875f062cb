#include "engine/pcm_log.h"

#include "dsp/arith.h"
#include "dsp/message.h"
#include "kb/paths.h"

namespace vask {
namespace {

constexpr char kFirstName[] = "in_000001.pcm";

// Logging goes on: the next file may succeed, or the disk may have room again. All failures share one line.
void ReportFault(epd_engine& e) {
  if (e.has_reported_log_fault) return;
  e.has_reported_log_fault = true;
  Say(Message::kFailure, "ERROR: PCM log %s cannot be written: check the folder and the room on the disk\n",
      e.pcm_log_path);
}

void Open(epd_engine& e) {
  e.pcm_log_file = std::fopen(e.pcm_log_path, "wb");
  if (e.pcm_log_file == nullptr) ReportFault(e);
}

}  // namespace

bool LogInto(epd_engine& e, const char* dir) {
  char path[sizeof e.pcm_log_path];
  if (!JoinPath(path, dir, kFirstName)) {
    Say(Message::kFailure, "ERROR: PCM log directory is %s\n", dir == nullptr ? "missing" : "too long");
    return false;
  }
  CopyText(e.pcm_log_dir, dir);
  e.pcm_log_on = 1;
  e.has_reported_log_fault = false;
  return true;
}

void OpenLogIfDue(epd_engine& e) {
  if (e.pcm_log_on == 0 || e.pcm_log_file != nullptr) return;
  char name[24];
  std::snprintf(name, sizeof name, "in_%06d.pcm", e.pcm_log_count);
  const bool fits = e.pcm_log_dir[0] == '\0' ? CopyText(e.pcm_log_path, name)
                                             : JoinPath(e.pcm_log_path, e.pcm_log_dir, name);
  if (!fits) {  // only with a number of more than six digits in a directory of the greatest length
    e.pcm_log_on = 0;
    Say(Message::kFailure, "ERROR: PCM log path is too long, logging is off\n");
    return;
  }
  e.pcm_log_count = WrapAdd(e.pcm_log_count, 1);
  Open(e);
}

void WriteLog(epd_engine& e, std::span<const int16_t> samples) {
  if (e.pcm_log_on == 0 || e.pcm_log_file == nullptr || samples.empty()) return;
  const size_t written = std::fwrite(samples.data(), sizeof(int16_t), samples.size(), e.pcm_log_file);
  if (written < samples.size()) ReportFault(e);
}

void EmptyLog(epd_engine& e) {
  if (e.pcm_log_on == 0 || e.pcm_log_file == nullptr) return;
  std::fclose(e.pcm_log_file);
  Open(e);
}

void CloseLog(epd_engine& e) {
  if (e.pcm_log_file != nullptr && std::fclose(e.pcm_log_file) != 0) ReportFault(e);
  e.pcm_log_file = nullptr;
}

}  // namespace vask
