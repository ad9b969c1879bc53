// Defines the identifiers that Direct3D's headers declare as variables, for tool chains whose libraries lack them. The
// linker takes what is used.
#include <initguid.h>
//
#include "gpu/platform.h"
