// Detectors with the profile that the settings select.
#include <vask/epd.h>
#include <vask/settings.h>

#include "epd/detector_lifecycle.h"
#include "epd/profiles.h"

extern "C" {

void init_energy_epd_conprm(energy_epd_prm* prm) {
  if (prm != nullptr) prm->profile = vask::DeviceProfile(deviceID, osID);
}

int32_t init_energy_epd_prm(energy_epd_prm* prm, int32_t frame_shift) {
  return prm != nullptr && vask::CreateDetector(*prm, frame_shift, vask::DeviceProfile(deviceID, osID)) ? 1
                                                                                                        : 0;
}

}  // extern "C"
