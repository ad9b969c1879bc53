// Where Windows looks for libraries.
#pragma once

namespace orvane::tool {

// From now on libraries are loaded only from the program's folder and the system's. liborvane.dll is loaded before any
// code of ours runs, and comes from the program's folder: Windows searches there first.
void RestrictLibrarySearch();

}  // namespace orvane::tool
