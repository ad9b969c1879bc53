#include "apps/orvane/video/video_output.h"

#include <algorithm>
#include <cctype>
#include <initializer_list>
#include <string_view>

namespace orvane::tool {
namespace {

using Choices = std::initializer_list<std::string_view>;

bool IsOneOf(std::string_view text, Choices choices) {
    return std::find(choices.begin(), choices.end(), text) != choices.end();
}

bool BeginsWithOneOf(std::string_view text, Choices choices) {
    return std::any_of(choices.begin(), choices.end(),
                       [text](std::string_view choice) { return text.starts_with(choice); });
}

bool HasOneOf(std::string_view text, Choices choices) {
    return std::any_of(choices.begin(), choices.end(),
                       [text](std::string_view choice) { return text.find(choice) != std::string_view::npos; });
}

// The output's file name extension in lower case, without the dot.
std::string ExtensionOf(const VideoJob& job) {
    const size_t dot = job.output.find_last_of("./\\");
    std::string extension = dot != std::string::npos && job.output[dot] == '.' ? job.output.substr(dot + 1) : "";
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return extension;
}

bool IsMp4(const VideoJob& job) {
    return IsOneOf(ExtensionOf(job), {"mp4", "m4v", "mov"});
}

bool IsMatroska(const VideoJob& job) {
    return ExtensionOf(job) == "mkv";
}

bool IsWebM(const VideoJob& job) {
    return ExtensionOf(job) == "webm";
}

bool HasDeepColours(const std::string& pixelFormat) {
    return HasOneOf(pixelFormat, {"p9", "p10", "p12", "p14", "p16", "48", "64", "f32", "gray1"});
}

}  // namespace

std::string CodecOf(const VideoJob& job) {
    if (!job.codec.empty()) {
        return job.codec;
    }
    return IsWebM(job) ? "libvpx-vp9" : "libx264";
}

bool IsX26(const std::string& codec) {
    return IsOneOf(codec, {"libx264", "libx265"});
}

bool IsVpxOrAom(const std::string& codec) {
    return BeginsWithOneOf(codec, {"libvpx", "libaom"});
}

std::string PixelFormatOf(const VideoJob& job) {
    const std::vector<std::string>& own = job.encoderArguments;
    for (size_t i = own.size(); i-- > 1;) {
        if (IsOneOf(own[i - 1], {"-pix_fmt", "-pix_fmt:v"})) {
            return own[i];
        }
    }
    // The format that every player shows.
    const std::string codec = CodecOf(job);
    return IsX26(codec) || IsVpxOrAom(codec) ? "yuv420p" : "";
}

bool IsRgb(const std::string& pixelFormat) {
    return BeginsWithOneOf(pixelFormat, {"rgb", "bgr", "argb", "abgr", "0rgb", "0bgr", "gbr"});
}

bool HasAlpha(const std::string& pixelFormat) {
    return BeginsWithOneOf(pixelFormat, {"yuva", "rgba", "bgra", "argb", "abgr", "gbrap", "ya8", "ya16", "pal8"});
}

std::string SubtitleCodecFor(const VideoJob& job, const std::string& subtitle) {
    if (IsMatroska(job)) {
        return subtitle == "mov_text" ? "srt" : "copy";
    }
    const bool isText = IsOneOf(subtitle, {"subrip", "srt", "ass", "ssa", "mov_text", "webvtt", "text"});
    if (isText && (IsMp4(job) || IsWebM(job))) {
        const std::string own = IsMp4(job) ? "mov_text" : "webvtt";
        return subtitle == own ? "copy" : own;
    }
    return IsMp4(job) && subtitle == "dvd_subtitle" ? "copy" : "";
}

bool TakesAttachments(const VideoJob& job) {
    return IsMatroska(job);
}

bool KeepsAlpha(const VideoJob& job, const VideoSource& source) {
    const std::string format = PixelFormatOf(job);
    return HasAlpha(source.pixelFormat) && (format.empty() || HasAlpha(format));
}

std::vector<std::string> LossesOf(const VideoJob& job, const VideoSource& source) {
    std::vector<std::string> losses;
    const std::string cannot = " left out: a ." + ExtensionOf(job) + " file cannot hold them.";
    for (const std::string& subtitle : source.subtitles) {
        if (SubtitleCodecFor(job, subtitle).empty()) {
            losses.emplace_back("Subtitles of the format ");
            losses.back().append(subtitle).append(" are").append(cannot);
        }
    }
    if (source.hasAttachments && !TakesAttachments(job)) {
        losses.push_back("Attached files, such as fonts, are" + cannot);
    }
    if (HasAlpha(source.pixelFormat) && source.pixelFormat != "pal8" && !KeepsAlpha(job, source)) {
        losses.emplace_back("The transparency of the source is left out: another --codec may keep it.");
    }
    if (HasDeepColours(source.pixelFormat)) {
        losses.emplace_back("The source has more than 8 bits per channel; it is reduced to 8.");
    }
    if (source.isInterlaced) {
        losses.emplace_back("The source is interlaced; deinterlace it first for a better result.");
    }
    return losses;
}

}  // namespace orvane::tool
