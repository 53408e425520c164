// The capability word, for those who look inside.
#pragma once

#include "api/types.h"

// As the last call of kov_init_get_platform_cap or of a test left it; 0 at load.
extern u32 kov_platform_cap;
