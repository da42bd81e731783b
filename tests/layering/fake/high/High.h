// The higher layer uses the lower one, as it may.
#include "low/Low.h"
