// JSON from outside: a profile, or a ledger that someone else may have written.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace vask::command {

using Json = nlohmann::ordered_json;

// The value of a text; a discarded one if the text is not JSON, or nests deeper than anything of ours: the
// functions that write a value are recursive.
Json ParseJson(const std::string& text);

// With U+FFFD for what is not UTF-8.
std::string Utf8(const std::string& bytes);

// Seconds or a share, to a millionth: a sample lasts 5 us or more.
double Rounded(double value);

// A value on one line, for a terminal too.
std::string LineOf(const Json& value);

}  // namespace vask::command
