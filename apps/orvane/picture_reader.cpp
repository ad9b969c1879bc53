#include "apps/orvane/picture_reader.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "apps/orvane/orientation.h"
#include "apps/orvane/wic.h"
#include "apps/utils/atomic_file.h"
#include "apps/utils/failure.h"
#include "apps/utils/utf8_path.h"

namespace orvane::tool {
namespace {

using Microsoft::WRL::ComPtr;

// The codec's own words for what is wrong differ; the user needs to know which file.
std::string NotReadable(const std::string& name) {
    return "\"" + name + "\" is not a picture that Windows can read, or it is damaged.";
}

ComPtr<IWICBitmapFrameDecode> OpenFirstFrame(IWICImagingFactory* factory, const std::filesystem::path& path,
                                             const std::string& name) {
    ComPtr<IWICBitmapDecoder> decoder;
    RequireSuccess(factory->CreateDecoderFromFilename(path.c_str(), nullptr, GENERIC_READ,
                                                      WICDecodeMetadataCacheOnDemand, &decoder),
                   NotReadable(name));
    ComPtr<IWICBitmapFrameDecode> frame;
    RequireSuccess(decoder->GetFrame(0, &frame), NotReadable(name));
    return frame;
}

void ReadSize(IWICBitmapSource* source, const std::string& name, Picture& picture) {
    RequireSuccess(source->GetSize(&picture.width, &picture.height), NotReadable(name));
    if (std::max(picture.width, picture.height) > kMaxPictureSide) {
        throw Failure("\"" + name + "\" is " + std::to_string(picture.width) + " x " + std::to_string(picture.height) +
                      " pixels; neither side may be longer than " + std::to_string(kMaxPictureSide) + ".");
    }
}

void ReadPixels(IWICImagingFactory* factory, IWICBitmapSource* source, const std::string& name, Picture& picture) {
    ComPtr<IWICFormatConverter> converter;
    RequireSuccess(factory->CreateFormatConverter(&converter), "Pixel formats cannot be converted.");
    RequireSuccess(converter->Initialize(source, GUID_WICPixelFormat32bppRGBA, WICBitmapDitherTypeNone, nullptr, 0.0,
                                         WICBitmapPaletteTypeCustom),
                   "The pixel format of \"" + name + "\" cannot be converted to RGBA.");
    picture.pixels.resize(picture.RowBytes() * picture.height);
    RequireSuccess(converter->CopyPixels(nullptr, static_cast<UINT>(picture.RowBytes()),
                                         static_cast<UINT>(picture.pixels.size()), picture.pixels.data()),
                   NotReadable(name));
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

// The colour space that a profile describes stands in bytes 16 to 19 of its header.
bool IsRgbProfile(const std::vector<uint8_t>& profile) {
    constexpr std::string_view kRgb = "RGB ";
    return profile.size() >= 20 && std::equal(kRgb.begin(), kRgb.end(), profile.begin() + 16);
}

// A picture without a profile, or with one that cannot be read, is left without: it counts as sRGB.
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
    std::vector<uint8_t> profile = ProfileBytes(context.Get()).value_or(std::vector<uint8_t>());
    if (!profile.empty() && !IsRgbProfile(profile)) {
        std::fputs("Warning: the picture's colour profile is not for RGB and is not kept.\n", stderr);
        return {};
    }
    return profile;
}

// Exif's orientation, or 1 where the file says nothing.
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

bool IsTransparent(const Picture& picture) {
    for (size_t alpha = 3; alpha < picture.pixels.size(); alpha += kBytesPerPixel) {
        if (picture.pixels[alpha] != 255) {
            return true;
        }
    }
    return false;
}

}  // namespace

Picture ReadPicture(const std::filesystem::path& path) {
    RequireReadableFile(path);
    const std::string name = Utf8FromPath(path);
    const ComPtr<IWICImagingFactory> factory = MakeWicFactory();
    const ComPtr<IWICBitmapFrameDecode> frame = OpenFirstFrame(factory.Get(), path, name);
    Picture picture;
    ReadSize(frame.Get(), name, picture);
    ReadPixels(factory.Get(), frame.Get(), name, picture);
    picture.colourProfile = ReadColourProfile(factory.Get(), frame.Get());
    if (IsTransparent(picture)) {
        std::fputs("Warning: the picture has transparency, which is not kept: the result is opaque.\n", stderr);
    }
    return Upright(std::move(picture), ReadOrientation(frame.Get()));
}

}  // namespace orvane::tool
