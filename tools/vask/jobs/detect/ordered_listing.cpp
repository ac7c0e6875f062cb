#include "jobs/detect/ordered_listing.h"

#include <cstdio>

#include "terminal/writing.h"

namespace vask::command {
namespace {

constexpr size_t kMostWaiting = 8192;  // a few megabytes

}  // namespace

OrderedListing::OrderedListing(Listing* listing) : listing_(listing) {}

void OrderedListing::Begin() {
  if (listing_ != nullptr) Write(listing_->Begin());
}

void OrderedListing::End() {
  line_.Hide();
  if (listing_ != nullptr) Write(listing_->End());
}

void OrderedListing::Open(size_t input, const Recording& recording) {
  std::unique_lock lock(mutex_);
  Input& opened = WaitForRoom(lock, input);
  opened.recording = recording;
  opened.opened = true;
  ++waiting_;
  if (input == first_) ListFirst();
}

void OrderedListing::Add(size_t input, const Segment& segment) {
  std::unique_lock lock(mutex_);
  WaitForRoom(lock, input).waiting.push_back(segment);
  ++waiting_;
  if (input == first_) ListFirst();
}

void OrderedListing::Close(size_t input, const Recording& recording,
                           const std::optional<FileError>& shortfall) {
  const std::lock_guard lock(mutex_);
  inputs_[input].recording = recording;
  if (shortfall) {
    inputs_[input].file = recording.file;
    inputs_[input].error = shortfall->what();
  }
  inputs_[input].closed = inputs_[input].over = true;
  if (input == first_) ListFirst();
}

void OrderedListing::Note(size_t input, const std::string& text) {
  const std::lock_guard lock(mutex_);
  inputs_[input].note = text;
}

void OrderedListing::Fail(size_t input, const std::string& file, const FileError& error) {
  const std::lock_guard lock(mutex_);
  inputs_[input].file = file;
  inputs_[input].error = error.what();
  inputs_[input].over = true;
  if (input == first_) ListFirst();
}

void OrderedListing::Stop() {
  const std::lock_guard lock(mutex_);
  stopped_ = true;
  room_.notify_all();
}

void OrderedListing::ThrowIfStopped() {
  const std::lock_guard lock(mutex_);
  if (stopped_) throw Stopped();
}

OrderedListing::Input& OrderedListing::WaitForRoom(std::unique_lock<std::mutex>& lock, size_t number) {
  room_.wait(lock, [&] { return stopped_ || number == first_ || waiting_ < kMostWaiting; });
  if (stopped_) throw Stopped();
  return inputs_[number];
}

void OrderedListing::ListFirst() {
  for (auto input = inputs_.find(first_); input != inputs_.end(); input = inputs_.find(first_)) {
    List(input->second);
    if (!input->second.over) break;
    inputs_.erase(input);
    ++first_;
  }
  room_.notify_all();
}

void OrderedListing::List(Input& input) {
  std::string text;
  if (input.opened && !input.opening_listed) {
    --waiting_;
    if (listing_ != nullptr) text += listing_->Open(input.recording);
    input.opening_listed = true;
  }
  waiting_ -= input.waiting.size();
  for (const Segment& segment : input.waiting) {
    if (listing_ != nullptr) text += listing_->Add(input.recording, segment);
  }
  input.waiting.clear();
  if (input.closed && listing_ != nullptr) text += listing_->Close(input.recording);
  if (input.over && input.note) {
    line_.Hide();
    std::fprintf(stderr, "vask: %s\n", input.note->c_str());
  }
  if (input.error) {
    line_.Hide();
    std::fprintf(stderr, "vask: %s\n", input.error->c_str());
    const std::string prefix = Printable(*input.file) + ": ";
    const bool names_it = input.error->compare(0, prefix.size(), prefix) == 0;
    const std::string message = names_it ? input.error->substr(prefix.size()) : *input.error;
    if (listing_ != nullptr) text += listing_->Error(*input.file, message);
  }
  Write(text);
}

void OrderedListing::Write(const std::string& text) {
  if (text.empty()) return;
  line_.Hide();
  WriteOutput(text);
}

}  // namespace vask::command
