// Results that several threads find in parallel, listed on standard output in the order of the inputs.
#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "listing/listing.h"
#include "terminal/errors.h"
#include "terminal/terminal_line.h"

namespace vask::command {

// What is found in the first unfinished input is listed at once. What is found in later ones is held back, up
// to a limit on the segments; then their threads wait too. Safe to call from any thread, each input from one.
class OrderedListing {
 public:
  struct Stopped {};  // thrown to the threads that must give up

  // Without a listing only failures are reported.
  explicit OrderedListing(Listing* listing);

  void Begin();
  void Open(size_t input, const Recording& recording);
  void Add(size_t input, const Segment& segment);
  // `shortfall` is what is wrong if the recording is not complete.
  void Close(size_t input, const Recording& recording, const std::optional<FileError>& shortfall = {});
  // To standard error, without an end of line, before the input is closed.
  void Note(size_t input, const std::string& text);
  void Fail(size_t input, const std::string& file, const FileError& error);  // instead of Close()
  void End();

  void Stop();
  void ThrowIfStopped();  // Stopped

  // Shows a line at the bottom of the terminal, clear of other output, no more often than a person can see.
  template <typename Text>
  void Show(const Text& text) {
    if (!TerminalLine::Possible()) return;
    const std::lock_guard lock(mutex_);
    if (line_.Due()) line_.Show(text());
  }

 private:
  struct Input {
    Recording recording;
    bool opened = false, opening_listed = false, closed = false, over = false;
    std::vector<Segment> waiting;
    std::optional<std::string> file, error, note;
  };

  Input& WaitForRoom(std::unique_lock<std::mutex>& lock, size_t number);
  void ListFirst();  // all there is of the first input, and of those after it if that is done
  void List(Input& input);
  void Write(const std::string& text);

  Listing* listing_;
  std::mutex mutex_;
  std::condition_variable room_;
  TerminalLine line_;
  std::map<size_t, Input> inputs_;  // those begun and not yet listed to the end
  size_t first_ = 0;
  size_t waiting_ = 0;  // inputs and segments that cannot be listed yet
  bool stopped_ = false;
};

}  // namespace vask::command
