#include "apps/orvane/images/image_reader.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "apps/orvane/images/orientation.h"
#include "apps/orvane/images/wic.h"
#include "apps/utils/failure.h"

namespace orvane::tool {
namespace {

using Microsoft::WRL::ComPtr;

// The bytes of one copy. Codecs count these in 32 bits. A file with a false size fails before much memory is used.
constexpr size_t kBandBytes = 4 << 20;

// Codecs report damage in different ways.
constexpr const char* kNotReadable = "This is not an image that Windows can read, or it is damaged.";

void RequireFile(const std::filesystem::path& path) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status)) {
        throw Failure("There is no such file.");
    }
    if (std::filesystem::is_directory(status)) {
        throw Failure("This is a folder, not a file.");
    }
}

// The number of 16-bit channels, which some WIC versions do not round when they convert to 8 bits. 0 for other formats.
size_t WideChannels(const WICPixelFormatGUID& format) {
    if (format == GUID_WICPixelFormat64bppRGBA) {
        return 4;
    }
    if (format == GUID_WICPixelFormat48bppRGB) {
        return 3;
    }
    return format == GUID_WICPixelFormat16bppGray ? 1 : 0;
}

uint8_t EightBits(const uint8_t* littleEndian) {
    const uint32_t wide = littleEndian[0] + 256U * littleEndian[1];
    return static_cast<uint8_t>((wide * 255 + 32767) / 65535);
}

std::optional<std::vector<uint8_t>> ProfileBytes(IWICColorContext* context) {
    WICColorContextType type = WICColorContextUninitialized;
    UINT size = 0;
    if (FAILED(context->GetType(&type)) || type != WICColorContextProfile ||
        FAILED(context->GetProfileBytes(0, nullptr, &size))) {
        return std::nullopt;
    }
    std::vector<uint8_t> bytes(size);
    return SUCCEEDED(context->GetProfileBytes(size, bytes.data(), &size)) ? std::optional(bytes) : std::nullopt;
}

// The colour space of a profile is in bytes 16 to 19 of its header.
bool IsRgbProfile(const std::vector<uint8_t>& profile) {
    constexpr std::string_view kRgb = "RGB ";
    return profile.size() >= 20 && std::equal(kRgb.begin(), kRgb.end(), profile.begin() + 16);
}

// Empty when there is no profile or it cannot be read. Such an image counts as sRGB.
std::vector<uint8_t> ReadColourProfile(IWICImagingFactory* factory, IWICBitmapFrameDecode* frame) {
    ComPtr<IWICColorContext> context;
    IWICColorContext* first = nullptr;
    UINT count = 0;
    if (FAILED(frame->GetColorContexts(0, nullptr, &count)) || count == 0 ||
        FAILED(factory->CreateColorContext(&context))) {
        return {};
    }
    first = context.Get();
    if (FAILED(frame->GetColorContexts(1, &first, &count))) {
        return {};
    }
    return ProfileBytes(context.Get()).value_or(std::vector<uint8_t>());
}

// The Exif orientation, or 1 if the file has none.
uint16_t ReadOrientation(IWICBitmapFrameDecode* frame) {
    ComPtr<IWICMetadataQueryReader> metadata;
    if (FAILED(frame->GetMetadataQueryReader(&metadata))) {
        return 1;
    }
    for (const wchar_t* query : {L"/app1/ifd/{ushort=274}", L"/ifd/{ushort=274}"}) {
        PROPVARIANT value{};
        if (SUCCEEDED(metadata->GetMetadataByName(query, &value))) {
            const uint16_t orientation = value.vt == VT_UI2 ? value.uiVal : uint16_t{1};
            PropVariantClear(&value);
            return orientation;
        }
    }
    return 1;
}

// Windows reports 96 for a file without a resolution.
void ReadResolution(IWICBitmapFrameDecode* frame, Image& image) {
    constexpr double kUnknown = 96;
    double x = 0;
    double y = 0;
    if (SUCCEEDED(frame->GetResolution(&x, &y)) && x > 0 && y > 0 && (x != kUnknown || y != kUnknown)) {
        image.dpiX = x;
        image.dpiY = y;
    }
}

