// The one thread that works the library, and those that bring it frames.
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

// A frame on its way: `input` goes in, `output` comes back. Rows without padding.
struct ServedFrame {
    FrameExtent extent;
    std::vector<uint8_t> input;
    std::vector<uint8_t> output;
    double milliseconds = 0;
};

// What a session ends with when the run is over before it: by Ctrl-C, or by a failure that Run() throws.
class Stopped : public Failure {
public:
    Stopped() : Failure("Stopped.") {}
};

// The frames of one image. Used by the thread that began it.
class FrameSession {
public:
    // How many frames may be under way.
    static constexpr size_t kMaxFrames = 2;

    explicit FrameSession(const FrameExtent& extent) : m_extent(extent), m_inputs(kMaxFrames), m_outputs(kMaxFrames) {}

    const FrameExtent& Extent() const { return m_extent; }
    void Send(ServedFrame frame) { m_inputs.Push(std::move(frame)); }

    // In the order in which they were sent. Throws what made the library fail, or Stopped.
    ServedFrame Receive();

    // No more frames will be sent.
    void End() { m_inputs.Close(); }

private:
    friend class FrameServer;

    const FrameExtent m_extent;
    BoundedQueue<ServedFrame> m_inputs;
    BoundedQueue<ServedFrame> m_outputs;
    std::exception_ptr m_error;  // set before m_outputs is closed
};

// Sessions are served one after the other in the order in which they began, so that images of different sizes do not
// make the library go back and forth between them. While one is served the others get their frames ready, or write what
// they got.
class FrameServer {
public:
    // All must outlive the object.
    FrameServer(Upscaler& upscaler, FrameSizeChoice& sizes, Progress& progress)
        : m_upscaler(upscaler), m_sizes(sizes), m_progress(progress), m_sessions(kMaxSessions) {}

    // From any thread. Every session that was begun has to be ended.
    std::shared_ptr<FrameSession> Begin(const FrameExtent& image);

    // Serves until Finish(), on the thread of the upscaler. Throws Failure when no instance could be opened at all.
    void Run();

    // From any thread: no more sessions will begin.
    void Finish() { m_sessions.Close(); }

    // Whether to begin nothing new: after Ctrl-C, or when Run() will throw.
    bool IsStopping() const;

    // What it took to open the instance, after Run().
    double OpenSeconds() const { return m_openSeconds; }

    const TileRules& Rules() const { return m_sizes.Rules(); }

private:
    static constexpr size_t kMaxSessions = 1000;  // more than there are threads

    void Serve(FrameSession& session);
    void ServeFrames(FrameSession& session);
    void OpenFirst(const FrameExtent& extent);

    Upscaler& m_upscaler;
    FrameSizeChoice& m_sizes;
    Progress& m_progress;
    std::mutex m_beginMutex;  // sizes are chosen in the order in which sessions are served
    BoundedQueue<std::shared_ptr<FrameSession>> m_sessions;
    std::optional<FrameExtent> m_lastExtent;  // what the library is set up for
    double m_openSeconds = 0;
    bool m_isOpen = false;  // an instance was opened, so failures belong to images
    std::atomic<bool> m_hasFailed = false;
    std::exception_ptr m_error;
};

}  // namespace orvane::tool
