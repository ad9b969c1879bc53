// The arguments of Direct3D's and DirectML's calls in words; empty for those that say nothing. What has its usual value
// is left out: anything else shows as a change.
#pragma once

#include <sstream>
#include <string>
#include <type_traits>

#include "gpu/platform.h"
#include "tests/hooks/call_transcript.h"
#include "tests/hooks/holdings.h"

namespace orvane::test {

template <typename... Parts>
std::string Text(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

std::string Describe(const std::string& text);
std::string Describe(const wchar_t* text);
// A new object.
std::string Describe(void** object);
std::string Describe(D3D12_RESOURCE_STATES states);
std::string Describe(DXGI_FORMAT format);
std::string Describe(D3D12_COMMAND_LIST_TYPE type);
std::string Describe(const D3D12_COMMAND_QUEUE_DESC* desc);
std::string Describe(const D3D12_DESCRIPTOR_HEAP_DESC* desc);
std::string Describe(D3D12_CPU_DESCRIPTOR_HANDLE handle);
std::string Describe(D3D12_GPU_DESCRIPTOR_HANDLE handle);
std::string Describe(const D3D12_SHADER_RESOURCE_VIEW_DESC* desc);
std::string Describe(const D3D12_UNORDERED_ACCESS_VIEW_DESC* desc);
std::string Describe(const D3D12_ROOT_PARAMETER& parameter);
std::string Describe(const D3D12_ROOT_SIGNATURE_DESC* desc);
std::string Describe(const D3D12_COMPUTE_PIPELINE_STATE_DESC* desc);
std::string Describe(const D3D12_RANGE* range);
std::string Describe(const D3D12_BOX* box);
std::string Describe(const D3D12_CLEAR_VALUE* value);
std::string Describe(const DML_BINDING_DESC* binding);
std::string Describe(const DML_BINDING_TABLE_DESC* desc);
std::string Describe(const D3D12_RESOURCE_BARRIER* barrier);
std::string Describe(const D3D12_TEXTURE_COPY_LOCATION* location);
std::string Describe(const D3D12_HEAP_PROPERTIES* properties);
std::string Describe(const D3D12_RESOURCE_DESC* desc);
std::string Describe(const DML_OPERATOR_DESC* desc);

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
    [[maybe_unused]] const auto append = [&text](const std::string& argument) {
        text += (text.empty() || argument.empty() ? "" : ", ") + argument;
    };
    (append(Describe(arguments)), ...);
    return text;
}

// Root constants.
std::string DescribeAll(ID3D12GraphicsCommandList* list, UINT parameter, UINT count, const void* values, UINT offset);
// The feature levels that are asked for.
std::string DescribeAll(ID3D12Device* device, D3D12_FEATURE feature, void* data, UINT size);
// The tensor type that is asked for.
std::string DescribeAll(IDMLDevice* device, DML_FEATURE feature, UINT querySize, const void* query, UINT size,
                        void* /*answer*/);
std::string DescribeAll(IDMLBindingTable* table, UINT count, const DML_BINDING_DESC* bindings);

// One line of the transcript, while one is taken.
template <typename... Arguments>
void RecordCall(const std::string& name, const Arguments&... arguments) {
    if (IsRecording()) {
        RecordLine(name + "(" + DescribeAll(arguments...) + ")");
    }
}

}  // namespace orvane::test