bool IsTransparent(const Image& image) {
    for (size_t alpha = 3; alpha < image.pixels.size(); alpha += kBytesPerPixel) {
        if (image.pixels[alpha] != 255) {
            return true;
        }
    }
    return false;
}

}  // namespace

ImageReader::ImageReader(const std::filesystem::path& path) : m_factory(MakeWicFactory()) {
    RequireFile(path);
    ComPtr<IWICBitmapDecoder> decoder;
    RequireSuccess(m_factory->CreateDecoderFromFilename(path.c_str(), nullptr, GENERIC_READ,
                                                        WICDecodeMetadataCacheOnDemand, &decoder),
                   kNotReadable);
    RequireSuccess(decoder->GetFrame(0, &m_frame), kNotReadable);
    RequireSuccess(m_frame->GetSize(&m_width, &m_height), kNotReadable);
    if (m_width == 0 || m_height == 0) {
        throw Failure(kNotReadable);
    }
}

Image ImageReader::Read(const Warning& warn) const {
    Image image;
    image.width = m_width;
    image.height = m_height;
    ReadPixels(image);
    image.hasAlpha = IsTransparent(image);
    ReadResolution(m_frame.Get(), image);
    image.colourProfile = ReadColourProfile(m_factory.Get(), m_frame.Get());
    if (!image.colourProfile.empty() && !IsRgbProfile(image.colourProfile)) {
        warn("The colour profile is not for RGB and is not kept.");
        image.colourProfile.clear();
    }
    return Upright(std::move(image), ReadOrientation(m_frame.Get()));
}

void ImageReader::ReadPixels(Image& image) const {
    image.pixels.reserve(image.RowBytes() * image.height);
    WICPixelFormatGUID format{};
    RequireSuccess(m_frame->GetPixelFormat(&format), kNotReadable);
    if (const size_t channels = WideChannels(format); channels > 0) {
        ReadWidePixels(channels, image);
        return;
    }
    ComPtr<IWICFormatConverter> converter;
    RequireSuccess(m_factory->CreateFormatConverter(&converter), "Pixel formats cannot be converted.");
    RequireSuccess(converter->Initialize(m_frame.Get(), GUID_WICPixelFormat32bppRGBA, WICBitmapDitherTypeNone, nullptr,
                                         0.0, WICBitmapPaletteTypeCustom),
                   "The pixel format cannot be converted to RGBA.");
    CopyRows(converter.Get(), image.RowBytes(),
             [&](const uint8_t* bytes) { image.pixels.insert(image.pixels.end(), bytes, bytes + image.RowBytes()); });
}

void ImageReader::ReadWidePixels(size_t channels, Image& image) const {
    CopyRows(m_frame.Get(), m_width * channels * 2, [&](const uint8_t* bytes) {
        for (uint32_t x = 0; x < m_width; ++x, bytes += channels * 2) {
            const uint8_t red = EightBits(bytes);
            const uint8_t green = channels > 1 ? EightBits(bytes + 2) : red;
            const uint8_t blue = channels > 1 ? EightBits(bytes + 4) : red;
            const uint8_t alpha = channels > 3 ? EightBits(bytes + 6) : uint8_t{255};
            image.pixels.insert(image.pixels.end(), {red, green, blue, alpha});
        }
    });
}

void ImageReader::CopyRows(IWICBitmapSource* source, size_t rowBytes,
                           const std::function<void(const uint8_t* bytes)>& take) const {
    const auto bandRows = static_cast<uint32_t>(std::clamp<size_t>(kBandBytes / rowBytes, 1, m_height));
    std::vector<uint8_t> band(rowBytes * bandRows);
    for (uint32_t y = 0; y < m_height; y += bandRows) {
        const uint32_t rows = std::min(bandRows, m_height - y);
        const WICRect area{0, static_cast<INT>(y), static_cast<INT>(m_width), static_cast<INT>(rows)};
        RequireSuccess(
            source->CopyPixels(&area, static_cast<UINT>(rowBytes), static_cast<UINT>(rowBytes * rows), band.data()),
            kNotReadable);
        for (uint32_t row = 0; row < rows; ++row) {
            take(band.data() + row * rowBytes);
        }
    }
}

}  // namespace orvane::tool
