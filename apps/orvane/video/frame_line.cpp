#include "apps/orvane/video/frame_line.h"

#include <chrono>
#include <exception>
#include <future>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "apps/orvane/frames/frame_server.h"
#include "apps/orvane/frames/frame_size_choice.h"
#include "apps/orvane/frames/image_upscale.h"
#include "apps/orvane/frames/upscaler.h"
#include "apps/utils/bounded_queue.h"
#include "apps/utils/failure.h"
#include "apps/utils/process/stop_signal.h"

namespace orvane::tool {
namespace {

using Clock = std::chrono::steady_clock;

struct Upscaled {
    Frame frame;
    uint64_t libraryFrames = 0;
    double milliseconds = 0;
};

Upscaled Upscale(Frame frame, int32_t passes, FrameServer& server) {
    Upscaled result;
    for (int32_t pass = 0; pass < passes; ++pass) {
        frame.image = UpscaleImage(std::move(frame.image), server, [&](double /*share*/, double milliseconds) {
            ++result.libraryFrames;
            result.milliseconds += milliseconds;
        });
    }
    result.frame = std::move(frame);
    return result;
}

// A frame is on a thread of its own from where it is read to where it is written, so that cutting and putting together
// hide behind the library's work on the frames before. The order is that of the futures.
class FrameLine {
public:
    FrameLine(FrameReader& reader, FrameWriter& writer, int32_t passes, FrameServer& server, Progress& progress,
              FrameCount& count)
        : m_reader(reader),
          m_writer(writer),
          m_passes(passes),
          m_server(server),
          m_progress(progress),
          m_count(count) {}

    void Run() {
        std::thread reading([this] { Read(); });
        std::thread writing([this] { Write(); });
        std::exception_ptr serverError;
        try {
            m_server.Run();
        } catch (...) {
            serverError = std::current_exception();
        }
        reading.join();
        writing.join();
        for (const std::exception_ptr& error : {serverError, m_writeError, m_readError}) {
            if (error != nullptr) {
                std::rethrow_exception(error);
            }
        }
    }

private:
    static constexpr size_t kUnderWay = 2;  // besides one that waits for room, and the one that is written

    void Read() {
        try {
            while (!m_server.IsStopping()) {
                std::optional<Frame> frame = m_reader.Next();
                if (!frame || !m_underWay.Push(Begin(std::move(*frame)))) {
                    break;
                }
            }
        } catch (...) {
            m_readError = std::current_exception();
        }
        m_underWay.Close();
    }

    std::future<Upscaled> Begin(Frame frame) {
        if (m_firstRead == Clock::time_point()) {
            m_firstRead = Clock::now();
        }
        return std::async(std::launch::async, [this, next = std::move(frame)]() mutable {
            return Upscale(std::move(next), m_passes, m_server);
        });
    }

    void Write() {
        try {
            while (std::optional<std::future<Upscaled>> next = m_underWay.Pop()) {
                WriteOne(next->get());
            }
        } catch (...) {
            m_writeError = std::current_exception();
        }
        // The server is there until the last frame has left it.
        m_underWay.Abandon();
        while (std::optional<std::future<Upscaled>> rest = m_underWay.Pop()) {
            rest->wait();
        }
        m_server.Finish();
    }

    void WriteOne(const Upscaled& upscaled) {
        if (!m_writer.Write(upscaled.frame)) {
            throw NobodyReads();
        }
        ++m_count.written;
        m_count.seconds = std::chrono::duration<double>(Clock::now() - m_firstRead).count();
        m_count.libraryFrames += upscaled.libraryFrames;
        m_count.milliseconds += upscaled.milliseconds;
        m_progress.Advance(1, upscaled.libraryFrames, upscaled.milliseconds);
    }

    FrameReader& m_reader;
    FrameWriter& m_writer;
    int32_t m_passes;
    FrameServer& m_server;
    Progress& m_progress;
    FrameCount& m_count;
    BoundedQueue<std::future<Upscaled>> m_underWay{kUnderWay};
    Clock::time_point m_firstRead;
    std::exception_ptr m_readError;
    std::exception_ptr m_writeError;
};

}  // namespace

void AddFrameOptions(CLI::App& command, FrameOptions& options) {
    command.add_option("--passes", options.passes, "How often to double: 2 for four times the size, 3 for eight")
        ->capture_default_str()
        ->check(CLI::Range(1, 3));
    command.add_option("--tile", options.tile, "Longest side of what is processed at a time; less needs less memory")
        ->capture_default_str()
        ->check(CLI::Range(64, 8192));
    command.add_flag("--raw-edges", options.rawEdges, "Do not mirror the frames beyond their edges");
}

void UpscaleFrames(FrameReader& reader, FrameWriter& writer, const ModelChoice& model, const FrameOptions& options,
                   LibraryLog& log, Progress& progress, FrameCount& count) {
    const StopSignal stop;
    Upscaler upscaler(model, log);
    FrameSizeChoice sizes({model.reach, options.rawEdges ? 0 : model.reach, options.tile});
    FrameServer server(upscaler, sizes, progress);
    try {
        FrameLine(reader, writer, options.passes, server, progress, count).Run();
    } catch (const Stopped&) {
        // Told below.
    }
    if (StopSignal::Requested()) {
        throw Failure("Stopped by Ctrl-C after " + std::to_string(count.written) + " frames.");
    }
}

}  // namespace orvane::tool
