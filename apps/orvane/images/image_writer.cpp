#include "apps/orvane/images/image_writer.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "apps/orvane/frames/alpha.h"
#include "apps/orvane/images/embed_profile.h"
#include "apps/orvane/images/wic.h"
#include "apps/utils/failure.h"

namespace orvane::tool {
namespace {

using Microsoft::WRL::ComPtr;

constexpr size_t kBandBytes = 4 << 20;

GUID ContainerOf(ImageFormat format) {
    switch (format) {
        case ImageFormat::kPng:
            return GUID_ContainerFormatPng;
        case ImageFormat::kJpeg:
            return GUID_ContainerFormatJpeg;
        case ImageFormat::kTiff:
            return GUID_ContainerFormatTiff;
        case ImageFormat::kBmp:
            return GUID_ContainerFormatBmp;
    }
    return {};
}

bool KeepsTransparency(ImageFormat format) {
    return format == ImageFormat::kPng || format == ImageFormat::kTiff;
}

// One file while it is written.
class Encoding {
public:
    Encoding(const std::filesystem::path& path, const WritingOptions& options)
        : m_options(options), m_factory(MakeWicFactory()) {
        Require(m_factory->CreateStream(&m_stream));
        Require(m_stream->InitializeFromFilename(path.c_str(), GENERIC_WRITE));
        Require(m_factory->CreateEncoder(ContainerOf(options.format), nullptr, &m_encoder));
        Require(m_encoder->Initialize(m_stream.Get(), WICBitmapEncoderNoCache));
    }

    // False when the colour profile was not taken.
    bool Write(const Image& image) {
        ComPtr<IPropertyBag2> properties;
        Require(m_encoder->CreateNewFrame(&m_frame, &properties));
        SetQuality(properties.Get());
        Require(m_frame->Initialize(properties.Get()));
        Require(m_frame->SetSize(image.width, image.height));
        if (image.dpiX > 0) {
            Require(m_frame->SetResolution(image.dpiX, image.dpiY));
        }
        SetPixelFormat(image.hasAlpha);
        const bool hasProfile = SetColourProfile(image.colourProfile);
        WritePixels(image);
        Require(m_frame->Commit());
        Require(m_encoder->Commit());
        return hasProfile;
    }

private:
    void Require(HRESULT result) const {
        RequireSuccess(result, "A " + NameOf(m_options.format) + " file cannot be written: " + Reason(result));
    }

    static std::string Reason(HRESULT result) {
        static const std::map<HRESULT, std::string> kReasons{
            {HRESULT_FROM_WIN32(ERROR_DISK_FULL), "the disk is full."},
            {HRESULT_FROM_WIN32(ERROR_HANDLE_DISK_FULL), "the disk is full."},
            {HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED), "the folder is read-only."},
            {WINCODEC_ERR_COMPONENTNOTFOUND, "this system has no codec for it."},
        };
        const auto found = kReasons.find(result);
        return found != kReasons.end() ? found->second : "the folder is read-only or the disk is full.";
    }

    void SetQuality(IPropertyBag2* properties) {
        if (m_options.format != ImageFormat::kJpeg || properties == nullptr) {
            return;
        }
        std::wstring name = L"ImageQuality";
        PROPBAG2 option{};
        option.pstrName = name.data();
        VARIANT value{};
        value.vt = VT_R4;
        value.fltVal = static_cast<float>(m_options.quality) / 100.0F;
        Require(properties->Write(1, &option, &value));
    }

    // The channel orders of the codecs. Not all WIC versions convert RGBA to them.
    void SetPixelFormat(bool hasAlpha) {
        const WICPixelFormatGUID wanted = hasAlpha ? GUID_WICPixelFormat32bppBGRA : GUID_WICPixelFormat24bppBGR;
        WICPixelFormatGUID format = wanted;
        Require(m_frame->SetPixelFormat(&format));
        if (format != wanted) {
            throw Failure("The " + NameOf(m_options.format) + " codec of this system does not take " +
                          (hasAlpha ? "32" : "24") + "-bit pixels.");
        }
        m_pixelBytes = hasAlpha ? 4 : 3;
    }

    bool SetColourProfile(const std::vector<uint8_t>& profile) {
        if (profile.empty()) {
            return true;
        }
        ComPtr<IWICColorContext> context;
        Require(m_factory->CreateColorContext(&context));
        IWICColorContext* first = context.Get();
        return SUCCEEDED(context->InitializeFromMemory(profile.data(), static_cast<UINT>(profile.size()))) &&
               SUCCEEDED(m_frame->SetColorContexts(1, &first));
    }

    void WritePixels(const Image& image) {
        const size_t rowBytes = image.width * m_pixelBytes;
        const auto bandRows = static_cast<uint32_t>(std::clamp<size_t>(kBandBytes / rowBytes, 1, image.height));
        std::vector<uint8_t> band(rowBytes * bandRows);
        for (uint32_t y = 0; y < image.height; y += bandRows) {
            const uint32_t rows = std::min(bandRows, image.height - y);
            uint8_t* target = band.data();
            const uint8_t* end = image.pixels.data() + image.RowBytes() * (y + rows);
            for (const uint8_t* pixel = image.Row(y); pixel != end; pixel += kBytesPerPixel, target += m_pixelBytes) {
                target[0] = pixel[2];
                target[1] = pixel[1];
                target[2] = pixel[0];
                if (m_pixelBytes == 4) {
                    target[3] = pixel[3];
                }
            }
            Require(m_frame->WritePixels(rows, static_cast<UINT>(rowBytes), static_cast<UINT>(rowBytes * rows),
                                         band.data()));
        }
    }

    const WritingOptions& m_options;
    ComPtr<IWICImagingFactory> m_factory;
    ComPtr<IWICStream> m_stream;
    ComPtr<IWICBitmapEncoder> m_encoder;
    ComPtr<IWICBitmapFrameEncode> m_frame;
    size_t m_pixelBytes = 0;
};

}  // namespace

void WriteImage(const std::filesystem::path& path, const Image& image, const WritingOptions& options,
                const Warning& warn) {
    bool hasProfile = false;
    if (image.hasAlpha && !KeepsTransparency(options.format)) {
        warn(NameOf(options.format) + " files keep no transparency: the image gets a white background.");
        Image opaque = image;
        LayOnWhite(opaque);
        hasProfile = Encoding(path, options).Write(opaque);
    } else {
        hasProfile = Encoding(path, options).Write(image);
    }
    if (!hasProfile && !EmbedProfile(path, options.format, image.colourProfile)) {
        warn("This system cannot write a colour profile to a " + NameOf(options.format) + " file: it is not kept.");
    }
}

}  // namespace orvane::tool
