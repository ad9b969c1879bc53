#include "apps/orvane/video/video_output.h"

#include <algorithm>
#include <cctype>
#include <initializer_list>
#include <string_view>

#include "apps/orvane/video/encoders.h"

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

bool IsMatroska(const VideoJob& job) {
    return ExtensionOf(job) == "mkv";
}

bool IsWebM(const VideoJob& job) {
    return ExtensionOf(job) == "webm";
}

bool HasDeepColours(const std::string& pixelFormat) {
    return HasOneOf(pixelFormat, {"p9", "p10", "p12", "p14", "p16", "48", "64", "f32", "gray1"});
}

// A palette rarely has any.
bool HasTransparency(const VideoSource& source) {
    return HasAlpha(source.pixelFormat) && source.pixelFormat != "pal8";
}

}  // namespace

std::string CodecOf(const VideoJob& job) {
    if (!job.codec.empty()) {
        return job.codec;
    }
    return IsWebM(job) ? "libvpx-vp9" : "libx264";
}

std::string PixelFormatOf(const VideoJob& job, const VideoSource& source) {
    const std::vector<std::string>& own = job.encoderArguments;
    for (size_t i = own.size(); i-- > 1;) {
        if (IsOneOf(own[i - 1], {"-pix_fmt", "-pix_fmt:v"})) {
            return own[i];
        }
    }
    const Encoder encoder = EncoderNamed(CodecOf(job));
    const bool takesAlpha = HasTransparency(source) && !encoder.alphaPixelFormat.empty();
    return std::string(takesAlpha ? encoder.alphaPixelFormat : encoder.pixelFormat);
}

bool IsRgbOutput(const VideoJob& job, const VideoSource& source) {
    const std::string format = PixelFormatOf(job, source);
    return format.empty() ? EncoderNamed(CodecOf(job)).isRgb : IsRgb(format);
}

double SecondsToUpscale(const VideoJob& job, const VideoSource& source) {
    const double seconds = source.seconds - (job.start ? SecondsFromText(*job.start) : 0);
    return job.duration ? std::min(seconds, SecondsFromText(*job.duration)) : seconds;
}

bool IsMp4(const VideoJob& job) {
    return IsOneOf(ExtensionOf(job), {"mp4", "m4v", "mov"});
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
    const std::string format = PixelFormatOf(job, source);
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
    if (HasTransparency(source) && !KeepsAlpha(job, source)) {
        losses.emplace_back("The transparency of the source is left out: another --codec may keep it.");
    }
    if (HasDeepColours(source.pixelFormat)) {
        losses.emplace_back("The source has more than 8 bits per channel; it is reduced to 8.");
    }
    if (source.isInterlaced) {
        losses.emplace_back("The source is interlaced; deinterlace it first for a better result.");
    }
    if (source.otherVideos > 0) {
        losses.push_back("The source has " + std::to_string(source.otherVideos + 1) +
                         " video tracks; only the first one is taken.");
    }
    if (source.covers > 0) {
        losses.emplace_back("Cover images are left out.");
    }
    if (source.hasHdrData) {
        losses.emplace_back("HDR data for the display (mastering display and light levels) are left out.");
    }
    return losses;
}

}  // namespace orvane::tool
