#include "apps/orvane/video/ffprobe_report.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>
#include <string>

namespace orvane::tool {
namespace {

using Json = nlohmann::json;

// A member of an object; null when there is none.
const Json& Member(const Json& object, const char* name) {
    static const Json kNone;
    const auto found = object.is_object() ? object.find(name) : object.end();
    return object.is_object() && found != object.end() ? *found : kNone;
}

std::string Text(const Json& object, const char* name) {
    const Json& member = Member(object, name);
    return member.is_string() ? member.get<std::string>() : std::string();
}

// ffprobe writes most numbers as text. 0 for anything else.
double Number(const Json& object, const char* name) {
    const Json& member = Member(object, name);
    if (member.is_number()) {
        return member.get<double>();
    }
    const std::string text = Text(object, name);
    double number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
    return number;
}

uint32_t Count(const Json& object, const char* name) {
    const double number = Number(object, name);
    return number > 0 && number < 4e9 ? static_cast<uint32_t>(number) : 0;
}

// "30000/1001"
double Ratio(const Json& object, const char* name) {
    const std::string text = Text(object, name);
    const size_t slash = text.find('/');
    const Json parts{{"above", text.substr(0, slash)},
                     {"below", slash == std::string::npos ? "" : text.substr(slash + 1)}};
    const double below = Number(parts, "below");
    return below > 0 ? std::max(0.0, Number(parts, "above") / below) : 0;
}

std::string KnownText(const Json& object, const char* name) {
    const std::string text = Text(object, name);
    return text == "unknown" || text == "reserved" ? "" : text;
}

bool HasHdrData(const Json& streamOrFrame) {
    const Json& list = Member(streamOrFrame, "side_data_list");
    return list.is_array() && std::any_of(list.begin(), list.end(),
                                          [](const Json& data) { return IsHdrDataName(Text(data, "side_data_type")); });
}

// The duration of the stream itself, or 0. Matroska has it as a tag.
double StreamSeconds(const Json& stream) {
    const double seconds = Number(stream, "duration");
    return seconds > 0 ? seconds : std::max(0.0, SecondsFromText(Text(Member(stream, "tags"), "DURATION")));
}

void ReadVideo(const Json& stream, VideoSource& source) {
    source.hasVideo = true;
    source.codec = Text(stream, "codec_name");
    source.pixelFormat = Text(stream, "pix_fmt");
    source.colour = {KnownText(stream, "color_range"), KnownText(stream, "color_space"),
                     KnownText(stream, "color_primaries"), KnownText(stream, "color_transfer")};
    source.width = Count(stream, "width");
    source.height = Count(stream, "height");
    const std::string order = Text(stream, "field_order");
    source.isInterlaced = order == "tt" || order == "bb" || order == "tb" || order == "bt";
    source.framesPerSecond = Ratio(stream, "avg_frame_rate");
    source.frameCount = Count(stream, "nb_frames");
    if (const double seconds = StreamSeconds(stream); seconds > 0) {
        source.seconds = seconds;
    }
    source.hasHdrData = HasHdrData(stream);
    const Json& tags = Member(stream, "tags");
    if (Text(tags, "alpha_mode") == "1" || Text(tags, "ALPHA_MODE") == "1") {
        TakeVpxAlpha(source);
    }
}

void ReadStream(const Json& stream, VideoSource& source) {
    const std::string type = Text(stream, "codec_type");
    if (type == "video") {
        if (Number(Member(stream, "disposition"), "attached_pic") > 0) {
            ++source.covers;
        } else if (source.hasVideo) {
            ++source.otherVideos;
        } else {
            ReadVideo(stream, source);
        }
    } else if (type == "subtitle") {
        source.subtitles.push_back(Text(stream, "codec_name"));
    } else if (type == "attachment") {
        source.hasAttachments = true;
    }
}

}  // namespace

VideoSource ParseFfprobeReport(std::string_view text) {
    const Json report = Json::parse(text, nullptr, false);
    VideoSource source;
    source.seconds = std::max(0.0, Number(Member(report, "format"), "duration"));
    for (const Json& library : Member(report, "library_versions")) {
        if (Text(library, "name") == "libavutil") {
            source.libavutilVersion = Count(library, "major");
        }
    }
    for (const Json& stream : Member(report, "streams")) {
        ReadStream(stream, source);
    }
    for (const Json& frame : Member(report, "frames")) {
        source.hasHdrData |= HasHdrData(frame);
    }
    return source;
}

}  // namespace orvane::tool
