#pragma once
#include "../posix.h"
