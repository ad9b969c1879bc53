// Where Windows looks for libraries.
#pragma once

namespace orvane::tool {

// From here on libraries come from the program's folder and the system's only. liborvane.dll, which is loaded before
// any code of ours, comes from the program's folder: Windows looks there first.
void RestrictLibrarySearch();

}  // namespace orvane::tool
