#include "apps/orvane/frames/frame_server.h"

#include <chrono>
#include <string>
#include <utility>

#include "apps/utils/process/stop_signal.h"
#include "apps/utils/text.h"

namespace orvane::tool {

ServedFrame FrameSession::Receive() {
    std::optional<ServedFrame> frame = m_outputs.Pop();
    if (!frame) {
        std::rethrow_exception(m_error);
    }
    return std::move(*frame);
}

std::shared_ptr<FrameSession> FrameServer::Begin(const Size& image) {
    const std::lock_guard lock(m_beginMutex);
    auto session = std::make_shared<FrameSession>(m_sizes.Choose(image));
    m_sessions.Push(session);
    return session;
}

void FrameServer::Run() {
    while (const std::optional<std::shared_ptr<FrameSession>> session = m_sessions.Pop()) {
        Serve(**session);
    }
    if (m_error != nullptr) {
        std::rethrow_exception(m_error);
    }
}

bool FrameServer::IsStopping() const {
    return m_hasFailed || StopSignal::Requested();
}

void FrameServer::Serve(FrameSession& session) {
    try {
        ServeFrames(session);
    } catch (...) {
        session.m_error = std::current_exception();
    }
    session.m_inputs.Abandon();
    session.m_outputs.Close();
}

void FrameServer::ServeFrames(FrameSession& session) {
    while (std::optional<ServedFrame> frame = session.m_inputs.Pop()) {
        if (IsStopping()) {
            throw Stopped();
        }
        OpenFirst(frame->size);
        const auto& [width, height] = frame->size;
        frame->output.resize(frame->input.size() * 4);
        const bool isChange = m_lastSize != frame->size;
        m_lastSize.reset();  // in case of a failure
        frame->milliseconds = m_upscaler.Upscale({width, height, size_t{width} * 4, frame->input.data()},
                                                 {2 * width, 2 * height, size_t{width} * 8, frame->output.data()});
        m_lastSize = frame->size;
        m_sizes.FrameTook(frame->size, frame->milliseconds, isChange);
        session.m_outputs.Push(std::move(*frame));
    }
}

// A failure of the first open is the fault of the model or the machine, and not of one image: it ends the run.
void FrameServer::OpenFirst(const Size& size) {
    if (m_isOpen) {
        return;
    }
    m_progress.Note("Preparing the network for frames of " + SizeText(size) + " ...");
    const auto start = std::chrono::steady_clock::now();
    try {
        m_upscaler.Open(size);
    } catch (...) {
        m_error = std::current_exception();
        m_hasFailed = true;
        throw Stopped();
    }
    m_openSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    m_isOpen = true;
    m_lastSize = size;
}

}  // namespace orvane::tool
