#include "tests/hooks/call_descriptions.h"

#include <cwchar>
#include <map>
#include <vector>

#include "tests/hooks/descriptors.h"

namespace orvane::test {
namespace {

using Names = std::map<UINT, const char*>;

// The name of a value, or the value itself.
std::string NameIn(const Names& names, UINT value) {
    const auto name = names.find(value);
    return name != names.end() ? name->second : std::to_string(value);
}

// " label value" for a value that is not the usual one.
template <typename Value>
std::string Unless(UINT64 usual, const char* label, Value value) {
    const auto number = static_cast<UINT64>(value);
    return number != usual ? Text(' ', label, ' ', number) : "";
}

std::string DescribeValues(const UINT* values, UINT count) {
    std::string text = "{";
    for (UINT i = 0; i < count; ++i) {
        text += Text(i == 0 ? "" : ", ", values[i]);
    }
    return text + "}";
}

}  // namespace

std::string Describe(const std::string& text) {
    return text;
}

std::string Describe(const wchar_t* text) {
    return {text, text + std::wcslen(text)};  // all are ASCII
}

std::string Describe(void** object) {
    return object != nullptr && NameOf(*object) != "unknown" ? "-> " + NameOf(*object) : "";
}

std::string Describe(D3D12_RESOURCE_STATES states) {
    static const Names names{{D3D12_RESOURCE_STATE_COMMON, "COMMON"},
                             {D3D12_RESOURCE_STATE_UNORDERED_ACCESS, "UNORDERED_ACCESS"},
                             {D3D12_RESOURCE_STATE_NON_PIXEL_SHADER_RESOURCE, "NON_PIXEL_SHADER_RESOURCE"},
                             {D3D12_RESOURCE_STATE_COPY_DEST, "COPY_DEST"},
                             {D3D12_RESOURCE_STATE_COPY_SOURCE, "COPY_SOURCE"},
                             {D3D12_RESOURCE_STATE_GENERIC_READ, "GENERIC_READ"}};
    return NameIn(names, states);
}

std::string Describe(DXGI_FORMAT format) {
    static const Names names{{DXGI_FORMAT_UNKNOWN, "UNKNOWN"},
                             {DXGI_FORMAT_R8G8B8A8_UNORM, "R8G8B8A8_UNORM"},
                             {DXGI_FORMAT_R16_FLOAT, "R16_FLOAT"}};
    return NameIn(names, format);
}

std::string Describe(D3D12_COMMAND_LIST_TYPE type) {
    return NameIn({{D3D12_COMMAND_LIST_TYPE_DIRECT, "DIRECT"}}, static_cast<UINT>(type));
}

std::string Describe(const D3D12_COMMAND_QUEUE_DESC* desc) {
    return Describe(desc->Type) + Unless(0, "priority", desc->Priority) + Unless(0, "flags", desc->Flags) +
           Unless(0, "node", desc->NodeMask);
}

std::string Describe(const D3D12_DESCRIPTOR_HEAP_DESC* desc) {
    return Text(desc->NumDescriptors, " of type ",
                NameIn({{D3D12_DESCRIPTOR_HEAP_TYPE_CBV_SRV_UAV, "CBV_SRV_UAV"}}, desc->Type),
                desc->Flags == D3D12_DESCRIPTOR_HEAP_FLAG_SHADER_VISIBLE ? " shader visible" : "",
                Unless(1, "flags", desc->Flags), Unless(0, "node", desc->NodeMask));
}

std::string Describe(D3D12_CPU_DESCRIPTOR_HANDLE handle) {
    return SlotOf(handle);
}

std::string Describe(D3D12_GPU_DESCRIPTOR_HANDLE handle) {
    return SlotOf(handle);
}

std::string Describe(const D3D12_SHADER_RESOURCE_VIEW_DESC* desc) {
    if (desc == nullptr) {
        return "of everything";
    }
    const std::string text = Text(Describe(desc->Format), Unless(D3D12_DEFAULT_SHADER_4_COMPONENT_MAPPING, "mapping",
                                                                 desc->Shader4ComponentMapping));
    if (desc->ViewDimension == D3D12_SRV_DIMENSION_BUFFER) {
        const D3D12_BUFFER_SRV& view = desc->Buffer;
        return Text("buffer of ", view.NumElements, " ", text, Unless(0, "from", view.FirstElement),
                    Unless(0, "structures of", view.StructureByteStride), Unless(0, "flags", view.Flags));
    }
    const D3D12_TEX2D_SRV& view = desc->Texture2D;
    return Text(NameIn({{D3D12_SRV_DIMENSION_TEXTURE2D, "texture"}}, desc->ViewDimension), " of ", text,
                Unless(0, "from mip", view.MostDetailedMip), Unless(1, "mips", view.MipLevels),
                Unless(0, "plane", view.PlaneSlice), view.ResourceMinLODClamp != 0 ? " clamped" : "");
}

std::string Describe(const D3D12_UNORDERED_ACCESS_VIEW_DESC* desc) {
    if (desc == nullptr) {
        return "of everything";
    }
    if (desc->ViewDimension == D3D12_UAV_DIMENSION_BUFFER) {
        const D3D12_BUFFER_UAV& view = desc->Buffer;
        return Text("buffer of ", view.NumElements, " ", Describe(desc->Format), Unless(0, "from", view.FirstElement),
                    Unless(0, "structures of", view.StructureByteStride),
                    Unless(0, "counter at", view.CounterOffsetInBytes), Unless(0, "flags", view.Flags));
    }
    const D3D12_TEX2D_UAV& view = desc->Texture2D;
    return Text(NameIn({{D3D12_UAV_DIMENSION_TEXTURE2D, "texture"}}, desc->ViewDimension), " of ",
                Describe(desc->Format), Unless(0, "mip", view.MipSlice), Unless(0, "plane", view.PlaneSlice));
}

std::string Describe(const D3D12_ROOT_PARAMETER& parameter) {
    const std::string visibility = Unless(0, "visibility", parameter.ShaderVisibility);
    if (parameter.ParameterType == D3D12_ROOT_PARAMETER_TYPE_32BIT_CONSTANTS) {
        const auto& [shaderRegister, space, count] = parameter.Constants;
        return Text(count, " constants b", shaderRegister, Unless(0, "space", space), visibility);
    }
    if (parameter.ParameterType != D3D12_ROOT_PARAMETER_TYPE_DESCRIPTOR_TABLE) {
        return Text("parameter of type ", parameter.ParameterType);
    }
    std::string text = "table of";
    for (UINT i = 0; i < parameter.DescriptorTable.NumDescriptorRanges; ++i) {
        const auto& [type, count, first, space, offset] = parameter.DescriptorTable.pDescriptorRanges[i];
        text += Text(" ", count, " from ",
                     NameIn({{D3D12_DESCRIPTOR_RANGE_TYPE_SRV, "t"}, {D3D12_DESCRIPTOR_RANGE_TYPE_UAV, "u"}}, type),
                     first, Unless(0, "space", space), Unless(D3D12_DESCRIPTOR_RANGE_OFFSET_APPEND, "offset", offset));
    }
    return text + visibility;
}

std::string Describe(const D3D12_ROOT_SIGNATURE_DESC* desc) {
    std::string text;
    for (UINT i = 0; i < desc->NumParameters; ++i) {
        text += (i == 0 ? "{" : ", ") + Describe(desc->pParameters[i]);
    }
    return text + "}" + Unless(0, "samplers", desc->NumStaticSamplers) + Unless(0, "flags", desc->Flags);
}

std::string Describe(const D3D12_COMPUTE_PIPELINE_STATE_DESC* desc) {
    return NameOf(desc->pRootSignature) + Unless(0, "node", desc->NodeMask) + Unless(0, "flags", desc->Flags);
}

std::string Describe(const D3D12_RANGE* range) {
    return range != nullptr ? Text(range->Begin, " to ", range->End) : "all of it";
}

std::string Describe(const D3D12_BOX* box) {
    return box != nullptr ? Text("box from ", box->left, ", ", box->top, " to ", box->right, ", ", box->bottom) : "";
}

std::string Describe(const D3D12_CLEAR_VALUE* value) {
    return value != nullptr ? "clear value of " + Describe(value->Format) : "";
}

std::string Describe(const DML_BINDING_DESC* binding) {
    if (binding->Type != DML_BINDING_TYPE_BUFFER) {
        return binding->Type == DML_BINDING_TYPE_NONE ? "none" : Text("binding of type ", binding->Type);
    }
    const auto& [buffer, offset, size] = *static_cast<const DML_BUFFER_BINDING*>(binding->Desc);
    return Text(NameOf(buffer), " ", offset, " + ", size);
}

std::string Describe(const DML_BINDING_TABLE_DESC* desc) {
    if (desc == nullptr) {
        return "none";
    }
    return Text(NameOf(desc->Dispatchable), " with ", desc->SizeInDescriptors, " from ",
                SlotOf(desc->CPUDescriptorHandle), " and ", SlotOf(desc->GPUDescriptorHandle));
}

std::string Describe(const D3D12_RESOURCE_BARRIER* barrier) {
    const std::string flags = Unless(0, "flags", barrier->Flags);
    if (barrier->Type == D3D12_RESOURCE_BARRIER_TYPE_UAV) {
        const ID3D12Resource* const resource = barrier->UAV.pResource;
        return "unordered access of " + (resource != nullptr ? NameOf(resource) : "all") + flags;
    }
    const auto& [resource, subresource, before, after] = barrier->Transition;
    return Text(NameOf(resource), subresource == D3D12_RESOURCE_BARRIER_ALL_SUBRESOURCES ? "" : " in part", " from ",
                Describe(before), " to ", Describe(after), flags);
}

std::string Describe(const D3D12_TEXTURE_COPY_LOCATION* location) {
    if (location->Type == D3D12_TEXTURE_COPY_TYPE_SUBRESOURCE_INDEX) {
        return NameOf(location->pResource) + Unless(0, "subresource", location->SubresourceIndex);
    }
    const auto& [format, width, height, depth, rowPitch] = location->PlacedFootprint.Footprint;
    return Text(NameOf(location->pResource), " ", width, " x ", height, " ", Describe(format),
                Unless(1, "depth", depth), " pitch ", rowPitch, Unless(0, "at", location->PlacedFootprint.Offset));
}

std::string Describe(const D3D12_HEAP_PROPERTIES* properties) {
    static const Names names{{D3D12_HEAP_TYPE_DEFAULT, "default heap"},
                             {D3D12_HEAP_TYPE_UPLOAD, "upload heap"},
                             {D3D12_HEAP_TYPE_READBACK, "readback heap"}};
    return NameIn(names, properties->Type) + Unless(0, "pages", properties->CPUPageProperty) +
           Unless(0, "pool", properties->MemoryPoolPreference) + Unless(1, "created on", properties->CreationNodeMask) +
           Unless(1, "visible to", properties->VisibleNodeMask);
}

std::string Describe(const D3D12_RESOURCE_DESC* desc) {
    const bool isBuffer = desc->Dimension == D3D12_RESOURCE_DIMENSION_BUFFER;
    const UINT usualLayout = isBuffer ? D3D12_TEXTURE_LAYOUT_ROW_MAJOR : D3D12_TEXTURE_LAYOUT_UNKNOWN;
    return Text(NameIn({{D3D12_RESOURCE_DIMENSION_BUFFER, "buffer"}, {D3D12_RESOURCE_DIMENSION_TEXTURE2D, "texture"}},
                       desc->Dimension),
                " ", desc->Width, " x ", desc->Height, " ", Describe(desc->Format), " flags ", desc->Flags,
                Unless(0, "aligned to", desc->Alignment), Unless(1, "depth", desc->DepthOrArraySize),
                Unless(1, "mips", desc->MipLevels), Unless(1, "samples", desc->SampleDesc.Count),
                Unless(0, "quality", desc->SampleDesc.Quality), Unless(usualLayout, "layout", desc->Layout));
}

namespace {

std::string DescribeTensor(const DML_TENSOR_DESC* tensor) {
    const auto& buffer = *static_cast<const DML_BUFFER_TENSOR_DESC*>(tensor->Desc);
    return Text("type ", buffer.DataType, " flags ", buffer.Flags, " sizes ",
                DescribeValues(buffer.Sizes, buffer.DimensionCount), " strides ",
                DescribeValues(buffer.Strides, buffer.DimensionCount), " bytes ", buffer.TotalTensorSizeInBytes,
                Unless(0, "aligned to", buffer.GuaranteedBaseOffsetAlignment));
}

}  // namespace

std::string Describe(const DML_OPERATOR_DESC* desc) {
    if (desc->Type != DML_OPERATOR_CONVOLUTION) {
        return Text("operator ", desc->Type);
    }
    const auto& convolution = *static_cast<const DML_CONVOLUTION_OPERATOR_DESC*>(desc->Desc);
    const auto values = [&convolution](const UINT* list) { return DescribeValues(list, convolution.DimensionCount); };
    const auto& sigmoid =
        *static_cast<const DML_ACTIVATION_HARD_SIGMOID_OPERATOR_DESC*>(convolution.FusedActivation->Desc);
    return Text("convolution\n    input ", DescribeTensor(convolution.InputTensor), "\n    filter ",
                DescribeTensor(convolution.FilterTensor), "\n    bias ", DescribeTensor(convolution.BiasTensor),
                "\n    output ", DescribeTensor(convolution.OutputTensor), "\n    mode ", convolution.Mode,
                " direction ", convolution.Direction, " strides ", values(convolution.Strides), " dilations ",
                values(convolution.Dilations), " padding ", values(convolution.StartPadding), " ",
                values(convolution.EndPadding), " ", values(convolution.OutputPadding), " groups ",
                convolution.GroupCount, " activation ", convolution.FusedActivation->Type, " alpha ", sigmoid.Alpha,
                " beta ", sigmoid.Beta, "\n   ");
}

std::string DescribeAll(ID3D12GraphicsCommandList* list, UINT parameter, UINT count, const void* values, UINT offset) {
    return DescribeAll(list, parameter, DescribeValues(static_cast<const UINT*>(values), count)) +
           Unless(0, "at", offset);
}

std::string DescribeAll(ID3D12Device* device, D3D12_FEATURE feature, void* data, UINT size) {
    if (feature != D3D12_FEATURE_FEATURE_LEVELS) {
        return DescribeAll(device, static_cast<UINT>(feature), size);
    }
    const auto& query = *static_cast<const D3D12_FEATURE_DATA_FEATURE_LEVELS*>(data);
    const std::vector<UINT> levels(query.pFeatureLevelsRequested,
                                   query.pFeatureLevelsRequested + query.NumFeatureLevels);
    return DescribeAll(device, "levels " + DescribeValues(levels.data(), query.NumFeatureLevels));
}

std::string DescribeAll(IDMLDevice* device, DML_FEATURE feature, UINT querySize, const void* query, UINT size,
                        void* /*answer*/) {
    return DescribeAll(device, feature, querySize, "type " + std::to_string(*static_cast<const UINT*>(query)), size);
}

std::string DescribeAll(IDMLBindingTable* table, UINT count, const DML_BINDING_DESC* bindings) {
    std::string text = DescribeAll(table, count);
    for (UINT i = 0; i < count; ++i) {
        text += ", " + Describe(&bindings[i]);
    }
    return text;
}

}  // namespace orvane::test
