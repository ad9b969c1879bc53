#include "apps/orvane/video/ffmpeg_program.h"

#include <array>
#include <optional>
#include <string>
#include <system_error>

#include <windows.h>

#include "apps/orvane/video/ffprobe_report.h"
#include "apps/utils/failure.h"
#include "apps/utils/files/atomic_file.h"
#include "apps/utils/files/program_folder.h"
#include "apps/utils/process/child_process.h"
#include "apps/utils/text.h"

namespace orvane::tool {
namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* kProgram = L"ffmpeg.exe";

std::optional<fs::path> InFolder(const fs::path& folder) {
    std::error_code error;
    fs::path program = folder / kProgram;
    return fs::is_regular_file(program, error) ? std::optional(program) : std::nullopt;
}

std::wstring PathVariable() {
    std::wstring value(GetEnvironmentVariableW(L"PATH", nullptr, 0), L'\0');
    value.resize(GetEnvironmentVariableW(L"PATH", value.data(), static_cast<DWORD>(value.size())));
    return value;
}

// Relative folders are skipped, because they would depend on the current folder.
std::optional<fs::path> InPath() {
    const std::wstring folders = PathVariable();
    for (size_t start = 0; start < folders.size();) {
        const size_t end = std::min(folders.find(L';', start), folders.size());
        const fs::path folder = folders.substr(start, end - start);
        if (folder.is_absolute()) {
            if (std::optional<fs::path> program = InFolder(folder)) {
                return program;
            }
        }
        start = end + 1;
    }
    return std::nullopt;
}

// Nothing when there is no ffprobe beside ffmpeg, or when it finds no video. ffmpeg's own messages say why.
std::optional<VideoSource> ProbeWithFfprobe(const fs::path& ffmpeg, const VideoJob& job) {
    const fs::path ffprobe = ffmpeg.parent_path() / L"ffprobe.exe";
    std::error_code error;
    if (!fs::is_regular_file(ffprobe, error)) {
        return std::nullopt;
    }
    ChildProcess probe(ffprobe, FfprobeArguments(job), {.input = false, .output = true});
    std::string report;
    std::array<uint8_t, 1 << 14> part{};
    while (const size_t count = probe.Output().Read(part)) {
        report.append(part.begin(), part.begin() + static_cast<ptrdiff_t>(count));
    }
    probe.Wait();
    const VideoSource source = ParseFfprobeReport(report);
    return source.hasVideo && source.libavutilVersion > 0 ? std::optional(source) : std::nullopt;
}

}  // namespace

fs::path FindFfmpeg(const fs::path& named) {
    if (!named.empty()) {
        RequireReadableFile(named);
        return fs::absolute(named);
    }
    std::optional<fs::path> program = InFolder(ProgramFolder());
    if (!program) {
        program = InPath();
    }
    if (!program) {
        throw Failure(
            "There is no ffmpeg, which is needed to read and write videos. Install it (\"winget install Gyan.FFmpeg\", "
            "or "
            "one of the builds that ffmpeg.org lists), put ffmpeg.exe beside this program, or name it with --ffmpeg.");
    }
    return *program;
}

VideoSource ProbeVideo(const fs::path& ffmpeg, const VideoJob& job, const std::string& name) {
    if (std::optional<VideoSource> source = ProbeWithFfprobe(ffmpeg, job)) {
        return *source;
    }
    ChildProcess probe(ffmpeg, ProbeArguments(job), {});
    probe.Wait();  // it always fails, because no output is given
    const std::string messages = probe.Messages();
    VideoSource source = ParseVideoSource(messages);
    if (source.libavutilVersion == 0) {
        throw Failure(Quoted(ffmpeg) + " does not answer like ffmpeg.");
    }
    if (!source.hasVideo) {
        const bool isMedia = messages.find("\nInput #0") != std::string::npos;
        throw Failure(Quoted(name) + " " +
                      (isMedia ? "has no video in it." : "is not a video that ffmpeg can read, or it is damaged."));
    }
    return source;
}

}  // namespace orvane::tool
