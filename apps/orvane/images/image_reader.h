// Reads images.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include <windows.h>
// windows.h goes first.
#include <wincodec.h>
#include <wrl/client.h>

#include "apps/orvane/frames/image.h"

namespace orvane::tool {

// Receives a sentence that says what the result loses. It does not name the file.
using Warning = std::function<void(const std::string&)>;

// The first image of a file in any format that Windows can read. Needs COM on this thread.
class ImageReader {
public:
    // Opens the file. Throws Failure with a sentence that does not name it.
    explicit ImageReader(const std::filesystem::path& path);

    // As stored, before the image is turned upright.
    uint32_t Width() const { return m_width; }
    uint32_t Height() const { return m_height; }

    // The image turned upright, with 16-bit channels rounded to 8 bits. Throws Failure likewise.
    Image Read(const Warning& warn) const;

private:
    void ReadPixels(Image& image) const;
    void ReadWidePixels(size_t channels, Image& image) const;
    void CopyRows(IWICBitmapSource* source, size_t rowBytes,
                  const std::function<void(const uint8_t* bytes)>& take) const;

    Microsoft::WRL::ComPtr<IWICImagingFactory> m_factory;
    Microsoft::WRL::ComPtr<IWICBitmapFrameDecode> m_frame;
    uint32_t m_width = 0;
    uint32_t m_height = 0;
};

}  // namespace orvane::tool
