#pragma once
#include_next <unistd.h>

#include "posix.h"
