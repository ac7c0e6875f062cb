// How one line of each kind of manifest becomes an item.
#pragma once

#include <string>
#include <vector>

#include "jobs/batch/manifest.h"

namespace vask::command {

// Each fills the item's place or recording, span, channel, id and what else the line gives. Throws Refusal.
void ReadJsonLine(const std::string& line, Item& item);
void ReadCsvLine(const std::string& line, const std::vector<std::string>& header, Item& item);
void ReadScpLine(const std::string& line, Item& item);       // ID PATH, or ID COMMAND |
void ReadSegmentsLine(const std::string& line, Item& item);  // ID RECORDING START END

// The fields of a line of CSV. Throws Refusal.
std::vector<std::string> CsvFields(const std::string& line);

}  // namespace vask::command
