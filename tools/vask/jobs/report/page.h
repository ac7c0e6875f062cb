// The report's page: the built viewer with the data of one recording, in one file.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <string_view>

#include "files/output_file.h"

namespace vask::command {

// Each piece of data becomes an element with the id data-NAME, which the viewer looks for. Without
// Commit() nothing is left.
class Page {
 public:
  explicit Page(const std::string& target);

  void AddJson(std::string_view name, const nlohmann::json& value);       // its strings may hold any bytes
  void AddFile(std::string_view name, std::span<const uint8_t> bytes);    // in base64
  void AddValues(std::string_view name, std::span<const uint8_t> bytes);  // deflated, then in base64
  void Commit();

 private:
  void Append(std::string_view text);
  void AddElement(std::string_view name, std::string_view type, std::string_view text);

  OutputFile file_;
};

}  // namespace vask::command
