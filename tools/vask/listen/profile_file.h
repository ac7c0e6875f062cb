// --profile FILE: values of the detector's profile as text or JSON.
#pragma once

#include <vask/epd.h>

#include <string>

namespace vask::command {

// Puts the values that the file names into `profile`; the others stay. Either an object of JSON, or lines
// "name value" (or "name = value", "name: value"), with comments behind #. Throws FileError.
void ReadProfileFile(const std::string& path, epd_profile& profile);

}  // namespace vask::command
