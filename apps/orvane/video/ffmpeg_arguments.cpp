#include "apps/orvane/video/ffmpeg_arguments.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#include "apps/orvane/video/encoders.h"

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

// A second output that takes every stream of input `number` and writes nothing. In MPEG streams ffmpeg counts time from
// the first stream in use, so the decoder and the encoder must use the same ones, or the sound gets out of step.
Arguments SameClock(int number) {
    const std::string input = std::to_string(number);
    return {"-map", input + ":V:0", "-map", input + ":a?", "-map", input + ":s?", "-c", "copy", "-t", "0",
            "-f",   "null",         "-"};
}

// ffmpeg's command line and its file descriptions name some curves differently.
std::string TransferOption(const std::string& transfer) {
    if (transfer == "bt470m") {
        return "gamma22";
    }
    return transfer == "bt470bg" ? "gamma28" : transfer;
}

constexpr const char* kScalerFlags = "flags=bicubic+accurate_rnd+full_chroma_int";

std::string ScaleFilter(const std::string& direction, const ColourDescription& colour) {
    return "scale=" + direction + "_color_matrix=" + ScalerMatrix(colour.matrix) + ":" + direction +
           "_range=" + colour.range + ":" + kScalerFlags;
}

// Since version 7 ffmpeg takes the description from the frames, before from the options in ColourTags.
std::string EncoderFilter(const ColourDescription& colour, bool isRgb) {
    std::string filter = isRgb ? std::string("scale=") + kScalerFlags : ScaleFilter("out", colour);
    const std::string primaries = colour.primaries.empty() ? "" : ":color_primaries=" + colour.primaries;
    const std::string transfer = colour.transfer.empty() ? "" : ":color_trc=" + colour.transfer;
    const std::string matrix = isRgb ? "" : ":colorspace=" + colour.matrix;
    const std::string tags = primaries + transfer + matrix;
    return tags.empty() ? filter : filter + ",setparams=" + tags.substr(1);
}

Arguments ColourTags(const ColourDescription& colour, bool isRgb) {
    Arguments arguments;
    if (!isRgb) {
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

Arguments CodecArguments(const VideoJob& job, const VideoSource& source) {
    const std::string codec = CodecOf(job);
    const Encoder encoder = EncoderNamed(codec);
    Arguments arguments{"-c:v", codec};
    if (const std::string quality = job.crf.empty() ? std::string(encoder.quality) : job.crf; !quality.empty()) {
        Append(arguments, {std::string(encoder.qualityOption), quality});
    }
    if (encoder.isQualityAlone) {
        Append(arguments, {"-b:v", "0"});
    }
    if (!job.preset.empty()) {
        Append(arguments, {"-preset", job.preset});
    }
    if (const std::string format = PixelFormatOf(job, source); !format.empty()) {
        Append(arguments, {"-pix_fmt", format});
    }
    return arguments;
}

// ffmpeg 4 writes an edit list into .mp4 that ends before the last frame. Without the list the frames must be stored in
// the order of their display, or the sound gets out of step by their delay.
Arguments WholeMp4(const VideoJob& job, const VideoSource& source) {
    const auto [option, value] = EncoderNamed(CodecOf(job)).inOrder;
    const std::vector<std::string>& own = job.encoderArguments;
    if (!IsMp4(job) || source.libavutilVersion > 56 || std::find(own.begin(), own.end(), option) != own.end()) {
        return {};
    }
    return {"-use_editlist", "0", std::string(option), std::string(value)};
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

std::vector<std::string> FfprobeArguments(const VideoJob& job) {
    return {"-v",
            "error",
            "-of",
            "json",
            "-show_library_versions",
            "-show_format",
            "-show_streams",
            "-show_frames",
            "-read_intervals",
            "%+#8",
            "file:" + job.input};
}

std::vector<std::string> DecodeArguments(const VideoJob& job, const VideoSource& source) {
    Arguments arguments = Quiet();
    if (!source.decoder.empty()) {
        Append(arguments, {"-c:v", source.decoder});
    }
    Append(arguments, InputOf(job));
    const bool dropsAlpha = HasAlpha(source.pixelFormat) && !KeepsAlpha(job, source);
    Append(arguments,
           {"-map", "0:V:0", "-vf", ScaleFilter("in", ResolvedColour(source)) + (dropsAlpha ? ",format=rgb24" : "")});
    Append(arguments, KeepTimes(source, HasNewNames(source) ? "demux" : "-1"));
    // Chapters would bring their own time base.
    Append(arguments, {"-map_chapters", "-1", "-c:v", "rawvideo", "-pix_fmt", "rgba", "-f", "nut", "pipe:1"});
    Append(arguments, SameClock(0));
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
    const bool isRgb = IsRgbOutput(job, source);
    Append(arguments, {"-map", "0:v:0", "-vf", EncoderFilter(colour, isRgb)});
    Append(arguments, KeepTimes(source, std::to_string(video.timeBase.numerator) + "/" +
                                            std::to_string(video.timeBase.denominator)));
    Append(arguments, CodecArguments(job, source));
    Append(arguments, WholeMp4(job, source));
    Append(arguments, ColourTags(colour, isRgb));
    Append(arguments, OtherStreams(job, source));
    Append(arguments, job.encoderArguments);
    Append(arguments, {"-y", "file:" + job.output});
    Append(arguments, SameClock(1));
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
