// The parts of one engine, put together so that a frame can be taken apart.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "bench/workers/changed_operators.h"
#include "bench/workers/worker.h"
#include "engine/directml_context.h"
#include "engine/frame_recorder.h"
#include "engine/frame_resources.h"
#include "engine/layout_shaders.h"
#include "engine/network_graph.h"
#include "engine/operator_bindings.h"
#include "gpu/device_resources.h"

namespace orvane::bench {

// How operators are compiled.
struct OperatorVariant {
    TensorLayout layout = TensorLayout::kNchw;
    DML_EXECUTION_FLAGS flags = DML_EXECUTION_FLAG_NONE;
    OperatorChanges changes;
};

// Holds what orvane::Sample holds and runs the same steps. Throws when something fails.
class EngineFrame {
public:
    // With a variant, operators are compiled in its way and not in the library's. Appends the times of its steps, in
    // milliseconds: Direct3D's device, DirectML's, shaders, network, initialization of the operators, textures.
    EngineFrame(const OpenArguments& open, const std::optional<OperatorVariant>& variant, std::vector<double>& times);

    // One frame as the library processes it, from pixels to pixels.
    void RunWhole();
    // The convolutions alone: one command list with the same operators and barriers, one submission, one wait.
    void RunConvolutions();

    // One frame with its parts' times in milliseconds: recording (with the copy into the upload heap), then, as the
    // queue stamps them, upload, image2tensor, each layer, DepthToSpaceCRD and the copy to the read-back buffer, then
    // the whole submission with its wait, and the rows to the host.
    std::vector<double> RunApart();

private:
    // `stamp` is called before the first step and after each.
    void RecordFrame(const std::function<void()>& stamp);
    void RecordLayers(const std::function<void()>& stamp);
    void Submit();
    void ReadBack();
    void CreateStamps();
    std::vector<double> ReadStamps() const;

    FrameSize m_size;
    std::vector<LayerShape> m_layers;
    std::vector<uint8_t> m_input;
    std::vector<uint8_t> m_output;
    DX::DeviceResources m_resources;
    DirectMLContext m_directML;
    LayoutShaders m_shaders;
    NetworkGraph m_network;
    OperatorBindings m_bindings;
    FrameResources m_frame;
    ComPtr<ID3D12QueryHeap> m_stamps;
    ComPtr<ID3D12Resource> m_stampValues;
    UINT m_stampCount;
    uint64_t m_stampFrequency = 0;  // per second
};

}  // namespace orvane::bench
