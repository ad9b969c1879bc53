#include "apps/orvane/video/video_source.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace orvane::tool {
namespace {

bool IsDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

// The number that `text` begins with, or 0.
template <typename Number>
Number LeadingNumber(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    Number number{};
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

// The text after the first `mark`; empty when there is none.
std::string_view After(std::string_view text, std::string_view mark) {
    const size_t at = text.find(mark);
    return at == std::string_view::npos ? std::string_view() : text.substr(at + mark.size());
}

std::string_view Trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text.substr(0, text.find_last_not_of(" \r") + 1);
}

// Splits at commas that are not inside brackets.
std::vector<std::string_view> Fields(std::string_view text) {
    std::vector<std::string_view> fields;
    int depth = 0;
    size_t start = 0;
    for (size_t i = 0; i <= text.size(); ++i) {
        if (i == text.size() || (text[i] == ',' && depth == 0)) {
            fields.push_back(Trimmed(text.substr(start, i - start)));
            start = i + 1;
        } else if (text[i] == '(' || text[i] == '[') {
            ++depth;
        } else if (text[i] == ')' || text[i] == ']') {
            --depth;
        }
    }
    return fields;
}

std::string KnownOrEmpty(std::string_view name) {
    return name == "unknown" || name == "reserved" ? std::string() : std::string(name);
}

// "bt709", which stands for all three, or "matrix/primaries/transfer".
void ParseColours(std::string_view text, ColourDescription& colour) {
    const size_t first = text.find('/');
    const size_t second = text.find('/', first + 1);
    const bool isOne = first == std::string_view::npos || second == std::string_view::npos;
    colour.matrix = KnownOrEmpty(text.substr(0, first));
    colour.primaries = isOne ? colour.matrix : KnownOrEmpty(text.substr(first + 1, second - first - 1));
    colour.transfer = isOne ? colour.matrix : KnownOrEmpty(text.substr(second + 1));
}

bool IsFieldOrder(std::string_view text) {
    return text.starts_with("top ") || text.starts_with("bottom ");
}

// "yuv420p(tv, bt709, progressive)"
void ParsePixelFormat(std::string_view text, VideoSource& source) {
    const size_t bracket = text.find('(');
    source.pixelFormat = std::string(text.substr(0, bracket));
    if (bracket == std::string_view::npos) {
        return;
    }
    for (const std::string_view word : Fields(text.substr(bracket + 1, text.rfind(')') - bracket - 1))) {
        if (word == "tv" || word == "pc") {
            source.colour.range = std::string(word);
        } else if (IsFieldOrder(word)) {
            source.isInterlaced = true;
        } else if (word != "progressive" && !word.ends_with(" bpc")) {
            ParseColours(word, source.colour);
        }
    }
}

// "320x240 [SAR 1:1 DAR 4:3]"; any other text leaves the size unchanged.
void ParseSize(std::string_view text, VideoSource& source) {
    const size_t times = text.find('x');
    if (text.empty() || !IsDigit(text.front()) || times == std::string_view::npos) {
        return;
    }
    const auto width = LeadingNumber<uint32_t>(text);
    const auto height = LeadingNumber<uint32_t>(text.substr(times + 1));
    if (width > 0 && height > 0) {
        source.width = width;
        source.height = height;
    }
}

// "h264 (High) (avc1 / 0x31637661), yuv420p(tv, bt709), 320x240 [SAR 1:1 DAR 4:3], 11 kb/s, 25 fps, 25 tbr, ..."
void ParseVideo(std::string_view text, VideoSource& source) {
    if (text.find("(attached pic)") != std::string_view::npos) {
        ++source.covers;
        return;
    }
    if (source.hasVideo) {
        ++source.otherVideos;
        return;
    }
    source.hasVideo = true;
    source.codec = std::string(text.substr(0, text.find_first_of(" ,(\r")));
    const std::vector<std::string_view> fields = Fields(text);
    if (fields.size() > 1) {
        ParsePixelFormat(fields[1], source);
    }
    for (const std::string_view field : fields) {
        if (source.width == 0) {
            ParseSize(field, source);
        }
        if (field.ends_with(" fps")) {
            source.framesPerSecond = LeadingNumber<double>(field) * (field.ends_with("k fps") ? 1000 : 1);
        }
    }
}

void ParseStream(std::string_view line, VideoSource& source) {
    if (const std::string_view video = After(line, ": Video: "); !video.empty()) {
        ParseVideo(video, source);
    } else if (const std::string_view subtitle = After(line, ": Subtitle: "); !subtitle.empty()) {
        source.subtitles.emplace_back(subtitle.substr(0, subtitle.find_first_of(" ,(\r")));
    } else if (line.find(": Attachment: ") != std::string_view::npos) {
        source.hasAttachments = true;
    }
}

}  // namespace

VideoSource ParseVideoSource(std::string_view ffmpegOutput) {
    VideoSource source;
    bool isAboutVideo = false;  // the first one
    while (!ffmpegOutput.empty()) {
        const size_t end = ffmpegOutput.find('\n');
        const std::string_view line = Trimmed(ffmpegOutput.substr(0, end));
        if (line.starts_with("libavutil ")) {
            source.libavutilVersion = LeadingNumber<uint32_t>(After(line, "libavutil"));
        } else if (line.starts_with("Duration: ")) {
            const std::string_view duration = After(line, "Duration: ");
            source.seconds = std::max(0.0, SecondsFromText(duration.substr(0, duration.find(','))));
        } else if (line.starts_with("Stream #0:")) {
            const bool hadVideo = source.hasVideo;
            ParseStream(line, source);
            isAboutVideo = source.hasVideo && !hadVideo;
        } else if (isAboutVideo && line.starts_with("alpha_mode ") && line.ends_with(": 1")) {
            TakeVpxAlpha(source);
        } else if (isAboutVideo && IsHdrDataName(line)) {
            source.hasHdrData = true;
        }
        ffmpegOutput.remove_prefix(end == std::string_view::npos ? ffmpegOutput.size() : end + 1);
    }
    return source;
}

bool IsHdrDataName(std::string_view name) {
    return name.starts_with("Mastering display") || name.starts_with("Mastering Display") ||
           name.starts_with("Content light level") || name.starts_with("Content Light Level");
}

void TakeVpxAlpha(VideoSource& source) {
    if (source.codec == "vp8" || source.codec == "vp9") {
        source.decoder = source.codec == "vp8" ? "libvpx" : "libvpx-vp9";
        source.pixelFormat = "yuva420p";
    }
}

double SecondsFromText(std::string_view text) {
    constexpr double kInvalid = -1;
    double seconds = 0;
    for (int parts = 0; parts < 3; ++parts) {
        const size_t colon = text.find(':');
        const std::string_view part = text.substr(0, colon);
        double number = 0;
        const auto [end, error] =
            std::from_chars(part.data(), part.data() + part.size(), number, std::chars_format::fixed);
        const bool isNumber = error == std::errc() && end == part.data() + part.size() && IsDigit(part.front());
        if (!isNumber || (parts > 0 && number >= 60)) {
            return kInvalid;
        }
        seconds = seconds * 60 + number;
        if (colon == std::string_view::npos) {
            return seconds;
        }
        text.remove_prefix(colon + 1);
    }
    return kInvalid;
}

}  // namespace orvane::tool
