#pragma once
#include_next <fcntl.h>

#include "posix.h"
