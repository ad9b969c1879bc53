#include "apps/orvane/images/wic.h"

#include "apps/utils/failure.h"
#include "apps/utils/text.h"

namespace orvane::tool {

ComScope::ComScope() {
    RequireSuccess(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "COM cannot be initialised.");
}

ComScope::~ComScope() {
    CoUninitialize();
}

void RequireSuccess(HRESULT result, const std::string& sentence) {
    if (FAILED(result)) {
        throw Failure(sentence + Formatted(" (code 0x%08lX)", static_cast<unsigned long>(result)));
    }
}

Microsoft::WRL::ComPtr<IWICImagingFactory> MakeWicFactory() {
    Microsoft::WRL::ComPtr<IWICImagingFactory> factory;
    RequireSuccess(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)),
                   "The Windows Imaging Component is not available.");
    return factory;
}

}  // namespace orvane::tool
