#include "apps/orvane/video/frame_line.h"

#include <chrono>
#include <exception>
#include <future>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "apps/orvane/frames/image_upscale.h"
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

// Each frame has a thread of its own from reading to writing, so that cutting it into tiles and putting those together
// overlap with the library's work on the frames before. The queue of futures keeps the order.
class FrameLine {
public:
    FrameLine(FrameReader& reader, FrameWriter& writer, FrameRun& run, Progress& progress, FrameCount& count)
        : m_reader(reader),
          m_writer(writer),
          m_passes(run.Passes()),
          m_server(run.Server()),
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
    static constexpr size_t kUnderWay = 2;  // besides one that waits for room and one that is being written

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
        // The server must run until the last frame has left it.
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

void UpscaleFrames(FrameReader& reader, FrameWriter& writer, FrameRun& run, Progress& progress, FrameCount& count) {
    const StopSignal stop;
    try {
        FrameLine(reader, writer, run, progress, count).Run();
    } catch (const Stopped&) {
        // Reported below.
    }
    if (StopSignal::Requested()) {
        throw Failure("Stopped by Ctrl-C after " + std::to_string(count.written) + " frames.");
    }
}

}  // namespace orvane::tool
