// --profile FILE: values of the detector's profile as text or JSON.
#pragma once

#include <vask/epd.h>

#include <string>

namespace vask::command {

// Sets the values of `profile` that the file names; the others are kept. The file is a JSON object, or lines
// "name value" (or "name = value", "name: value"), with comments after #. Throws FileError.
void ReadProfileFile(const std::string& path, epd_profile& profile);

}  // namespace vask::command
