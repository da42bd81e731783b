// A header of the lower layer that only uses its own layer.
#include <vector>
