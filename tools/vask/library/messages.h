// What the library prints, kept off the command's own output.
#pragma once

#include <functional>
#include <string>

namespace vask::command {

// Calls into the library run in here: what they print goes to a file in memory, and the first line of it that
// is more than information is their complaint.
class MessageCatcher {
 public:
  MessageCatcher();
  ~MessageCatcher();
  MessageCatcher(const MessageCatcher&) = delete;
  MessageCatcher& operator=(const MessageCatcher&) = delete;

  std::string Complaint(const std::function<void()>& call);  // "" without one
  void Run(const std::function<void()>& call);               // throws FatalError with the complaint

 private:
  std::string TakeComplaint();

  int fd_;
};

}  // namespace vask::command
