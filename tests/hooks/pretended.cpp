#include "tests/hooks/pretended.h"

#include <algorithm>
#include <string>

#include "tests/hooks/call_descriptions.h"
#include "tests/hooks/watched_calls.h"
#include "tools/hooks/function_tables.h"

namespace orvane::test {
namespace {

constexpr UINT64 kPretendedBytes = 43968;  // no operator asks for just this
constexpr UINT kMoreDescriptors = 20;

UINT g_vendorId = 0;
int g_pretendedBindings = 0;

// Results that are structs are returned so on Windows, whatever the compiler.
DML_BINDING_PROPERTIES* STDMETHODCALLTYPE GetProperties(IDMLDispatchable* self, DML_BINDING_PROPERTIES* properties) {
    OriginalMethod<decltype(GetProperties)>(self, 8)(self, properties);
    if (IsLibrarysOwnCall()) {
        for (UINT64* const size : {&properties->TemporaryResourceSize, &properties->PersistentResourceSize}) {
            *size = *size != 0 ? *size : kPretendedBytes;
        }
        properties->RequiredDescriptorCount += NameOf(self) == "CompileOperator 1" ? kMoreDescriptors : 0;
    }
    return properties;
}

// DirectML refuses what it did not ask for.
DML_BINDING_DESC WithoutPretended(const DML_BINDING_DESC& binding) {
    const auto* const buffer = static_cast<const DML_BUFFER_BINDING*>(binding.Desc);
    if (binding.Type != DML_BINDING_TYPE_BUFFER || buffer->SizeInBytes != kPretendedBytes || buffer->Offset != 0 ||
        GetDesc(buffer->Buffer).Width != kPretendedBytes) {
        return binding;
    }
    ++g_pretendedBindings;
    return {DML_BINDING_TYPE_NONE, nullptr};
}

void STDMETHODCALLTYPE BindOutputs(IDMLBindingTable* self, UINT count, const DML_BINDING_DESC* bindings) {
    RecordCall("IDMLBindingTable::BindOutputs", self, count, bindings);
    std::vector<DML_BINDING_DESC> real(bindings, bindings + count);
    std::transform(real.begin(), real.end(), real.begin(), WithoutPretended);
    const InsideSystem inside;
    OriginalMethod<decltype(BindOutputs)>(self, 9)(self, count, real.data());
}

template <size_t Slot>
void STDMETHODCALLTYPE BindMemory(IDMLBindingTable* self, const DML_BINDING_DESC* binding) {
    RecordCall(Slot == 10 ? "IDMLBindingTable::BindTemporaryResource" : "IDMLBindingTable::BindPersistentResource",
               self, binding);
    const DML_BINDING_DESC real = WithoutPretended(*binding);
    const InsideSystem inside;
    OriginalMethod<decltype(BindMemory<Slot>)>(self, Slot)(self, &real);
}

}  // namespace

void PretendVendor(UINT vendorId) {
    g_vendorId = vendorId;
}

void AlterDescription(DXGI_ADAPTER_DESC1& desc) {
    if (g_vendorId != 0) {
        desc.VendorId = g_vendorId;
        desc.Description[std::wstring(L"Pretended").copy(desc.Description, 9)] = L'\0';
    }
}

int PretendedBindings() {
    return g_pretendedBindings;
}

std::vector<MethodReplacement> MemoryMethods() {
    return {{__uuidof(IDMLCompiledOperator), 8, Address(&GetProperties)},
            {__uuidof(IDMLOperatorInitializer), 8, Address(&GetProperties)},
            {__uuidof(IDMLBindingTable), 9, Address(&BindOutputs)},
            {__uuidof(IDMLBindingTable), 10, Address(&BindMemory<10>)},
            {__uuidof(IDMLBindingTable), 11, Address(&BindMemory<11>)}};
}

}  // namespace orvane::test
