// The parts of this machine that the library needs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orvane::tool {

struct GraphicsAdapter {
    uint32_t index = 0;  // in Windows' order
    std::string name;
    uint32_t vendorId = 0;  // PCI vendor identifier
    uint32_t deviceId = 0;
    uint64_t dedicatedBytes = 0;  // its own memory
    uint64_t sharedBytes = 0;     // system memory that it may use
    bool isSoftware = false;
    bool isUsed = false;  // the one that the library uses
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
    std::vector<GraphicsAdapter> adapters;  // all; empty when Windows lists none
    uint32_t performanceClass = 0;          // an orvane_performance_class
    LibraryFile directml;
};

// Queries the library and Windows. Takes a while, because it loads the graphics libraries.
Machine ExamineMachine();

}  // namespace orvane::tool
