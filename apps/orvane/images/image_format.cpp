#include "apps/orvane/images/image_format.h"

#include <array>
#include <utility>

#include "apps/utils/files/utf8_path.h"

namespace orvane::tool {
namespace {

using Ending = std::pair<const char*, PictureFormat>;

// Of several endings of a kind the first is the one that results get.
constexpr std::array kEndings{
    Ending{".png", PictureFormat::kPng},  Ending{".jpg", PictureFormat::kJpeg}, Ending{".jpeg", PictureFormat::kJpeg},
    Ending{".jpe", PictureFormat::kJpeg}, Ending{".tif", PictureFormat::kTiff}, Ending{".tiff", PictureFormat::kTiff},
    Ending{".bmp", PictureFormat::kBmp},  Ending{".dib", PictureFormat::kBmp},
};

std::string LowerCaseEnding(const std::filesystem::path& path) {
    std::string ending = Utf8FromPath(path.extension());
    for (char& letter : ending) {
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return ending;
}

}  // namespace

std::optional<PictureFormat> FormatOfEnding(const std::filesystem::path& path) {
    const std::string ending = LowerCaseEnding(path);
    for (const auto& [text, format] : kEndings) {
        if (ending == text) {
            return format;
        }
    }
    return std::nullopt;
}

bool HasPictureEnding(const std::filesystem::path& path) {
    return FormatOfEnding(path).has_value() || LowerCaseEnding(path) == ".webp";
}

std::string EndingOf(PictureFormat format) {
    for (const auto& [text, known] : kEndings) {
        if (known == format) {
            return text;
        }
    }
    return {};
}

std::string NameOf(PictureFormat format) {
    switch (format) {
        case PictureFormat::kPng:
            return "PNG";
        case PictureFormat::kJpeg:
            return "JPEG";
        case PictureFormat::kTiff:
            return "TIFF";
        case PictureFormat::kBmp:
            return "BMP";
    }
    return {};
}

}  // namespace orvane::tool
