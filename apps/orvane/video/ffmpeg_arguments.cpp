#include "apps/orvane/video/ffmpeg_arguments.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

namespace orvane::tool {
namespace {

using Arguments = std::vector<std::string>;

void Append(Arguments& arguments, const Arguments& more) {
    arguments.insert(arguments.end(), more.begin(), more.end());
}

Arguments Quiet() {
    return {"-hide_banner", "-nostdin", "-nostats", "-loglevel", "error"};
}

// Since ffmpeg 7 (libavutil 59) some options have new names.
bool HasNewNames(const VideoSource& source) {
    return source.libavutilVersion >= 59;
}

// Every frame once, with its own time stamp.
Arguments KeepTimes(const VideoSource& source, const std::string& timeBase) {
    return {HasNewNames(source) ? "-fps_mode" : "-vsync", "passthrough", "-enc_time_base", timeBase};
}

// With "file:" a name is never taken for an address.
Arguments InputOf(const VideoJob& job) {
    Arguments arguments;
    if (job.start) {
        Append(arguments, {"-ss", *job.start});
    }
    if (job.duration) {
        Append(arguments, {"-t", *job.duration});
    }
    Append(arguments, {"-i", "file:" + job.input});
    return arguments;
}

// The scaler's name of a matrix; empty when it has none.
std::string ScalerMatrix(const std::string& matrix) {
    constexpr std::array<std::array<std::string_view, 2>, 7> kNames{{{"bt709", "bt709"},
                                                                     {"fcc", "fcc"},
                                                                     {"bt470bg", "bt470"},
                                                                     {"smpte170m", "smpte170m"},
                                                                     {"smpte240m", "smpte240m"},
                                                                     {"bt2020nc", "bt2020"},
                                                                     {"bt2020c", "bt2020"}}};
    for (const auto& [name, scalerName] : kNames) {
        if (name == matrix) {
            return std::string(scalerName);
        }
    }
    return {};
}

// ffmpeg's command line and its file descriptions name some curves differently.
std::string TransferOption(const std::string& transfer) {
    if (transfer == "bt470m") {
        return "gamma22";
    }
    return transfer == "bt470bg" ? "gamma28" : transfer;
}

std::string ScaleFilter(const std::string& direction, const ColourDescription& colour) {
    return "scale=" + direction + "_color_matrix=" + ScalerMatrix(colour.matrix) + ":" + direction +
           "_range=" + colour.range + ":flags=bicubic+accurate_rnd+full_chroma_int";
}

Arguments ColourTags(const VideoJob& job, const ColourDescription& colour) {
    Arguments arguments;
    if (!IsRgb(PixelFormatOf(job))) {
        Append(arguments, {"-color_range", colour.range, "-colorspace", colour.matrix});
    }
    if (!colour.primaries.empty()) {
        Append(arguments, {"-color_primaries", colour.primaries});
    }
    if (!colour.transfer.empty()) {
        Append(arguments, {"-color_trc", TransferOption(colour.transfer)});
    }
    return arguments;
}

Arguments CodecArguments(const VideoJob& job) {
    const std::string codec = CodecOf(job);
    Arguments arguments{"-c:v", codec};
    if (!job.crf.empty()) {
        Append(arguments, {"-crf", job.crf});
    } else if (IsX26(codec) || IsVpxOrAom(codec)) {
        Append(arguments, {"-crf", IsX26(codec) ? "18" : "24"});
    }
    if (IsVpxOrAom(codec)) {
        Append(arguments, {"-b:v", "0"});  // the quality alone decides
    }
    if (!job.preset.empty()) {
        Append(arguments, {"-preset", job.preset});
    }
    if (const std::string format = PixelFormatOf(job); !format.empty()) {
        Append(arguments, {"-pix_fmt", format});
    }
    return arguments;
}

// Everything in the source except its video.
Arguments OtherStreams(const VideoJob& job, const VideoSource& source) {
    Arguments arguments{"-map", "1:a?", "-c:a", "copy"};
    size_t taken = 0;
    for (size_t i = 0; i < source.subtitles.size(); ++i) {
        const std::string codec = SubtitleCodecFor(job, source.subtitles[i]);
        if (!codec.empty()) {
            Append(arguments, {"-map", "1:s:" + std::to_string(i), "-c:s:" + std::to_string(taken++), codec});
        }
    }
    if (source.hasAttachments && TakesAttachments(job)) {
        Append(arguments, {"-map", "1:t", "-c:t", "copy"});
    }
    if (job.start) {
        Append(arguments, {"-copypriorss", "0"});  // drops what lies before the start
    }
    Append(arguments, {"-map_metadata", "1", "-map_chapters", "1"});
    return arguments;
}

// "[mp4 @ 0000012345] What is wrong." without the brackets and the full stop.
std::string_view Stripped(std::string_view line) {
    while (line.starts_with('[')) {
        const size_t end = line.find("] ");
        if (end == std::string_view::npos) {
            break;
        }
        line.remove_prefix(end + 2);
    }
    return line.substr(0, line.find_last_not_of(" .\r\t") + 1);
}

}  // namespace

ColourDescription ResolvedColour(const VideoSource& source) {
    ColourDescription colour = source.colour;
    if (colour.range.empty()) {
        colour.range = source.pixelFormat.starts_with("yuvj") ? "pc" : "tv";
    }
    if (ScalerMatrix(colour.matrix).empty()) {
        colour.matrix = source.height >= 720 ? "bt709" : "smpte170m";
    }
    return colour;
}

std::vector<std::string> ProbeArguments(const VideoJob& job) {
    return {"-nostdin", "-i", "file:" + job.input};
}

std::vector<std::string> DecodeArguments(const VideoJob& job, const VideoSource& source) {
    Arguments arguments = Quiet();
    Append(arguments, InputOf(job));
    const bool dropsAlpha = HasAlpha(source.pixelFormat) && !KeepsAlpha(job, source);
    Append(arguments,
           {"-map", "0:V:0", "-vf", ScaleFilter("in", ResolvedColour(source)) + (dropsAlpha ? ",format=rgb24" : "")});
    Append(arguments, KeepTimes(source, HasNewNames(source) ? "demux" : "-1"));
    // Chapters would bring their own time base.
    Append(arguments, {"-map_chapters", "-1", "-c:v", "rawvideo", "-pix_fmt", "rgba", "-f", "nut", "pipe:1"});
    return arguments;
}

std::vector<std::string> EncodeArguments(const VideoJob& job, const VideoSource& source, const NutVideo& video,
                                         uint64_t firstTime) {
    Arguments arguments = Quiet();
    if (firstTime > 0) {
        // ffmpeg shifts every input to begin at zero, but these frames begin later than the sound.
        const double seconds = static_cast<double>(firstTime) * video.timeBase.numerator / video.timeBase.denominator;
        std::array<char, 64> text{};
        std::snprintf(text.data(), text.size(), "%.6f", seconds);
        Append(arguments, {"-itsoffset", text.data()});
    }
    Append(arguments, {"-f", "nut", "-i", "pipe:0"});
    Append(arguments, InputOf(job));
    const ColourDescription colour = ResolvedColour(source);
    Append(arguments, {"-map", "0:v:0", "-vf", ScaleFilter("out", colour)});
    Append(arguments, KeepTimes(source, std::to_string(video.timeBase.numerator) + "/" +
                                            std::to_string(video.timeBase.denominator)));
    Append(arguments, CodecArguments(job));
    Append(arguments, ColourTags(job, colour));
    Append(arguments, OtherStreams(job, source));
    Append(arguments, job.encoderArguments);
    Append(arguments, {"-y", "file:" + job.output});
    return arguments;
}

std::string SummaryOfMessages(const std::string& messages) {
    std::string first;
    std::string last;
    for (size_t start = 0; start < messages.size();) {
        const size_t end = std::min(messages.find('\n', start), messages.size());
        const std::string line(Stripped(std::string_view(messages).substr(start, end - start)));
        if (!line.empty() && line != "Conversion failed!") {
            first = first.empty() ? line : first;
            last = line;
        }
        start = end + 1;
    }
    return first.empty() || first == last ? first : first + "; " + last;
}

}  // namespace orvane::tool
