#include <vask/export.h>

#define VASK_TEXT_OF(number) #number
#define VASK_TEXT(number) VASK_TEXT_OF(number)

extern "C" const char* vask_version() {
  return VASK_TEXT(VASK_VERSION_MAJOR) "." VASK_TEXT(VASK_VERSION_MINOR) "." VASK_TEXT(VASK_VERSION_PATCH);
}
