#include "apps/orvane/machine/machine_report.h"

#include <map>
#include <nlohmann/json.hpp>

#include "api/orvane.h"

namespace orvane::tool {
namespace {

using nlohmann::ordered_json;

constexpr uint64_t kMiB = uint64_t{1} << 20;

struct Explanation {
    const char* reason;
    const char* advice;
};

const std::map<uint32_t, Explanation> kExplanations{
    {ORVANE_CHECK_NO_DXGI,
     {"the system library dxgi.dll cannot be loaded", "It is part of Windows: repair or update Windows."}},
    {ORVANE_CHECK_NO_D3D12,
     {"the system library d3d12.dll (Direct3D 12) cannot be loaded",
      "It is part of Windows 10 and 11: repair or update Windows."}},
    {ORVANE_CHECK_NO_DIRECTML,
     {"DirectML.dll cannot be loaded",
      "Update Windows to version 1903 or later, or put Microsoft's redistributable DirectML.dll (x64) next to the "
      "program."}},
    {ORVANE_CHECK_NO_DXGI_ENTRY, {"dxgi.dll is too old: it has no CreateDXGIFactory2", "Update Windows."}},
    {ORVANE_CHECK_NO_D3D12_ENTRY,
     {"d3d12.dll is damaged or not the system's: it has no D3D12CreateDevice",
      "Remove d3d12.dll from the program's folder if there is one, or repair Windows."}},
    {ORVANE_CHECK_NO_DIRECTML_ENTRY,
     {"DirectML.dll is damaged or another library: it has no DMLCreateDevice",
      "Remove DirectML.dll from the program's folder, or replace it with Microsoft's redistributable one (x64)."}},
    {ORVANE_CHECK_NO_FACTORY,
     {"dxgi.dll cannot list the graphics adapters: CreateDXGIFactory2 failed",
      "Install the newest driver of the graphics adapter and restart."}},
    {ORVANE_CHECK_NO_ADAPTER,
     {"no graphics adapter was found",
      "Install the driver of the graphics adapter. A virtual machine or container must be given an adapter."}},
    {ORVANE_CHECK_NO_DEVICE,
     {"the graphics adapter does not support Direct3D 12 with feature level 11_0",
      "Install the newest driver of the graphics adapter; if that does not help, the adapter is too old."}},
    {ORVANE_CHECK_WINDOWS_TOO_OLD,
     {"Windows is too old; version 1903 (10.0.18362) is the oldest that works", "Update Windows."}},
};

const std::map<uint32_t, const char*> kClasses{
    {ORVANE_PERFORMANCE_UNKNOWN, "unknown or weak"},   {ORVANE_PERFORMANCE_TOP, "top"},
    {ORVANE_PERFORMANCE_UPPER_MIDDLE, "upper middle"}, {ORVANE_PERFORMANCE_INTEL_IRIS, "Intel Iris"},
    {ORVANE_PERFORMANCE_INTEL_UHD, "Intel UHD"},
};

const std::map<uint32_t, const char*> kVendors{
    {0x1002, "AMD"},       {0x10DE, "NVIDIA"},   {0x8086, "Intel"},
    {0x1414, "Microsoft"}, {0x5143, "Qualcomm"}, {0x10005, "Mesa"},
};

const char* NameIn(const std::map<uint32_t, const char*>& names, uint32_t number) {
    const auto found = names.find(number);
    return found != names.end() ? found->second : "unknown";
}

std::string AdapterText(const GraphicsAdapter& adapter) {
    std::string text = adapter.isUsed ? "  * " : "    ";
    text += adapter.name + ", " + NameIn(kVendors, adapter.vendorId) + ", " +
            std::to_string(adapter.dedicatedBytes / kMiB) + " MiB dedicated and " +
            std::to_string(adapter.sharedBytes / kMiB) + " MiB shared";
    return text + (adapter.isSoftware ? ", software\n" : "\n");
}

std::string AdaptersText(const std::vector<GraphicsAdapter>& adapters) {
    if (adapters.empty()) {
        return "Graphics adapters: none found\n";
    }
    std::string text = "Graphics adapters (* marks the one that is used):\n";
    for (const GraphicsAdapter& adapter : adapters) {
        text += AdapterText(adapter);
    }
    return text;
}

std::string VerdictText(const Machine& machine, const Trial& trial) {
    if (!machine.isSupported) {
        return "This machine cannot run the library: " + SupportReason(machine.status) +
               ".\nWhat to do: " + SupportAdvice(machine.status) + "\n";
    }
    return (trial.isDone ? "This machine is supported. " : "This machine should work, but the trial failed.\n") +
           trial.sentence + "\n";
}

ordered_json AdapterJson(const GraphicsAdapter& adapter) {
    return {{"name", adapter.name},
            {"vendor", NameIn(kVendors, adapter.vendorId)},
            {"vendorId", adapter.vendorId},
            {"deviceId", adapter.deviceId},
            {"dedicatedBytes", adapter.dedicatedBytes},
            {"sharedBytes", adapter.sharedBytes},
            {"software", adapter.isSoftware},
            {"used", adapter.isUsed}};
}

}  // namespace

std::string SupportReason(uint32_t status) {
    const auto found = kExplanations.find(status);
    return found != kExplanations.end() ? found->second.reason
                                        : "the check ended with the unknown status " + std::to_string(status);
}

std::string SupportAdvice(uint32_t status) {
    const auto found = kExplanations.find(status);
    return found != kExplanations.end() ? found->second.advice : "Update Windows and the graphics driver.";
}

std::string TextOf(const Machine& machine, const Trial& trial) {
    const LibraryFile& directml = machine.directml;
    std::string text =
        VerdictText(machine, trial) + "\nWindows: " + machine.windowsVersion + "\n" + AdaptersText(machine.adapters);
    if (!machine.adapters.empty()) {
        text += std::string("Class: ") + NameIn(kClasses, machine.performanceClass) + "\n";
    }
    text +=
        "DirectML: " + (directml.path.empty() ? "cannot be loaded" : directml.version + ", " + directml.path) + "\n";
    return text + "Orvane: " + orvane_get_version() + "\n";
}

std::string JsonOf(const Machine& machine, const Trial& trial) {
    ordered_json object{{"supported", machine.isSupported && trial.isDone}, {"status", machine.status}};
    if (!machine.isSupported) {
        object["reason"] = SupportReason(machine.status);
        object["advice"] = SupportAdvice(machine.status);
    } else {
        object["trial"] = trial.sentence;
    }
    object["windows"] = machine.windowsVersion;
    object["adapters"] = ordered_json::array();
    for (const GraphicsAdapter& adapter : machine.adapters) {
        object["adapters"].push_back(AdapterJson(adapter));
    }
    object["class"] = NameIn(kClasses, machine.performanceClass);
    object["directml"] = {{"path", machine.directml.path}, {"version", machine.directml.version}};
    object["orvane"] = orvane_get_version();
    return object.dump() + "\n";
}

}  // namespace orvane::tool
