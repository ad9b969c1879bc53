// The one thread that calls the library, and the threads that send it frames.
#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "apps/orvane/frames/frame_size_choice.h"
#include "apps/orvane/frames/upscaler.h"
#include "apps/utils/bounded_queue.h"
#include "apps/utils/failure.h"
#include "apps/utils/progress.h"

namespace orvane::tool {

// A frame that is sent with its `input` and comes back with its `output`. Rows without padding.
struct ServedFrame {
    Size size;  // of the input
    std::vector<uint8_t> input;
    std::vector<uint8_t> output;
    double milliseconds = 0;
};

// Thrown in a session when the run ends before it: after Ctrl-C, or because of a failure that Run() throws.
class Stopped : public Failure {
public:
    Stopped() : Failure("Stopped.") {}
};

// The frames of one image. Used by the thread that began the session.
class FrameSession {
public:
    // How many frames may be sent and not yet received.
    static constexpr size_t kMaxFrames = 2;

    explicit FrameSession(const Size& frameSize)
        : m_frameSize(frameSize), m_inputs(kMaxFrames), m_outputs(kMaxFrames) {}

    const Size& FrameSize() const { return m_frameSize; }
    void Send(ServedFrame frame) { m_inputs.Push(std::move(frame)); }

    // The next frame, in the order of Send. Throws the library's Failure, or Stopped.
    ServedFrame Receive();

    // No more frames will be sent.
    void End() { m_inputs.Close(); }

private:
    friend class FrameServer;

    const Size m_frameSize;
    BoundedQueue<ServedFrame> m_inputs;
    BoundedQueue<ServedFrame> m_outputs;
    std::exception_ptr m_error;  // set before m_outputs is closed
};

// Serves sessions one after the other, in the order in which they began, so that the library does not switch back and
// forth between images of different sizes. Meanwhile the threads of other sessions prepare their frames or write their
// results.
class FrameServer {
public:
    // All must outlive the object.
    FrameServer(Upscaler& upscaler, FrameSizeChoice& sizes, Progress& progress)
        : m_upscaler(upscaler), m_sizes(sizes), m_progress(progress), m_sessions(kMaxSessions) {}

    // From any thread. The caller must end every session that it begins.
    std::shared_ptr<FrameSession> Begin(const Size& image);

    // Serves until Finish(), on the thread of the upscaler. Throws Failure when the first instance cannot be opened.
    void Run();

    // From any thread, when no more sessions will begin.
    void Finish() { m_sessions.Close(); }

    // True after Ctrl-C, or when Run() is going to throw: begin nothing new.
    bool IsStopping() const;

    // How long the first open took. Valid after Run().
    double OpenSeconds() const { return m_openSeconds; }

    const TileRules& Rules() const { return m_sizes.Rules(); }

private:
    static constexpr size_t kMaxSessions = 1000;  // more than there are threads

    void Serve(FrameSession& session);
    void ServeFrames(FrameSession& session);
    void OpenFirst(const Size& size);

    Upscaler& m_upscaler;
    FrameSizeChoice& m_sizes;
    Progress& m_progress;
    std::mutex m_beginMutex;  // frame sizes are chosen in the order in which sessions are served
    BoundedQueue<std::shared_ptr<FrameSession>> m_sessions;
    std::optional<Size> m_lastSize;  // the frame size that the library is set up for
    double m_openSeconds = 0;
    bool m_isOpen = false;  // the first open succeeded, so later failures belong to images
    std::atomic<bool> m_hasFailed = false;
    std::exception_ptr m_error;
};

}  // namespace orvane::tool
