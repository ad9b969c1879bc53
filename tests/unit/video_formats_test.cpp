// The formats exchanged with other programs: PAM, NUT, ffmpeg's messages and its command lines.
#include <algorithm>
#include <gtest/gtest.h>

#include "apps/orvane/containers/nut.h"
#include "apps/orvane/containers/pam.h"
#include "apps/orvane/video/encoders.h"
#include "apps/orvane/video/ffmpeg_arguments.h"
#include "apps/orvane/video/ffprobe_report.h"
#include "apps/orvane/video/video_verdict.h"
#include "apps/utils/failure.h"
#include "apps/utils/process/command_line.h"
#include "tests/support/memory_source.h"

namespace orvane::tool {
namespace {

TEST(Pam, TakesColoursWithAndWithoutAlphaAndNothingElse) {
    const std::string lines = "HEIGHT 3\nWIDTH 2\n# a remark\n\nMAXVAL 255\n";
    const std::vector<std::pair<std::string, std::string>> cases{
        {"P7\n" + lines + "DEPTH 4\nTUPLTYPE RGB_ALPHA\nENDHDR\nX", ""},
        {"P7\n" + lines + "DEPTH 3\nENDHDR\nX", ""},
        {"P6\n2 3\n255\n", "does not begin with P7"},
        {"P7\n" + lines + "DEPTH 3\n", "ends before ENDHDR"},
        {"P7\n" + lines + "DEPTH 3\nDEPTH 3\nENDHDR\n", "two lines DEPTH"},
        {"P7\n" + lines + "ENDHDR\n", "no line DEPTH"},
        {"P7\n" + lines + "DEPTH 3\nCOLOUR red\nENDHDR\n", "unknown"},
        {"P7\n" + lines + "DEPTH 1\nTUPLTYPE GRAYSCALE\nENDHDR\n", "neither RGB nor RGB_ALPHA"},
        {"P7\n" + lines + "DEPTH 4\nTUPLTYPE RGB\nENDHDR\n", "neither RGB nor RGB_ALPHA"},
        {"P7\nWIDTH 2\nHEIGHT 3\nMAXVAL 65535\nDEPTH 3\nENDHDR\n", "8 bits"},
        {"P7\nWIDTH 0\nHEIGHT 3\nMAXVAL 255\nDEPTH 3\nENDHDR\n", "0 x 3"},
        {"P7\nWIDTH 4000000000\nHEIGHT 4000000000\nMAXVAL 255\nDEPTH 3\nENDHDR\n", "a frame cannot have"},
        {"P7\nWIDTH -2\nHEIGHT 3\nMAXVAL 255\nDEPTH 3\nENDHDR\n", "WIDTH is \"-2\""},
        {"P7\n#" + std::string(5000, 'x'), "does not end"},
    };
    for (const auto& [text, reason] : cases) {
        MemorySource source(text);
        std::string message;
        try {
            const auto header = ReadPamHeader(source);
            ASSERT_TRUE(header.has_value()) << text;
            EXPECT_EQ(header->PixelBytes(), 6U * header->channels);
            EXPECT_EQ(source.Rest(), "X");
        } catch (const Failure& failure) {
            message = failure.what();
        }
        EXPECT_EQ(message.empty(), reason.empty()) << text << message;
        EXPECT_NE(message.find(reason), std::string::npos) << text << message;
    }
    MemorySource nothing("");
    EXPECT_FALSE(ReadPamHeader(nothing).has_value());
}

TEST(Nut, KeepsTimesAndDescriptionsAndDropsAFrameThatIsCut) {
    const NutVideo video{2, 1, {8, 9}, {1001, 24000}, {"some words"}};
    const std::vector<uint64_t> times{0, 1, 5, 70000, 70001};
    std::string bytes = NutHeaders(video);
    for (const uint64_t time : times) {
        bytes += NutFrameHeader(time, 8) + "RGBA" + std::to_string(1000 + time % 9000);
    }
    for (const size_t cut : {0U, 3U}) {
        MemorySource source(bytes.substr(0, bytes.size() - cut));
        NutReader reader(source);
        const auto read = reader.ReadHeaders();
        ASSERT_TRUE(read.has_value());
        EXPECT_EQ(read->width * 10 + read->height, 21U);
        EXPECT_EQ(read->pixelAspect.numerator * 10 + read->pixelAspect.denominator, 89U);
        EXPECT_EQ(read->timeBase.numerator + read->timeBase.denominator, 25001U);
        EXPECT_EQ(read->descriptions, video.descriptions);
        std::vector<uint64_t> readTimes;
        while (const auto frame = reader.Next()) {
            readTimes.push_back(frame->time);
            EXPECT_EQ(std::string(frame->pixels.begin(), frame->pixels.end()),
                      "RGBA" + std::to_string(1000 + frame->time % 9000));
        }
        EXPECT_EQ(readTimes, std::vector<uint64_t>(times.begin(), times.end() - (cut > 0 ? 1 : 0)));
    }
}

TEST(ParseVideoSource, UnderstandsOldAndNewFfmpeg) {
    const VideoSource old = ParseVideoSource(
        "  libavutil      56. 24.101 / 56. 24.101\r\n"
        "Input #0, matroska,webm, from 'a.mkv':\r\n"
        "  Duration: 00:01:02.50, start: 0.000000, bitrate: 92 kb/s\r\n"
        "    Stream #0:0: Video: mjpeg, yuvj420p(pc, bt470bg/unknown/unknown), 9x9, 90k tbr (attached pic)\r\n"
        "    Stream #0:1(eng): Video: h264 (High), yuv420p(tv, bt709/unknown/smpte170m, top first), 720x576 [SAR 16:15 "
        "DAR 4:3], 25.50 fps, 25 tbr, 1k tbn (default)\r\n"
        "    Stream #0:2: Audio: aac (LC), 44100 Hz, mono, fltp (default)\r\n"
        "    Stream #0:3(ger): Subtitle: subrip (default)\r\n"
        "    Stream #0:4: Subtitle: hdmv_pgs_subtitle\r\n"
        "    Stream #0:5: Attachment: ttf\r\n");
    EXPECT_EQ(old.libavutilVersion, 56U);
    EXPECT_EQ(old.seconds, 62.5);
    EXPECT_EQ(old.pixelFormat, "yuv420p");
    EXPECT_EQ(old.colour.range + old.colour.matrix + old.colour.primaries + old.colour.transfer, "tvbt709smpte170m");
    EXPECT_TRUE(old.isInterlaced);
    EXPECT_EQ(old.width * 1000 + old.height, 720576U);
    EXPECT_EQ(old.framesPerSecond, 25.5);
    EXPECT_EQ(old.subtitles, (std::vector<std::string>{"subrip", "hdmv_pgs_subtitle"}));
    EXPECT_TRUE(old.hasAttachments);

    const VideoSource recent = ParseVideoSource(
        "  libavutil      59. 39.100 / 59. 39.100\n"
        "  Duration: N/A, start: 0.000000, bitrate: N/A\n"
        "  Stream #0:0[0x1](und): Video: hevc (Main 10) (hvc1 / 0x31637668), yuv420p10le(tv, "
        "bt2020nc/bt2020/smpte2084, "
        "progressive), 3840x2160 [SAR 1:1 DAR 16:9], 23.98 fps, 23.98 tbr, 24k tbn (default)\n");
    EXPECT_EQ(recent.colour.transfer, "smpte2084");
    EXPECT_FALSE(recent.isInterlaced);
    EXPECT_EQ(recent.seconds, 0);
    EXPECT_EQ(recent.height, 2160U);
    EXPECT_FALSE(ParseVideoSource("  Stream #0:0: Audio: mp3, 44100 Hz\n").hasVideo);
}

bool Has(const std::vector<std::string>& arguments, const std::vector<std::string>& part) {
    return std::search(arguments.begin(), arguments.end(), part.begin(), part.end()) != arguments.end();
}

TEST(FfmpegArguments, KeepWhatTheOutputCanHold) {
    VideoSource source;
    source.pixelFormat = "yuv420p";
    source.height = 480;
    source.subtitles = {"subrip", "hdmv_pgs_subtitle", "mov_text"};
    source.hasAttachments = true;
    source.libavutilVersion = 56;
    VideoJob job;
    job.input = "C:\\a b.mkv";
    job.start = "1:30";
    job.encoderArguments = {"-tune", "film"};
    struct Case {
        std::string output;
        size_t losses;
        std::vector<std::string> part;
    };
    const std::vector<std::string> tags{"-color_range", "tv", "-colorspace", "smpte170m", "-map"};
    for (const Case& test :
         std::vector<Case>{{"a.mp4", 2, {"-map", "1:s:0", "-c:s:0", "mov_text", "-map", "1:s:2", "-c:s:1", "copy"}},
                           {"a.MKV", 0, {"1:s:1", "-c:s:1", "copy", "-map", "1:s:2", "-c:s:2", "srt", "-map", "1:t"}},
                           {"a.webm", 2, {"-c:v", "libvpx-vp9", "-crf", "24", "-b:v", "0"}},
                           {"a.avi", 4, {"-tune", "film", "-y", "file:a.avi", "-map", "1:V:0"}},
                           {"a.mp4", 2, {"-ss", "1:30", "-i", "file:C:\\a b.mkv"}},
                           {"a.mp4", 2, {"-itsoffset", "0.083417", "-f", "nut", "-i", "pipe:0"}},
                           {"a.mp4", 2, {"-vsync", "passthrough", "-enc_time_base", "1001/24000"}},
                           {"a.mov", 2, {"-use_editlist", "0", "-bf", "0"}},
                           {"a.mp4", 2, tags}}) {
        job.output = test.output;
        const auto arguments = EncodeArguments(job, source, {4, 4, {}, {1001, 24000}, {}}, 2);
        EXPECT_TRUE(Has(arguments, test.part)) << WindowsCommandLine(arguments);
        EXPECT_EQ(LossesOf(job, source).size(), test.losses) << test.output;
    }
    EXPECT_TRUE(Has(DecodeArguments(job, source), {"-vsync", "passthrough", "-enc_time_base", "-1"}));
    source.libavutilVersion = 60;
    EXPECT_TRUE(Has(DecodeArguments(job, source), {"-fps_mode", "passthrough", "-enc_time_base", "demux"}));
}

TEST(VideoSource, TellsWhatIsNotTakenFromTextAndJson) {
    const VideoSource text = ParseVideoSource(
        "    Stream #0:0(eng): Video: vp9, yuv420p(tv), 64x36, 25 fps, 25 tbr, 1k tbn (default)\n"
        "    Metadata:\n"
        "      alpha_mode      : 1\n"
        "    Side data:\n"
        "      Content Light Level Metadata, MaxCLL=1000, MaxFALL=400\n"
        "    Stream #0:1: Video: h264, yuv420p, 32x18, 25 fps\n"
        "    Stream #0:2: Video: mjpeg, yuvj420p, 9x9, 90k tbr (attached pic)\n");
    const VideoSource json = ParseFfprobeReport(R"({
        "frames": [{"side_data_list": [{"side_data_type": "Mastering display metadata"}]}],
        "library_versions": [{"name": "libavutil", "major": 59}],
        "streams": [
            {"codec_type": "video", "codec_name": "mjpeg", "disposition": {"attached_pic": 1}},
            {"codec_type": "video", "codec_name": "vp9", "pix_fmt": "yuv420p", "width": 64, "height": 36,
             "color_range": "tv", "color_transfer": "unknown", "field_order": "tt", "avg_frame_rate": "30000/1001",
             "nb_frames": "90", "tags": {"alpha_mode": "1", "DURATION": "00:00:03.003000000"}},
            {"codec_type": "audio"}, {"codec_type": "video", "codec_name": "h264"},
            {"codec_type": "subtitle", "codec_name": "subrip"}, {"codec_type": "attachment"}],
        "format": {"duration": "4.500000"}})");
    for (const VideoSource& source : {text, json}) {
        EXPECT_EQ(source.decoder + " " + source.pixelFormat, "libvpx-vp9 yuva420p");
        EXPECT_TRUE(source.hasHdrData);
        EXPECT_EQ(source.otherVideos * 10 + source.covers, 11U);
        EXPECT_EQ(source.width * 100 + source.height, 6436U);
        VideoJob job;
        job.output = "a.mp4";
        EXPECT_GE(LossesOf(job, source).size(), 4U);  // tracks, covers, HDR and transparency
        EXPECT_TRUE(Has(DecodeArguments(job, source), {"-c:v", "libvpx-vp9", "-i"}));
    }
    EXPECT_EQ(json.colour.range + json.colour.transfer, "tv");
    EXPECT_NEAR(json.framesPerSecond, 29.97, 0.001);
    EXPECT_EQ(json.seconds, 3.003);
    EXPECT_EQ(json.frameCount, 90U);
    EXPECT_EQ(json.libavutilVersion, 59U);
    EXPECT_TRUE(json.isInterlaced && json.hasAttachments);
    EXPECT_EQ(json.subtitles, std::vector<std::string>{"subrip"});
    for (const char* other : {"", "[1]", R"({"streams": 5})", R"({"streams": [[], {"codec_type": 1}]})"}) {
        EXPECT_FALSE(ParseFfprobeReport(other).hasVideo) << other;
    }
}

TEST(Verdict, GoesByExitCodesAndMissingFrames) {
    VideoSource counted;
    counted.framesPerSecond = 25;
    counted.seconds = 4;
    counted.frameCount = 100;
    VideoSource timed = counted;
    timed.frameCount = 0;
    VideoJob clip;
    clip.start = "1";
    clip.duration = "0:02";
    struct Case {
        VideoJob job;
        VideoSource source;
        VideoEnd end;
        Verdict verdict;
    };
    const std::string text = "Invalid data";
    const std::vector<Case> cases{
        {{}, counted, {false, false, 100, 3.96, ""}, Verdict::kWhole},
        {{}, counted, {false, false, 90, 3.56, ""}, Verdict::kWhole},  // an edit list may hide some
        {{}, counted, {false, false, 100, 3.96, text}, Verdict::kComplainedOf},
        {{}, counted, {false, false, 99, 3.96, text}, Verdict::kDamaged},
        {{}, counted, {false, true, 10, 0.4, text}, Verdict::kComplainedOf},
        {{}, counted, {true, false, 100, 3.96, ""}, Verdict::kDamaged},
        {{}, timed, {false, false, 60, 3.96, text}, Verdict::kComplainedOf},  // begins late
        {{}, timed, {false, false, 60, 2.36, text}, Verdict::kDamaged},
        {clip, counted, {false, false, 50, 1.96, text}, Verdict::kComplainedOf},
        {clip, counted, {false, false, 20, 0.76, text}, Verdict::kDamaged},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        EXPECT_EQ(JudgeVideo(cases[i].job, cases[i].source, cases[i].end), cases[i].verdict) << "case " << i;
    }
    EXPECT_EQ(WithoutChatter(EncoderNamed("libx265"), "x265 [info]: a\nbad\n\nx265 [error]: b\nencoded 9"),
              "bad\n\nx265 [error]: b\n");
    EXPECT_EQ(WithoutChatter(EncoderNamed("other"), "x265 [info]: a"), "x265 [info]: a");
}

TEST(Texts, AreReadAndQuoted) {
    EXPECT_EQ(SecondsFromText("1:02:03.5"), 3723.5);
    for (const char* text : {"", "x", "-1", "1:", "1:60", "1:2:3:4", "inf", "1e3", "2s"}) {
        EXPECT_LT(SecondsFromText(text), 0) << text;
    }
    EXPECT_EQ(WindowsCommandLine({"a", "", "b c", "d\"e", "f\\", "g h\\", "\\\"i"}),
              R"(a "" "b c" "d\"e" f\ "g h\\" "\\\"i")");
    EXPECT_EQ(SummaryOfMessages("[mp4 @ 0x1] [error] No room.\r\nThen this\nConversion failed!\n"),
              "No room; Then this");
}

}  // namespace
}  // namespace orvane::tool
