// What the files of a recording are called in DIR: a matter of its own name, not of its place among the
// others.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace vask::command {

// The whole name of an input, "-" for standard input: two inputs with the same are one recording.
std::string PathOf(const std::string& input);

// For the path of each input the BASE of DIR/BASE-001.wav: its name without the ending; where several have
// the same, with _ and the name of the folder behind it; where that is not enough, with figures that are made
// from the path. Those in `kept` have theirs already, and no other gets it.
std::map<std::string, std::string> BasesOf(const std::vector<std::string>& inputs,
                                           std::map<std::string, std::string> kept = {});

}  // namespace vask::command
