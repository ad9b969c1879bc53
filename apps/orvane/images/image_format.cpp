#include "apps/orvane/images/image_format.h"

#include <array>
#include <utility>

#include "apps/utils/files/utf8_path.h"

namespace orvane::tool {
namespace {

using Ending = std::pair<const char*, ImageFormat>;

// Of several endings of a kind the first is the one that results get.
constexpr std::array kEndings{
    Ending{".png", ImageFormat::kPng},  Ending{".jpg", ImageFormat::kJpeg}, Ending{".jpeg", ImageFormat::kJpeg},
    Ending{".jpe", ImageFormat::kJpeg}, Ending{".tif", ImageFormat::kTiff}, Ending{".tiff", ImageFormat::kTiff},
    Ending{".bmp", ImageFormat::kBmp},  Ending{".dib", ImageFormat::kBmp},
};

std::string LowerCaseEnding(const std::filesystem::path& path) {
    std::string ending = Utf8FromPath(path.extension());
    for (char& letter : ending) {
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return ending;
}

}  // namespace

std::optional<ImageFormat> FormatOfEnding(const std::filesystem::path& path) {
    const std::string ending = LowerCaseEnding(path);
    for (const auto& [text, format] : kEndings) {
        if (ending == text) {
            return format;
        }
    }
    return std::nullopt;
}

bool HasImageExtension(const std::filesystem::path& path) {
    return FormatOfEnding(path).has_value() || LowerCaseEnding(path) == ".webp";
}

std::string EndingOf(ImageFormat format) {
    for (const auto& [text, known] : kEndings) {
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
