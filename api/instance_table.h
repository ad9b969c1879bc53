// The open instances of the library and the operations on them. Instances are found by their handle.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "api/orvane.h"
#include "engine/sample.h"

namespace orvane {

// Initialises COM with the first counted instance and uninitialises it with the last one, on whichever threads these
// are opened and closed. Simultaneous opens and closes are not synchronised here.
class ComCounter {
public:
    // 0, or -1 with the reason logged and nothing counted. It is not an error if COM is already initialised in another
    // mode.
    int32_t Add();
    void Remove();

private:
    std::atomic<uint32_t> m_count = 0;
};

// Owns every engine that a host has a handle of. The handle is the engine's address. One lock serialises the frames
// of all instances and every change of the table. The functions implement the exports of the same names.
class InstanceTable {
public:
    orvane_handle Open(const orvane_open_param& param);
    int Process(orvane_handle handle, orvane_frame& output, const orvane_frame& input);
    int Close(orvane_handle handle);

private:
    // Rebuilds an engine for the size of a frame, or closes the instance if that fails.
    int ChangeSize(orvane_handle handle, Sample& engine, const orvane_frame& output, const orvane_frame& input);

    std::mutex m_lock;
    ComCounter m_comCounter;
    std::unordered_map<orvane_handle, std::unique_ptr<Sample>> m_engines;
};

}  // namespace orvane
