// Shared by reading and writing images with the Windows Imaging Component.
#pragma once

#include <string>

#include <windows.h>
// windows.h goes first.
#include <wincodec.h>
#include <wrl/client.h>

namespace orvane::tool {

// Initialises COM on this thread for the lifetime of the object.
class ComScope {
public:
    ComScope();
    ~ComScope();
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;
};

// Throws Failure with the sentence and the code unless `result` is a success.
void RequireSuccess(HRESULT result, const std::string& sentence);

Microsoft::WRL::ComPtr<IWICImagingFactory> MakeWicFactory();

}  // namespace orvane::tool
