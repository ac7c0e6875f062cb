// Keeps what the library prints out of the command's own output.
#pragma once

#include <functional>
#include <string>

namespace vask::command {

// Calls into the library run in here: what they print goes to a file in memory, and the first line of it that
// reports a fault is the complaint.
class MessageCatcher {
 public:
  MessageCatcher();
  ~MessageCatcher();
  MessageCatcher(const MessageCatcher&) = delete;
  MessageCatcher& operator=(const MessageCatcher&) = delete;

  std::string Complaint(const std::function<void()>& call);  // "" if there is none
  void Run(const std::function<void()>& call);               // throws FatalError with the complaint

 private:
  std::string TakeComplaint();

  int fd_;
};

}  // namespace vask::command
