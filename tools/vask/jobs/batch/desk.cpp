#include "jobs/batch/desk.h"

#include <utility>

#include "terminal/signals.h"

namespace vask::command {
namespace {

constexpr size_t kMostTogether = 256;  // lines of a recording

bool AreOfOneSound(const Item& a, const Item& b) {
  return a.file == b.file && a.channel == b.channel && a.place.is_command == b.place.is_command;
}

}  // namespace

void Desk::Put(Item item) {
  std::unique_lock lock(mutex_);
  room_.wait(lock, [&] { return stopped_ || put_ - written_ < kWindow; });
  if (stopped_) throw Stopped();
  item.number = put_++;
  waiting_.push_back(std::move(item));
  work_.notify_one();
}

void Desk::Close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  work_.notify_all();
}

std::vector<Item> Desk::Take() {
  std::unique_lock lock(mutex_);
  work_.wait(lock, [&] { return stopped_ || closed_ || !waiting_.empty(); });
  if (stopped_) throw Stopped();
  std::vector<Item> items;
  if (waiting_.empty()) return items;
  items.push_back(std::move(waiting_.front()));
  waiting_.pop_front();
  std::erase_if(waiting_, [&](Item& item) {
    if (items.size() == kMostTogether || !AreOfOneSound(item, items[0])) return false;
    items.push_back(std::move(item));
    return true;
  });
  return items;
}

void Desk::Done(uint64_t number, Result result) {
  const std::lock_guard lock(mutex_);
  if (stopped_) throw Stopped();
  if (unordered_) {
    write_(std::move(result));
    ++written_;
  } else {
    held_back_.emplace(number, std::move(result));
    for (auto next = held_back_.begin(); next != held_back_.end() && next->first == written_;
         next = held_back_.erase(next), ++written_) {
      write_(std::move(next->second));
    }
  }
  room_.notify_one();
}

void Desk::Stop(std::exception_ptr failure) {
  const std::lock_guard lock(mutex_);
  if (!stopped_) failure_ = std::move(failure);
  stopped_ = true;
  room_.notify_all();
  work_.notify_all();
  EndWaits();
}

void Desk::ThrowIfStopped() {
  CheckSignals();
  const std::lock_guard lock(mutex_);
  if (stopped_) throw Stopped();
}

void Desk::ThrowFailure() {
  const std::lock_guard lock(mutex_);
  if (failure_) std::rethrow_exception(failure_);
}

}  // namespace vask::command
