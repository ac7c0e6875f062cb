#include "engine/record.h"

namespace vask {

epd_engine NewEngineRecord() { return {}; }

}  // namespace vask
