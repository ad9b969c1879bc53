// orvane stream and orvane video, as people run them: frames through pipes, and whole videos with ffmpeg.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sstream>
#include <thread>

#include <windows.h>

#include "apps/orvane/containers/frame_stream.h"
#include "apps/orvane/containers/pam.h"
#include "tests/support/host.h"
#include "tests/support/memory_source.h"
#include "tests/support/reference_network.h"
#include "tests/support/temp_folder.h"

namespace orvane::tool {
namespace {

namespace fs = std::filesystem;

fs::path g_programs;
fs::path g_ffmpeg;

std::string ContentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// A folder with a name that has no form in any code page, a random network in it, and what is run there.
class Workplace {
public:
    Workplace() {
        fs::create_directories(m_folder);
        Write("m.bin", test::ModelFile(m_network));
    }

    fs::path Path(const std::string& name) const { return m_folder / name; }

    void Write(const std::string& name, const std::vector<uint8_t>& content) const {
        std::ofstream(Path(name), std::ios::binary) << std::string(content.begin(), content.end());
    }

    // Runs a line of the shell, in which {o} is orvane and {f} is ffmpeg, and returns its exit code.
    int Run(std::string line) {
        const std::wstring log = Path(std::to_string(++m_runs) + ".log").wstring();
        std::wstring wide(line.begin(), line.end());
        for (const auto& [mark, path] :
             {std::pair(std::wstring(L"{o}"), g_programs / "orvane.exe"), {L"{f}", g_ffmpeg}}) {
            for (size_t at = wide.find(mark); at != std::wstring::npos; at = wide.find(mark)) {
                wide.replace(at, mark.size(), path.wstring());
            }
        }
        const int result = _wsystem((L"cd /d " + m_folder.wstring() + L" && " + wide + L" 2> " + log).c_str());
        m_said = ContentOf(log);
        return result;
    }

    const std::string& Said() const { return m_said; }  // on standard error
    const test::ReferenceNetwork& Network() const { return m_network; }

