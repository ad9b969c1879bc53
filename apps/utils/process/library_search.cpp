#include "apps/utils/process/library_search.h"

#include <windows.h>

namespace orvane::tool {

void RestrictLibrarySearch() {
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_APPLICATION_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    // For code that uses the older search: leaves out the current folder.
    SetDllDirectoryW(L"");
}

}  // namespace orvane::tool
