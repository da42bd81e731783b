// A lower layer that reaches up: the layering check must report this file.
#include "high/High.h"
#include "../high/High.h"
#include "low/LowToo.h"
#include <string>
