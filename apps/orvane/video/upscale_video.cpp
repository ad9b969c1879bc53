#include "apps/orvane/video/upscale_video.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <utility>

#include "apps/orvane/containers/frame_stream.h"
#include "apps/orvane/containers/nut.h"
#include "apps/orvane/video/encoders.h"
#include "apps/orvane/video/ffmpeg_program.h"
#include "apps/orvane/video/frame_line.h"
#include "apps/orvane/video/video_verdict.h"
#include "apps/utils/failure.h"
#include "apps/utils/files/atomic_file.h"
#include "apps/utils/files/utf8_path.h"
#include "apps/utils/process/child_process.h"
#include "apps/utils/process/stop_signal.h"
#include "apps/utils/text.h"

namespace orvane::tool {
namespace {

namespace fs = std::filesystem;

void RequireUsablePaths(const VideoOptions& options) {
    RequireReadableFile(options.input);
    RequireWritableTarget(options.output);
    std::error_code error;
    if (fs::equivalent(options.input.path, options.output.path, error)) {
        throw Failure("The output " + Quoted(options.output.name) + " is the input itself.");
    }
    if (!options.force && Exists(options.output)) {
        throw Failure(Quoted(options.output.name) + " exists already; --force replaces it.");
    }
    if (!options.output.path.has_extension()) {
        throw Failure(Quoted(options.output.name) +
                      " has no extension, which selects the container. Add one, such as .mp4.");
    }
}

// The decoder's frames. The first one has been read already.
class DecodedFrames : public FrameReader {
public:
    DecodedFrames(NutReader& reader, NutFrame first, const NutVideo& video)
        : m_reader(reader), m_next(std::move(first)), m_video(video) {}

    std::optional<Frame> Next() override {
        std::optional<NutFrame> decoded = m_next ? std::exchange(m_next, std::nullopt) : m_reader.Next();
        if (!decoded) {
            return std::nullopt;
        }
        Frame frame = MakeFrame({m_video.width, m_video.height}, std::move(decoded->pixels));
        frame.time = decoded->time;
        m_lastTime = decoded->time;
        ++m_count;
        return frame;
    }

    uint64_t Count() const { return m_count; }

    double LastSeconds() const {
        return static_cast<double>(m_lastTime) * m_video.timeBase.numerator / m_video.timeBase.denominator;
    }

private:
    NutReader& m_reader;
    std::optional<NutFrame> m_next;
    NutVideo m_video;
    uint64_t m_lastTime = 0;
    uint64_t m_count = 0;
};

class FramesToEncode : public FrameWriter {
public:
    explicit FramesToEncode(ByteSink& sink) : m_sink(sink) {}

    bool Write(const Frame& frame) override {
        return WriteText(m_sink, NutFrameHeader(frame.time, frame.image.pixels.size())) &&
               m_sink.Write(frame.image.pixels);
    }

    static bool WriteText(ByteSink& sink, const std::string& text) {
        return sink.Write(std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
    }

private:
    ByteSink& m_sink;
};

std::optional<uint64_t> ExpectedFrames(const VideoJob& job, const VideoSource& source) {
    const double frames = SecondsToUpscale(job, source) * source.framesPerSecond;
    return frames >= 1 ? std::optional(static_cast<uint64_t>(std::llround(frames))) : std::nullopt;
}

// The run over one video.
class VideoRun {
public:
    VideoRun(const VideoOptions& options, Progress& progress)
        : m_options(options),
          m_progress(progress),
          m_ffmpeg(FindFfmpeg(options.ffmpeg)),
          m_result(options.output, options.output.path.extension()),
          m_run(options.frames, progress) {
        m_options.job.input = Utf8FromPath(options.input.path);
        m_options.job.output = Utf8FromPath(m_result.Path());
    }

    void Run() {
        m_progress.Note("Asking ffmpeg about " + Quoted(m_options.input.name) + " ...");
        const VideoSource source = ProbeVideo(m_ffmpeg, m_options.job, m_options.input.name);
        for (const std::string& loss : LossesOf(m_options.job, source)) {
            m_progress.Warn(loss);
        }

        ChildProcess decoder(m_ffmpeg, DecodeArguments(m_options.job, source), {.input = false, .output = true});
        NutReader reader(decoder.Output());
        const std::optional<NutVideo> video = reader.ReadHeaders();
        std::optional<NutFrame> first = video ? reader.Next() : std::nullopt;
        if (!first) {
            FailWithoutFrames(decoder);
        }
        NutVideo upscaled = *video;
        upscaled.width <<= m_run.Passes();
        upscaled.height <<= m_run.Passes();
        const StopSignal stop;  // from now on there is a file to remove
        ChildProcess encoder(m_ffmpeg, EncodeArguments(m_options.job, source, upscaled, first->time),
                             {.input = true, .output = false});
        DecodedFrames frames(reader, std::move(*first), *video);
        m_progress.Begin({"frames", ExpectedFrames(m_options.job, source), true});
        Encode(frames, upscaled, decoder, encoder);
        Finish(decoder, encoder, {upscaled.width, upscaled.height});
        Judge(frames, source, decoder, encoder);
    }

private:
    [[noreturn]] void FailWithoutFrames(ChildProcess& decoder) const {
        decoder.Wait();
        const std::string reason = SummaryOfMessages(decoder.Messages());
        throw Failure("ffmpeg could not read a single frame of " + Quoted(m_options.input.name) +
                      (reason.empty() ? "." : ": " + reason + "."));
    }

