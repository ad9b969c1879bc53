// What reading and writing images with the Windows Imaging Component have in common.
#pragma once

#include <string>

#include <windows.h>
// windows.h goes first.
#include <wincodec.h>
#include <wrl/client.h>

namespace orvane::tool {

// COM on this thread, for as long as the object lives.
class ComScope {
public:
    ComScope();
    ~ComScope();
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;
};

// Throws Failure with the sentence and the code.
void RequireSuccess(HRESULT result, const std::string& sentence);

Microsoft::WRL::ComPtr<IWICImagingFactory> MakeWicFactory();

}  // namespace orvane::tool
