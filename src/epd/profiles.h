// The device tuning profiles of the endpoint detector.
#pragma once

#include <vask/epd.h>

#include <cstdint>

namespace vask {

// The profile of a handset; unlisted devices get the general one.
epd_profile DeviceProfile(int32_t device, int32_t os);

// The fixed reference profile, not selected by any device.
extern const epd_profile kReferenceProfile;

}  // namespace vask
