// The arguments of Direct3D's and DirectML's calls in words; empty for those that say nothing.
#pragma once

#include <map>
#include <sstream>
#include <string>
#include <type_traits>

#include "gpu/platform.h"
#include "tests/hooks/holdings.h"

namespace orvane::test {

template <typename... Parts>
std::string Text(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

inline std::string DescribeValues(const UINT* values, UINT count) {
    std::string text;
    for (UINT i = 0; i < count; ++i) {
        text += Text(i == 0 ? "{" : ", ", values[i]);
    }
    return text + "}";
}

inline std::string Describe(const std::string& text) {
    return text;
}

// A new object.
inline std::string Describe(void** object) {
    return object != nullptr && NameOf(*object) != "unknown" ? "-> " + NameOf(*object) : "";
}

inline std::string Describe(D3D12_RESOURCE_STATES states) {
    static const std::map<UINT, std::string> names{
        {D3D12_RESOURCE_STATE_COMMON, "COMMON"},
        {D3D12_RESOURCE_STATE_UNORDERED_ACCESS, "UNORDERED_ACCESS"},
        {D3D12_RESOURCE_STATE_NON_PIXEL_SHADER_RESOURCE, "NON_PIXEL_SHADER_RESOURCE"},
        {D3D12_RESOURCE_STATE_COPY_DEST, "COPY_DEST"},
        {D3D12_RESOURCE_STATE_COPY_SOURCE, "COPY_SOURCE"},
        {D3D12_RESOURCE_STATE_GENERIC_READ, "GENERIC_READ"}};
    const auto name = names.find(states);
    return name != names.end() ? name->second : std::to_string(states);
}

inline std::string Describe(const D3D12_RESOURCE_BARRIER* barrier) {
    if (barrier->Type == D3D12_RESOURCE_BARRIER_TYPE_UAV) {
        return "unordered access of " + (barrier->UAV.pResource != nullptr ? NameOf(barrier->UAV.pResource) : "all");
    }
    const auto& [resource, subresource, before, after] = barrier->Transition;
    return Text(NameOf(resource), subresource == D3D12_RESOURCE_BARRIER_ALL_SUBRESOURCES ? "" : " in part", " from ",
                Describe(before), " to ", Describe(after));
}

inline std::string Describe(const D3D12_TEXTURE_COPY_LOCATION* location) {
    if (location->Type == D3D12_TEXTURE_COPY_TYPE_SUBRESOURCE_INDEX) {
        return NameOf(location->pResource);
    }
    const D3D12_SUBRESOURCE_FOOTPRINT& footprint = location->PlacedFootprint.Footprint;
    return Text(NameOf(location->pResource), " ", footprint.Width, " x ", footprint.Height, " pitch ",
                footprint.RowPitch);
}

inline std::string Describe(const D3D12_HEAP_PROPERTIES* properties) {
    static const std::map<UINT, std::string> names{{D3D12_HEAP_TYPE_DEFAULT, "default heap"},
                                                   {D3D12_HEAP_TYPE_UPLOAD, "upload heap"},
                                                   {D3D12_HEAP_TYPE_READBACK, "readback heap"}};
    return names.at(properties->Type);
}

inline std::string Describe(const D3D12_RESOURCE_DESC* desc) {
    return Text(desc->Dimension == D3D12_RESOURCE_DIMENSION_BUFFER ? "buffer " : "texture ", desc->Width, " x ",
                desc->Height, " format ", desc->Format, " flags ", desc->Flags);
}

inline std::string DescribeTensor(const DML_TENSOR_DESC* tensor) {
    const auto& buffer = *static_cast<const DML_BUFFER_TENSOR_DESC*>(tensor->Desc);
    return Text("type ", buffer.DataType, " flags ", buffer.Flags, " sizes ",
                DescribeValues(buffer.Sizes, buffer.DimensionCount), " strides ",
                DescribeValues(buffer.Strides, buffer.DimensionCount), " bytes ", buffer.TotalTensorSizeInBytes);
}

inline std::string Describe(const DML_OPERATOR_DESC* desc) {
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

template <typename Value>
std::string Describe(const Value& value) {
    if constexpr (std::is_convertible_v<Value, const IUnknown*>) {
        return NameOf(value);
    } else if constexpr (std::is_const_v<std::remove_pointer_t<Value>> &&
                         std::is_convertible_v<std::remove_pointer_t<Value>, const IUnknown*>) {
        return NameOf(*value);  // the first of a list
    } else if constexpr (std::is_integral_v<Value> || std::is_enum_v<Value>) {
        return std::to_string(value);
    }
    return {};
}

template <typename... Arguments>
std::string DescribeAll(const Arguments&... arguments) {
    std::string text;
    const auto append = [&text](const std::string& argument) {
        text += (text.empty() || argument.empty() ? "" : ", ") + argument;
    };
    (append(Describe(arguments)), ...);
    return text;
}

// Root constants.
inline std::string DescribeAll(ID3D12GraphicsCommandList* list, UINT parameter, UINT count, const void* values, UINT) {
    return DescribeAll(list, parameter, DescribeValues(static_cast<const UINT*>(values), count));
}

}  // namespace orvane::test