    // The names of the files that are there.
    std::string Files() const {
        std::string names;
        for (const auto& entry : fs::directory_iterator(m_folder)) {
            const std::string name = entry.path().filename().string();
            names += name.ends_with(".log") ? "" : name + " ";
        }
        return names;
    }

private:
    const TempFolder m_parent;
    const fs::path m_folder = m_parent.Path() / L"\u6A21\u578B";
    const test::ReferenceNetwork m_network = test::MakeRandomNetwork(4, 1, 1);
    int m_runs = 0;
    std::string m_said;
};

constexpr const char* kModel = " --model m.bin --channels 4 --depth 1 --raw-edges ";

std::string PamBytes(const test::Image& image, bool hasAlpha) {
    std::string bytes = PamHeaderText({image.width, image.height, hasAlpha ? 4U : 3U});
    for (size_t i = 0; i < image.pixels.size(); ++i) {
        bytes += hasAlpha || i % 4 != 3 ? std::string(1, static_cast<char>(image.pixels[i])) : "";
    }
    return bytes;
}

void ExpectUpscaled(const Frame& frame, const test::Image& source, const test::ReferenceNetwork& network, int number) {
    test::Image upscaled(frame.image.width, frame.image.height);
    upscaled.pixels = frame.image.pixels;
    test::Image expected = UpscaleImage(network, source);
    for (size_t i = 3; i < expected.pixels.size(); i += 4) {
        upscaled.pixels[i] = expected.pixels[i];
    }
    EXPECT_EQ(Difference(upscaled, expected), "") << "frame " << number;
}

// The alpha of these frames does not change from pixel to pixel: what any filter leaves as it is.
test::Image StreamImage(uint32_t number) {
    const bool isLate = number >= 25;
    test::Image image = test::MakeRandomImage(isLate ? 8 : 12, isLate ? 12 : 8, number);
    for (size_t i = 3; i < image.pixels.size(); i += 4) {
        image.pixels[i] = isLate ? static_cast<uint8_t>(number + 100) : 255;
    }
    return image;
}

TEST(Stream, UpscalesFiftyFramesInOrderWithAChangeOfSizeAndAlpha) {
    Workplace place;
    std::string pam;
    std::string raw;
    for (uint32_t i = 0; i < 50; ++i) {
        const test::Image image = StreamImage(i);
        pam += PamBytes(image, i >= 25);
        raw += std::string(image.pixels.begin(), image.pixels.end());
    }
    place.Write("in.pam", {pam.begin(), pam.end()});
    ASSERT_EQ(place.Run(std::string("{o} stream") + kModel + "< in.pam > out.pam"), 0) << place.Said();
    MemorySource output(ContentOf(place.Path("out.pam")));
    PamFrameReader reader(output);
    for (uint32_t i = 0; i < 50; ++i) {
        const auto frame = reader.Next();
        ASSERT_TRUE(frame.has_value()) << i;
        ExpectUpscaled(*frame, StreamImage(i), place.Network(), static_cast<int>(i));
        EXPECT_EQ(frame->image.pixels[3], StreamImage(i).pixels[3]) << i;
    }
    EXPECT_FALSE(reader.Next().has_value());

    // The same pixels as raw frames of one size; the last one is not whole.
    raw.pop_back();
    place.Write("in.raw", {raw.begin(), raw.end()});
    EXPECT_EQ(place.Run(std::string("{o} stream --raw 12x8") + kModel + "< in.raw > out.raw"), 1);
    EXPECT_NE(place.Said().find("The last frame is cut off: 383 of its 384 bytes arrived."), std::string::npos);
    MemorySource rawOutput(ContentOf(place.Path("out.raw")));
    RawFrameReader rawReader(rawOutput, {24, 16});
    for (uint32_t i = 0; i < 49; ++i) {
        test::Image source(12, 8);
        std::copy_n(raw.begin() + i * 384, 384, source.pixels.begin());
        ExpectUpscaled(rawReader.Next().value(), source, place.Network(), static_cast<int>(i));
    }
    EXPECT_TRUE(rawOutput.Rest().empty());
}

struct Failing {
    std::string line;
    int exitCode;
    std::string said;
};

void ExpectFailures(Workplace& place, const std::vector<Failing>& cases) {
    const std::string before = place.Files();
    for (const Failing& failing : cases) {
        EXPECT_EQ(place.Run(failing.line), failing.exitCode) << failing.line << place.Said();
        EXPECT_NE(place.Said().find(failing.said), std::string::npos) << failing.line << "\n" << place.Said();
        EXPECT_EQ(place.Files(), before) << failing.line;
    }
}

TEST(Stream, SaysWhatIsWrong) {
    Workplace place;
    const std::string frame = PamBytes(test::MakeRandomImage(4, 3, 1), false);
    const std::string liar = "P7\nWIDTH 16000\nHEIGHT 16000\nDEPTH 4\nMAXVAL 255\nENDHDR\nabc";
    place.Write("frame", {frame.begin(), frame.end()});
    place.Write("liar", {liar.begin(), liar.end()});
    place.Write("text", {'t', 'e', 'x', 't'});
    place.Write("out", {});
    place.Write("empty", {});
    const std::string stream = std::string("{o} stream") + kModel;
    ExpectFailures(place, {{stream + "< liar > out", 1, "cut off: 3 of its 1024000000 bytes"},
                           {stream + "< text > out", 1, "does not begin with P7"},
                           {stream + "--raw 4 < frame > out", 2, "is not a size"},
                           {stream + "--raw 99999x99999 < frame > out", 2, "is not a size"},
                           {stream + "< frame > Z:\\dev\\full", 1, "the disk is full"},
                           {stream + "--passes 2 < frame > out", 0, ""},
                           {stream + "< empty > out", 0, ""}});
}

std::vector<test::Image> RawImages(const std::string& bytes, uint32_t width, uint32_t height) {
    std::vector<test::Image> images;
    for (size_t at = 0; at < bytes.size(); at += size_t{width} * height * 4) {
        images.emplace_back(width, height);
        std::copy_n(bytes.begin() + static_cast<ptrdiff_t>(at), size_t{width} * height * 4,
                    images.back().pixels.begin());
    }
    return images;
}

// When the frames of a video are shown, a line each.
std::string Times(Workplace& place, const std::string& video) {
    EXPECT_EQ(place.Run("{f} -v error -i " + video + " -map 0:v -c copy -f framecrc -y times"), 0) << place.Said();
    std::istringstream lines(ContentOf(place.Path("times")));
    std::string times;
    for (std::string line; std::getline(lines, line);) {
        times += line.starts_with("#tb") || line.front() != '#' ? line.substr(0, 24) + "\n" : "";
    }
    return times;
}

TEST(Video, KeepsSoundTimesAspectAndFrames) {
    Workplace place;
    const std::string chapter = ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/7\nSTART=1\nEND=3\ntitle=Eins\n";
    place.Write("chapter", {chapter.begin(), chapter.end()});
    // Lossless, with frames that come in different distances and begin later than the sound.
    ASSERT_EQ(
        place.Run(
            "{f} -v error -f lavfi -i testsrc=s=16x12:r=25:d=1.2 -f lavfi -i sine=d=1.5 -i chapter -map_metadata 2 -vf "
            "\"settb=1/1000,setpts=N*40+5*mod(N\\,3)+80,setsar=8/9\" -vsync 0 -enc_time_base -1 -c:v ffv1 "
            "-pix_fmt bgra -c:a aac -metadata title=T in.mkv"),
        0)
        << place.Said();
    const std::string video = std::string("{o} video in.mkv out.mkv --ffmpeg {f} --codec ffv1") + kModel;
    ASSERT_EQ(place.Run(video + "-- -pix_fmt bgra"), 0) << place.Said();
    for (const char* name : {"in", "out"}) {
        const std::string file = std::string(name) + ".mkv";
        EXPECT_EQ(place.Run("{f} -v error -i " + file + " -pix_fmt rgba -f rawvideo -vsync 0 " + name + ".raw"), 0);
        EXPECT_EQ(place.Run("{f} -v error -i " + file + " -map 0:a -c copy -f md5 " + name + ".md5"), 0);
    }
    const auto sources = RawImages(ContentOf(place.Path("in.raw")), 16, 12);
    const auto results = RawImages(ContentOf(place.Path("out.raw")), 32, 24);
    ASSERT_EQ(sources.size(), 30U);
    ASSERT_EQ(results.size(), 30U);
    for (size_t i = 0; i < sources.size(); i += 7) {
        EXPECT_EQ(Difference(results[i], UpscaleImage(place.Network(), sources[i])), "") << "frame " << i;
    }
    EXPECT_EQ(ContentOf(place.Path("in.md5")), ContentOf(place.Path("out.md5")));
    EXPECT_EQ(Times(place, "in.mkv"), Times(place, "out.mkv"));
    place.Run("{f} -i out.mkv");
    EXPECT_NE(place.Said().find("32x24, SAR 8:9"), std::string::npos) << place.Said();
    EXPECT_NE(place.Said().find(": T"), std::string::npos) << place.Said();
    EXPECT_NE(place.Said().find(": Eins"), std::string::npos) << place.Said();
}

TEST(Video, TurnsUprightAndUpscalesTransparency) {
    Workplace place;
    ASSERT_EQ(
        place.Run(
            "{f} -v error -f lavfi -i color=red:s=32x16:d=0.2 -vf drawbox=0:0:16:16:blue:fill -c:v libx264 "
            "-crf 0 -pix_fmt yuv444p turned.mp4 && {f} -v error -i turned.mp4 -c copy -metadata:s:v rotate=270 in.mp4 "
            "&& {f} -v error -f lavfi -i color=red:s=16x12:d=0.2,format=rgba,geq=r=200:g=100:b=0:a=8*Y+80 -c:v ffv1 "
            "-pix_fmt bgra in.mkv"),
        0)
        << place.Said();
    place.Run("{f} -i in.mp4");
    if (place.Said().find("displaymatrix") == std::string::npos) {  // recent versions have an option instead
        ASSERT_EQ(place.Run("{f} -v error -display_rotation 90 -i turned.mp4 -c copy -y in.mp4"), 0) << place.Said();
    }
    const std::string options = " --ffmpeg {f} --codec ffv1 --model interpolating ";
    ASSERT_EQ(place.Run("{o} video in.mp4 turned.mkv --passes 2" + options + "-- -pix_fmt bgra"), 0) << place.Said();
    ASSERT_EQ(place.Run("{o} video in.mkv clear.mkv" + options + "-- -pix_fmt bgra"), 0) << place.Said();
    ASSERT_EQ(place.Run("{f} -v error -i turned.mkv -pix_fmt rgba -f rawvideo t.raw && "
                        "{f} -v error -i clear.mkv -pix_fmt rgba -f rawvideo c.raw && "
                        "{f} -v error -i in.mp4 -pix_fmt rgba -f rawvideo s.raw"),
              0)
        << place.Said();
    place.Run("{f} -i turned.mkv");
    EXPECT_NE(place.Said().find(" 64x128"), std::string::npos) << place.Said();
    EXPECT_EQ(place.Said().find("rotate"), std::string::npos) << place.Said();
    const auto shown = RawImages(ContentOf(place.Path("s.raw")), 16, 32);
    const auto turned = RawImages(ContentOf(place.Path("t.raw")), 64, 128);
    const auto clear = RawImages(ContentOf(place.Path("c.raw")), 32, 24);
    ASSERT_EQ(turned.size() * 100 + clear.size(), 505U);
    for (const auto& [x, y] : {std::pair{0U, 0U}, {63U, 55U}, {31U, 72U}, {63U, 127U}}) {
        const uint8_t* const source = shown[4].At(x / 4, y / 4);
        for (size_t channel = 0; channel < 3; ++channel) {
            EXPECT_NEAR(turned[4].At(x, y)[channel], source[channel], 8) << x << ", " << y;
        }
    }
    EXPECT_GT(std::abs(turned[4].At(0, 0)[0] - turned[4].At(0, 127)[0]), 200);
    for (uint32_t y = 0; y < 24; ++y) {
        const uint8_t* const pixel = clear[4].At(7, y);
        EXPECT_NEAR(pixel[3], 80 + 4 * y - 2, y < 2 || y > 21 ? 3 : 1) << "row " << y;
        EXPECT_NEAR(pixel[0] - pixel[1], 100, 2);
    }
}

// How much later than the beep the flash comes, in seconds.
double FlashAfterBeep(Workplace& place, const std::string& video) {
    EXPECT_EQ(
        place.Run("{f} -v error -i " + video +
                  " -map 0:V:0 -vf signalstats,metadata=print:file=flash:key=lavfi.signalstats.YAVG -vsync 0 -f null - "
                  "-map 0:a:0 -af aresample=async=1:first_pts=0 -ac 1 -ar 48000 -f s16le -y beep"),
        0)
        << place.Said();
    std::istringstream levels(ContentOf(place.Path("flash")));
    double flash = -1;
    double time = 0;
    for (std::string line; flash < 0 && std::getline(levels, line);) {
        if (const size_t at = line.find("pts_time:"); at != std::string::npos) {
            time = std::stod(line.substr(at + 9));
        } else if (const size_t level = line.find("YAVG="); level != std::string::npos) {
            flash = std::stod(line.substr(level + 5)) > 128 ? time : -1;
        }
    }
    EXPECT_GE(flash, 0) << video;
    const std::string sound = ContentOf(place.Path("beep"));
    size_t beep = 0;
    while (beep + 1 < sound.size() && std::abs(static_cast<signed char>(sound[beep + 1])) < 8) {
        beep += 2;
    }
    EXPECT_LT(beep + 1, sound.size()) << video;
    return flash - static_cast<double>(beep) / 2 / 48000;
}

std::string VideoLine(const std::string& source, const std::string& result, const std::string& options) {
    return "{o} video " + source + " " + result + " --force --ffmpeg {f} --model interpolating" + options;
}

TEST(Video, KeepsTheSoundInStep) {
    Workplace place;
    ASSERT_EQ(
        place.Run("{f} -v error -f lavfi -i \"color=black:s=32x18:r=25:d=1.2,drawbox=c=white:t=fill:enable=eq(mod(n\\,"
                  "25)\\,20)\" -f lavfi -i \"aevalsrc=0.5*sin(6283*t)*lt(mod(t+0.2\\,1)\\,0.04):s=48000:d=1.2\" -c:v "
                  "mpeg2video -q:v 2 -g 5 -c:a ac3 base.mkv"),
        0)
        << place.Said();
    for (const std::string kind : {"ts", "mp4", "mkv", "avi"}) {
        const std::string source = "in." + kind;
        ASSERT_EQ(place.Run("{f} -v error -itsoffset 0.13 -i base.mkv -i base.mkv -map 0:v -map 1:a -c copy " + source),
                  0)
            << place.Said();
        const double expected = FlashAfterBeep(place, source);
        for (const std::string start : {"", " --start 0.5"}) {
            if (kind == "avi" && !start.empty()) {
                continue;  // there ffmpeg itself seeks to a place one sound packet off
            }
            const std::string result = kind == "mp4" ? "out.mp4" : "out.mkv";
            ASSERT_EQ(place.Run(VideoLine(source, result, start)), 0) << place.Said();
            EXPECT_NEAR(FlashAfterBeep(place, result), expected, 0.002) << source << start;
        }
    }
}

TEST(Video, WritesEveryFrameWithEveryEncoder) {
    Workplace place;
    const std::string source = "{f} -v error -f lavfi -i testsrc=s=32x18:d=0.4 ";
    ASSERT_EQ(place.Run(source + "-c:v libx264 -pix_fmt yuv420p in.mp4 && " + source +
                        "-frames:v 1 -c:v ffv1 one.mkv && "
                        "{f} -v error -f lavfi -i testsrc=s=64x48:d=2 -c:v mpeg2video -q:v 2 -g 10 whole.ts"),
              0)
        << place.Said();
    const std::string whole = ContentOf(place.Path("whole.ts"));
    place.Write("late.ts", {whole.begin() + static_cast<ptrdiff_t>(whole.size() / 8 / 188 * 188), whole.end()});
    struct Case {
        std::string arguments;
        std::string result;
        std::ptrdiff_t frames;
    };
    for (const Case& test : std::vector<Case>{{"in.mp4", "264.mp4", 10},
                                              {"one.mkv", "one.mp4", 1},
                                              {"in.mp4", "264.mov", 10},
                                              {"in.mp4 --codec libx265 --preset ultrafast", "265.mp4", 10},
                                              {"late.ts", "late.mkv", 0}}) {
        const size_t space = std::min(test.arguments.find(' '), test.arguments.size());
        const std::string line = "{o} video " + test.arguments.substr(0, space) + " " + test.result + " --ffmpeg {f}" +
                                 kModel + test.arguments.substr(space);
        EXPECT_EQ(place.Run(line), 0) << line << place.Said();
        EXPECT_EQ(place.Run("{f} -v error -i " + test.result + " -map 0:v -vsync 0 -f framecrc -y frames"), 0);
        const std::string frames = ContentOf(place.Path("frames"));
        const std::ptrdiff_t count =
            std::count(frames.begin(), frames.end(), '\n') - std::count(frames.begin(), frames.end(), '#');
        EXPECT_TRUE(test.frames == 0 ? count > 20 : count == test.frames) << line << ": " << count << " frames";
    }
}

// The pixel in the middle of the first frame.
std::vector<int> MiddlePixel(Workplace& place, const std::string& input, uint32_t width, uint32_t height) {
    EXPECT_EQ(place.Run("{f} -v error " + input + " -frames:v 1 -pix_fmt rgba -f rawvideo -y pixels"), 0)
        << place.Said();
    const std::string pixels = ContentOf(place.Path("pixels"));
    if (pixels.size() < size_t{width} * height * 4) {
        return {};
    }
    const uint8_t* const pixel = RawImages(pixels, width, height)[0].At(width / 2, height / 2);
    return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

TEST(Video, KeepsColoursTheirDescriptionAndTransparency) {
    Workplace place;
    const std::string colour = "{f} -v error -f lavfi -i color=0xd04020:s=32x18:d=0.2,format=";
    ASSERT_EQ(place.Run(colour + "rgb24 -c:v ffv1 -pix_fmt bgr0 rgb.mkv && " + colour +
                        "yuv420p,setparams=color_primaries=bt2020:color_trc=smpte2084:colorspace=bt2020nc -c:v libx264 "
                        "-color_primaries bt2020 -color_trc smpte2084 -colorspace bt2020nc hdr.mkv && " +
                        colour +
                        "yuva420p,geq=lum='lum(X,Y)':a=96 -c:v libvpx-vp9 -auto-alt-ref 0 -pix_fmt yuva420p "
                        "clear.webm"),
              0)
        << place.Said();
    const std::string options = " --ffmpeg {f} --model interpolating ";
    ASSERT_EQ(place.Run("{o} video rgb.mkv rgb.mp4 --codec libx264rgb" + options), 0) << place.Said();
    ASSERT_EQ(place.Run("{o} video hdr.mkv hdr.mp4" + options), 0) << place.Said();
    ASSERT_EQ(place.Run("{o} video clear.webm out.webm" + options), 0) << place.Said();
    const std::vector<int> red = MiddlePixel(place, "-i rgb.mp4", 64, 36);
    const std::vector<int> clear = MiddlePixel(place, "-c:v libvpx-vp9 -i out.webm", 64, 36);
    ASSERT_EQ(red.size() + clear.size(), 8U);
    const std::array<int, 4> expected{0xd0, 0x40, 0x20, 96};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(red[i], expected[i], 4) << i;
    }
    EXPECT_NEAR(clear[3], expected[3], 4);
    place.Run("{f} -i hdr.mp4");
    EXPECT_NE(place.Said().find("bt2020nc/bt2020/smpte2084"), std::string::npos) << place.Said();
}

// Opens the file so that nobody can replace it.
HANDLE HoldOpen(const fs::path& path) {
    return CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
}

TEST(Video, KeepsTheResultWhenItsTargetIsHeldOpen) {
    Workplace place;
    ASSERT_EQ(place.Run("{f} -v error -f lavfi -i testsrc=s=64x48:d=4 -c:v ffv1 in.mkv"), 0) << place.Said();
    place.Write("out.mkv", {'o', 'l', 'd'});
    const std::string line = std::string("{o} video in.mkv out.mkv --force --ffmpeg {f}") + kModel;
    HANDLE held = HoldOpen(place.Path("out.mkv"));
    EXPECT_EQ(place.Run(line), 1);
    EXPECT_NE(place.Said().find("cannot be replaced"), std::string::npos) << place.Said();
    EXPECT_EQ(place.Files(), "in.mkv m.bin out.mkv ");
    CloseHandle(held);

    // This time it is opened while the work goes on.
    std::thread holding([&] {
        while (place.Files() == "in.mkv m.bin out.mkv ") {
            Sleep(5);
        }
        held = HoldOpen(place.Path("out.mkv"));
    });
    EXPECT_EQ(place.Run(line), 1);
    holding.join();
    CloseHandle(held);
    EXPECT_EQ(ContentOf(place.Path("out.mkv")), "old");
    const size_t name = place.Said().find("out.mkv.");
    ASSERT_NE(name, std::string::npos) << place.Said();
    const std::string kept = place.Said().substr(name, place.Said().find('"', name) - name);
    EXPECT_GT(fs::file_size(place.Path(kept)), 1000U) << kept;
}

TEST(Video, SaysWhatIsWrongAndLeavesNothingBehind) {
    Workplace place;
    ASSERT_EQ(place.Run("{f} -v error -f lavfi -i testsrc=s=16x12:d=1 -c:v libx264 -g 5 -pix_fmt yuv420p in.ts"), 0);
    ASSERT_EQ(place.Run("{f} -v error -f lavfi -i sine=d=1 sound.mka"), 0);
    place.Write("text.mp4", {'t', 'e', 'x', 't'});
    place.Write("old.mp4", {'o', 'l', 'd'});
    const std::string options = std::string(" --ffmpeg {f}") + kModel;
    ExpectFailures(
        place,
        {{"{o} video none.mp4 a.mp4" + options, 1, "There is no file \"none.mp4\""},
         {"{o} video text.mp4 a.mp4" + options, 1, "is not a video"},
         {"{o} video sound.mka a.mp4" + options, 1, "has no video in it"},
         {"{o} video in.ts in.ts --force" + options, 1, "is the input itself"},
         {"{o} video in.ts old.mp4" + options, 1, "--force replaces it"},
         {"{o} video in.ts b/a.mp4" + options, 1, "There is no folder"},
         {"{o} video in.ts a" + options, 1, "has no extension"},
         {"{o} video in.ts a.mp4 more" + options, 2, "one argument too many"},
         {"{o} video in.ts a.mp4 --start never" + options, 2, "is not a time"},
         {"{o} video in.ts a.mp4 --start 100" + options, 1, "could not read a single frame"},
         {"{o} video in.ts a.mp4 --codec nosuch" + options, 1, "Unknown encoder 'nosuch'"},
         {"{o} video in.ts a.mkv" + options + "-- -c:v rawvideo -f nut -y Z:/dev/full", 1, "No space left on device"},
         {"set PATH=&& {o} video in.ts a.mp4" + std::string(kModel), 1, "There is no ffmpeg"},
         {"{o} video in.ts a.mp4 --ffmpeg {o}" + std::string(kModel), 1, "does not answer like ffmpeg"}});
}

TEST(Video, GivesWhatCameBeforeTheBreak) {
    Workplace place;
    ASSERT_EQ(place.Run("{f} -v error -f lavfi -i testsrc=s=64x48:d=2 -c:v mjpeg -movflags faststart whole.mp4"), 0);
    const std::string whole = ContentOf(place.Path("whole.mp4"));
    place.Write("cut.mp4", {whole.begin(), whole.begin() + static_cast<ptrdiff_t>(whole.size() / 2)});
    EXPECT_EQ(place.Run(std::string("{o} video cut.mp4 out.mp4 --ffmpeg {f} --duration 0.2") + kModel), 0)
        << place.Said();
    EXPECT_EQ(place.Run(std::string("{o} video cut.mp4 out.mkv --ffmpeg {f}") + kModel), 1);
    EXPECT_NE(place.Said().find("is damaged"), std::string::npos) << place.Said();
    const std::string times = Times(place, "out.mkv");
    EXPECT_GT(std::count(times.begin(), times.end(), '\n'), 15) << times;
    EXPECT_EQ(place.Files(), "cut.mp4 m.bin out.mkv out.mp4 times whole.mp4 ");
}

}  // namespace
}  // namespace orvane::tool

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: video_test FFMPEG\n");
        return 2;
    }
    GetDesktopWindow();  // Wine starts its desktop at the first call, and that would keep the first log file open
    orvane::tool::g_programs = std::filesystem::absolute(argv[0]).parent_path();
    orvane::tool::g_ffmpeg = std::filesystem::absolute(argv[1]);
    return RUN_ALL_TESTS();
}
