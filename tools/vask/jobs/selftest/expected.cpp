#include "jobs/selftest/expected.h"

#include "files/embedded.h"

VASK_EMBED(vask_selftest_digests, VASK_SELFTEST_DIGESTS)
VASK_EMBED(vask_selftest_cases, VASK_SELFTEST_CASES)

namespace vask::command {

std::string_view ExpectedDigests() { return vask_selftest_digests(); }
std::string_view ReplayedCases() { return vask_selftest_cases(); }

}  // namespace vask::command
