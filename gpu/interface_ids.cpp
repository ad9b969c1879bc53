// Defines the identifiers that Direct3D's headers declare as variables, for tool chains whose libraries lack them. The
// linker uses only the ones that are needed.
#include <initguid.h>
//
#include "gpu/platform.h"