    [[noreturn]] void FailEncoding(ChildProcess& encoder) const {
        encoder.Wait();
        const std::string reason =
            SummaryOfMessages(WithoutChatter(EncoderNamed(CodecOf(m_options.job)), encoder.Messages()));
        throw Failure("ffmpeg could not write " + Quoted(m_options.output.name) +
                      (reason.empty() ? "." : ": " + reason + "."));
    }

    void Encode(FrameReader& frames, const NutVideo& upscaled, ChildProcess& decoder, ChildProcess& encoder) {
        FramesToEncode writer(encoder.Input());
        if (!FramesToEncode::WriteText(encoder.Input(), NutHeaders(upscaled))) {
            FailEncoding(encoder);
        }
        try {
            UpscaleFrames(frames, writer, m_run, m_progress, m_count);
        } catch (const NobodyReads&) {
            // The user's options may make the encoder end early.
            decoder.Kill();
            m_encoderEndedFirst = true;
        }
    }

    // A failed encoder leaves nothing behind. A damaged source leaves the part that could be read.
    void Finish(ChildProcess& decoder, ChildProcess& encoder, const Size& size) {
        m_progress.End();
        while (!encoder.EndsWithin(kStopCheckMilliseconds)) {
            if (StopSignal::Requested()) {
                throw Failure("Stopped by Ctrl-C while ffmpeg finished " + Quoted(m_options.output.name) + ".");
            }
        }
        if (encoder.Wait() != 0 || CouldNotWrite(encoder.Messages())) {
            FailEncoding(encoder);
        }
        m_decoderFailed = decoder.Wait() != 0 && !m_encoderEndedFirst;
        Commit();
        m_progress.Item("Wrote: " + m_options.output.name + " (" + std::to_string(m_count.written) + " frames of " +
                            SizeText(size) + ")",
                        {{"event", "video"},
                         {"output", m_options.output.name},
                         {"frames", m_count.written},
                         {"width", size.width},
                         {"height", size.height},
                         {"libraryFrames", m_count.libraryFrames},
                         {"frameMilliseconds", m_count.milliseconds},
                         {"seconds", m_count.seconds}});
    }

    // Hours of work are not thrown away because somebody plays the old file.
    void Commit() {
        try {
            m_result.Commit();
        } catch (const Failure& failure) {
            const fs::path kept = m_result.Path();
            m_result.Keep();
            throw Failure(std::string(failure.what()) + " The finished video is " + Quoted(kept) + ".");
        }
    }

    void Judge(const DecodedFrames& frames, const VideoSource& source, ChildProcess& decoder, ChildProcess& encoder) {
        VideoEnd end;
        end.decoderFailed = m_decoderFailed;
        end.hasEnoughFrames = m_encoderEndedFirst;
        end.frames = frames.Count();
        end.lastFrameSeconds = frames.LastSeconds();
        end.complaints = SummaryOfMessages(decoder.Messages() +
                                           WithoutChatter(EncoderNamed(CodecOf(m_options.job)), encoder.Messages()));
        const Verdict verdict = JudgeVideo(m_options.job, source, end);
        if (verdict == Verdict::kDamaged) {
            throw Failure(Quoted(m_options.input.name) + " is damaged; " + Quoted(m_options.output.name) +
                          " holds what ffmpeg could read of it. ffmpeg says: " + end.complaints + ".");
        }
        if (verdict == Verdict::kComplainedOf) {
            m_progress.Warn("ffmpeg says: " + end.complaints + ".");
        }
    }

    static constexpr uint32_t kStopCheckMilliseconds = 100;

    VideoOptions m_options;
    Progress& m_progress;
    fs::path m_ffmpeg;
    PendingFile m_result;
    FrameRun m_run;
    FrameCount m_count;
    bool m_encoderEndedFirst = false;
    bool m_decoderFailed = false;
};

}  // namespace

void UpscaleVideo(const VideoOptions& options, Progress& progress) {
    RequireUsablePaths(options);
    VideoRun(options, progress).Run();
}

}  // namespace orvane::tool
