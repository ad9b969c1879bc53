// The textures and buffers of a frame, before and after the network.
#pragma once

#include <cstdint>

#include "engine/network_graph.h"
#include "gpu/descriptor_heap.h"
#include "gpu/platform.h"

namespace orvane {

// The views of a layout shader: first what it reads, then what it writes.
enum DescriptorSlot : uint32_t { kReadSlot = 0, kWriteSlot = 1, kDescriptorSlotCount = 2 };

// Created once per frame size. Between frames the input texture is in the state GENERIC_READ, the output texture in
// UNORDERED_ACCESS.
struct FrameResources {
    ComPtr<ID3D12Resource> inputTexture;
    ComPtr<ID3D12Resource> uploadHeap;
    DescriptorHeap textureDescriptors;       // of image2tensor, written once
    DescriptorHeap depthToSpaceDescriptors;  // of DepthToSpaceCRD, written in every frame
    ComPtr<ID3D12Resource> outputTexture;
    ComPtr<ID3D12Resource> m_outputTextureReadback;
    D3D12_PLACED_SUBRESOURCE_FOOTPRINT readbackFootprint{};  // how the image lies in it
};

// Creates the textures, the buffers and the descriptors of image2tensor, which writes the input of `graph`. 0, or -1
// with the reason logged: a failing call, or a frame that is too large for a texture or for views of `maxViewElements`
// elements. `depthToSpaceDescriptors` is not changed.
int32_t CreateFrameResources(ID3D12Device& device, FrameSize inputSize, const NetworkGraph& graph,
                             uint64_t maxViewElements, FrameResources& frame);

// Views of a buffer of half-precision values, as the layout shaders read and write tensors.
void CreateTensorReadView(ID3D12Device& device, ID3D12Resource& tensor, D3D12_CPU_DESCRIPTOR_HANDLE handle);
void CreateTensorWriteView(ID3D12Device& device, ID3D12Resource& tensor, D3D12_CPU_DESCRIPTOR_HANDLE handle);

// View of the output texture for DepthToSpaceCRD.
void CreateImageWriteView(ID3D12Device& device, ID3D12Resource& texture, D3D12_CPU_DESCRIPTOR_HANDLE handle);

}  // namespace orvane
