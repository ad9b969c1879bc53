#include "apps/orvane/picture_writer.h"

#include <cstdio>

#include "apps/orvane/wic.h"
#include "apps/utils/failure.h"

namespace orvane::tool {
namespace {

using Microsoft::WRL::ComPtr;

constexpr const char* kNotEncoded = "The result cannot be encoded as PNG.";
constexpr size_t kBgrBytes = 3;

// The PNG codec's own order of an opaque pixel. Made here because not every WIC converts from RGBA to it.
std::vector<uint8_t> BgrPixels(const Picture& picture) {
    std::vector<uint8_t> bgr;
    bgr.reserve(picture.pixels.size() / kBytesPerPixel * kBgrBytes);
    for (size_t i = 0; i < picture.pixels.size(); i += kBytesPerPixel) {
        bgr.push_back(picture.pixels[i + 2]);
        bgr.push_back(picture.pixels[i + 1]);
        bgr.push_back(picture.pixels[i]);
    }
    return bgr;
}

void SetColourProfile(IWICImagingFactory* factory, IWICBitmapFrameEncode* frame, const std::vector<uint8_t>& profile) {
    if (profile.empty()) {
        return;
    }
    ComPtr<IWICColorContext> context;
    HRESULT result = factory->CreateColorContext(&context);
    if (SUCCEEDED(result)) {
        result = context->InitializeFromMemory(profile.data(), static_cast<UINT>(profile.size()));
    }
    IWICColorContext* first = context.Get();
    if (FAILED(result) || FAILED(frame->SetColorContexts(1, &first))) {
        std::fputs("Warning: the picture's colour profile cannot be written here and is not kept.\n", stderr);
    }
}

void WriteFrame(IWICImagingFactory* factory, IWICBitmapEncoder* encoder, const Picture& picture) {
    ComPtr<IWICBitmapFrameEncode> frame;
    RequireSuccess(encoder->CreateNewFrame(&frame, nullptr), kNotEncoded);
    RequireSuccess(frame->Initialize(nullptr), kNotEncoded);
    RequireSuccess(frame->SetSize(picture.width, picture.height), kNotEncoded);
    WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
    RequireSuccess(frame->SetPixelFormat(&format), kNotEncoded);
    if (format != GUID_WICPixelFormat24bppBGR) {
        throw Failure("The PNG codec of this system does not take 24-bit pixels.");
    }
    SetColourProfile(factory, frame.Get(), picture.colourProfile);
    std::vector<uint8_t> pixels = BgrPixels(picture);
    RequireSuccess(frame->WritePixels(picture.height, static_cast<UINT>(picture.width * kBgrBytes),
                                      static_cast<UINT>(pixels.size()), pixels.data()),
                   kNotEncoded);
    RequireSuccess(frame->Commit(), kNotEncoded);
}

std::vector<uint8_t> StreamBytes(IStream* stream) {
    STATSTG status{};
    RequireSuccess(stream->Stat(&status, STATFLAG_NONAME), kNotEncoded);
    RequireSuccess(stream->Seek({}, STREAM_SEEK_SET, nullptr), kNotEncoded);
    std::vector<uint8_t> bytes(static_cast<size_t>(status.cbSize.QuadPart));
    ULONG read = 0;
    RequireSuccess(stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &read), kNotEncoded);
    if (read != bytes.size()) {
        throw Failure(kNotEncoded);
    }
    return bytes;
}

}  // namespace

std::vector<uint8_t> EncodePng(const Picture& picture) {
    const ComPtr<IWICImagingFactory> factory = MakeWicFactory();
    ComPtr<IStream> stream;
    RequireSuccess(CreateStreamOnHGlobal(nullptr, TRUE, &stream), kNotEncoded);
    ComPtr<IWICBitmapEncoder> encoder;
    RequireSuccess(factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, &encoder), kNotEncoded);
    RequireSuccess(encoder->Initialize(stream.Get(), WICBitmapEncoderNoCache), kNotEncoded);
    WriteFrame(factory.Get(), encoder.Get(), picture);
    RequireSuccess(encoder->Commit(), kNotEncoded);
    return StreamBytes(stream.Get());
}

}  // namespace orvane::tool
