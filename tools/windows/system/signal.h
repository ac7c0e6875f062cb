#pragma once
#include_next <signal.h>

#include "posix.h"
