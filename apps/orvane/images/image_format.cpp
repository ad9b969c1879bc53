#include "apps/orvane/images/image_format.h"

#include <array>
#include <utility>

#include "apps/utils/files/utf8_path.h"

namespace orvane::tool {
namespace {

using Extension = std::pair<const char*, ImageFormat>;

// Results get the first extension of their format.
constexpr std::array kExtensions{
    Extension{".png", ImageFormat::kPng},   Extension{".jpg", ImageFormat::kJpeg},
    Extension{".jpeg", ImageFormat::kJpeg}, Extension{".jpe", ImageFormat::kJpeg},
    Extension{".tif", ImageFormat::kTiff},  Extension{".tiff", ImageFormat::kTiff},
    Extension{".bmp", ImageFormat::kBmp},   Extension{".dib", ImageFormat::kBmp},
};

std::string LowerCaseExtension(const std::filesystem::path& path) {
    std::string extension = Utf8FromPath(path.extension());
    for (char& letter : extension) {
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return extension;
}

}  // namespace

std::optional<ImageFormat> FormatOfExtension(const std::filesystem::path& path) {
    const std::string extension = LowerCaseExtension(path);
    for (const auto& [text, format] : kExtensions) {
        if (extension == text) {
            return format;
        }
    }
    return std::nullopt;
}

bool HasImageExtension(const std::filesystem::path& path) {
    return FormatOfExtension(path).has_value() || LowerCaseExtension(path) == ".webp";
}

std::string ExtensionOf(ImageFormat format) {
    for (const auto& [text, known] : kExtensions) {
        if (known == format) {
            return text;
        }
    }
    return {};
}

std::string NameOf(ImageFormat format) {
    switch (format) {
        case ImageFormat::kPng:
            return "PNG";
        case ImageFormat::kJpeg:
            return "JPEG";
        case ImageFormat::kTiff:
            return "TIFF";
        case ImageFormat::kBmp:
            return "BMP";
    }
    return {};
}

}  // namespace orvane::tool
