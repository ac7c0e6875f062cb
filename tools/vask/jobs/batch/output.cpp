#include "jobs/batch/output.h"

#include "files/hash.h"
#include "jobs/batch/record.h"
#include "jobs/batch/record_forms.h"
#include "terminal/errors.h"
#include "terminal/writing.h"

namespace vask::command {

BatchOutput::BatchOutput(const BatchArguments& arguments, const std::string& settings, Clips* clips)
    : arguments_(arguments), settings_(settings), clips_(clips) {
  if (arguments.output != "-") file_.emplace(arguments.output, arguments.resume);
  if (!is_finished() && !arguments.unordered) return;
  while (const std::optional<Json> record = Old()) ++old_unordered_[HashOf(KeyOf(*record))];
}

// The next record of an earlier run.
std::optional<Json> BatchOutput::Old() {
  if (is_past_old_ || !file_) return std::nullopt;
  const std::optional<std::string> line = file_->Old();
  is_past_old_ = !line;
  if (!line) return std::nullopt;
  const Json record = ParseJson(*line);
  if (!record.is_object() || record.value("settings", Json()) != settings_) {
    throw FatalError(Printable(arguments_.output) +
                     ": an earlier run wrote it with other options, or another " +
                     "version: remove it or choose another name");
  }
  Count(record);
  if (clips_ != nullptr) clips_->Resume(record);
  return record;
}

bool BatchOutput::Has(const Item& item) {
  if (arguments_.unordered) {
    const auto found = old_unordered_.find(HashOf(item.Key()));
    return found != old_unordered_.end() && found->second-- > 0;
  }
  const std::optional<Json> record = Old();
  if (record && KeyOf(*record) != item.Key()) {
    throw FatalError(Printable(arguments_.output) +
                     ": an earlier run read another manifest, or without "
                     "--unordered: the record of " +
                     Printable(item.id) + " is not where it should be");
  }
  return record.has_value();
}

void BatchOutput::EndOfManifest() {
  bool is_more = Old().has_value();
  for (const auto& [key, count] : old_unordered_) is_more |= count > 0;
  if (is_more) {
    throw FatalError(Printable(arguments_.output) + ": an earlier run read a longer manifest: give that one");
  }
}

void BatchOutput::Write(Result result) {
  if (clips_ != nullptr) clips_->Place(result.record, result.clips);
  Count(result.record);
  const std::string lines = InForm(arguments_.form, result.record, arguments_.delivered);
  if (lines.empty() && IsError(result.record)) {
    line_.Hide();
    Note(result.record["error"].get<std::string>());
  }
  if (TerminalLine::Possible() && isatty(STDOUT_FILENO) == 0 && line_.Due()) {
    line_.Show(std::to_string(records_) + " records, " + std::to_string(failures_) + " of them errors");
  }
  file_ ? file_->Append(lines) : WriteOutput(lines);
  CheckFailures();
}

void BatchOutput::Count(const Json& record) {
  ++records_;
  failures_ += IsError(record);
}

void BatchOutput::CheckFailures() const {
  if (failures_ <= arguments_.most_failures.count.value_or(failures_)) return;
  throw FatalError(std::to_string(failures_) +
                   " inputs failed, more than --max-failures allows: see their records");
}

void BatchOutput::Finish() {
  line_.Hide();
  const double allowed = arguments_.most_failures.percent.value_or(100) / 100 * static_cast<double>(records_);
  if (static_cast<double>(failures_) > allowed) {
    throw FatalError(std::to_string(failures_) + " of " + std::to_string(records_) +
                     " inputs failed, more than --max-failures allows: see their records");
  }
  if (clips_ != nullptr) clips_->Finish();
  if (file_) file_->Finish();
}

}  // namespace vask::command
