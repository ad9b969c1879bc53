// One open instance: everything from the device to the textures of one frame size.
#pragma once

#include <cstdint>
#include <vector>

#include "api/orvane.h"
#include "engine/directml_context.h"
#include "engine/frame_resources.h"
#include "engine/layout_shaders.h"
#include "engine/network_graph.h"
#include "engine/operator_bindings.h"
#include "gpu/device_resources.h"
#include "model/network.h"
#include "model/weight_loader.h"

namespace orvane {

// The frame sizes and the format that an engine is set up for.
struct FrameGeometry {
    FrameSize input;
    FrameSize output;          // always twice the input
    uint32_t pixelFormat = 0;  // the host's tag for output frames
};

// Used by one thread at a time. Call Init, InitResources and then Infer for each frame. Release and Reinit rebuild it
// for another frame size on the same device. A step that fails rolls nothing back: what exists by then stays until
// Release or destruction, and the owner destroys an engine whose set-up failed.
//
// All functions that return an int32_t return 0, or another value with the reason logged.
class Sample final : public DX::IDeviceNotify {
public:
    Sample();
    // Waits for the GPU, then releases everything.
    ~Sample();
    Sample(const Sample&) = delete;
    Sample& operator=(const Sample&) = delete;

    // Creates the device and the network of the record. Throws what the upload of the weights throws.
    int32_t Init(const orvane_open_param* record);
    // Prepares the network and the frame textures to run.
    int32_t InitResources();

    // Releases everything that depends on the frame size. The device, the shaders and the weights on the host stay.
    void Release();
    // Rebuilds after Release for the size in `record`. Its model must be the one that the engine was opened with.
    int32_t Reinit(const orvane_open_param* record);

    // Whether a frame can be processed.
    bool IsReady() const;
    // Upscales one frame; see orvane_process. `output` may be null: the frame runs, but is not copied.
    int32_t Infer(const orvane_frame* input, orvane_frame* output);

    const FrameGeometry& Geometry() const { return m_geometry; }
    // The record of the last set-up.
    const orvane_open_param& OpenParams() const { return m_openParams; }

    // Makes the engine permanently not ready.
    void DeviceLost() override;
    void DeviceRestored() override {}

private:
    void SetGeometry(const orvane_open_param& record);
    int32_t CreateDirectMLResources();
    int32_t InitializeDirectMLResources();
    int32_t InitTextureResource();
    int32_t RecordFrame(const orvane_frame& input);
    int32_t CheckDevices() const;
    int32_t ReadBack(const orvane_frame& input, orvane_frame& output) const;

    // Released in reverse order, so the device outlives everything that lives on it.
    FrameGeometry m_geometry;
    orvane_open_param m_openParams{};
    std::vector<int64_t> m_frameTimes;  // microseconds, one per processed frame
    DX::DeviceResources m_deviceResources;
    DirectMLContext m_directML;
    LayoutShaders m_shaders;
    NetworkConfig m_networkConfig;
    std::vector<LayerShape> m_layers;
    WeightLoader m_weightLoader;
    // Of the current frame size:
    NetworkGraph m_network;
    OperatorBindings m_bindings;
    FrameResources m_frame;
    bool m_initialized = false;
};

}  // namespace orvane
