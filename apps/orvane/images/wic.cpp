#include "apps/orvane/images/wic.h"

#include <array>
#include <cstdio>

#include "apps/utils/failure.h"

namespace orvane::tool {

ComScope::ComScope() {
    RequireSuccess(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "COM cannot be initialised.");
}

ComScope::~ComScope() {
    CoUninitialize();
}

void RequireSuccess(HRESULT result, const std::string& sentence) {
    if (FAILED(result)) {
        std::array<char, 32> code{};
        std::snprintf(code.data(), code.size(), " (code 0x%08lX)", static_cast<unsigned long>(result));
        throw Failure(sentence + code.data());
    }
}

Microsoft::WRL::ComPtr<IWICImagingFactory> MakeWicFactory() {
    Microsoft::WRL::ComPtr<IWICImagingFactory> factory;
    RequireSuccess(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)),
                   "The Windows Imaging Component is not available.");
    return factory;
}

}  // namespace orvane::tool
