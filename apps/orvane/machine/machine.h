// What the machine has of what the library needs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orvane::tool {

struct GraphicsAdapter {
    uint32_t index = 0;  // in the order in which Windows lists them
    std::string name;
    uint32_t vendorId = 0;  // by the PCI register of vendors
    uint32_t deviceId = 0;
    uint64_t dedicatedBytes = 0;  // memory of its own
    uint64_t sharedBytes = 0;     // of the system's that it may use
    bool isSoftware = false;
    bool isUsed = false;  // the one that the library takes
};

// A loaded library; both empty when it cannot be loaded.
struct LibraryFile {
    std::string path;
    std::string version;
};

struct Machine {
    bool isSupported = false;
    uint32_t status = 0;  // an orvane_check_status when it is not
    std::string windowsVersion;
    std::vector<GraphicsAdapter> adapters;  // all of them, empty when Windows does not list any
    uint32_t performanceClass = 0;          // an orvane_performance_class
    LibraryFile directml;
};

// Asks the library and Windows. Takes a while: it loads the graphics libraries.
Machine ExamineMachine();

}  // namespace orvane::tool
