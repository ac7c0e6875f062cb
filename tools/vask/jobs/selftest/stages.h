// The stages of the library, each over built-in signals.
#pragma once

#include <functional>
#include <span>
#include <string>

#include "jobs/selftest/digest.h"

namespace vask::command {

struct Stage {
  std::string name;
  bool needs_model;                  // of the learned detector
  std::function<void(Digest&)> run;  // throws FatalError if there is no memory
};

// In the order in which they depend on each other: the first one that differs is the cause.
std::span<const Stage> Stages();

}  // namespace vask::command
