#include "apps/orvane/frames/frame_server.h"

#include <chrono>
#include <string>
#include <utility>

#include "apps/utils/process/stop_signal.h"

namespace orvane::tool {

ServedFrame FrameSession::Receive() {
    std::optional<ServedFrame> frame = m_outputs.Pop();
    if (!frame) {
        std::rethrow_exception(m_error);
    }
    return std::move(*frame);
}

std::shared_ptr<FrameSession> FrameServer::Begin(const FrameExtent& image) {
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
        OpenFirst(frame->extent);
        const auto& [width, height] = frame->extent;
        frame->output.resize(frame->input.size() * 4);
        const bool isChange = m_lastExtent != frame->extent;
        m_lastExtent.reset();  // in case that it fails
        frame->milliseconds = m_upscaler.Process({width, height, size_t{width} * 4, frame->input.data()},
                                                 {2 * width, 2 * height, size_t{width} * 8, frame->output.data()});
        m_lastExtent = frame->extent;
        m_sizes.FrameTook(frame->extent, frame->milliseconds, isChange);
        session.m_outputs.Push(std::move(*frame));
    }
}

// A model or a machine that will not do is not the fault of one image.
void FrameServer::OpenFirst(const FrameExtent& extent) {
    if (m_isOpen) {
        return;
    }
    m_progress.Note("Preparing the network for frames of " + std::to_string(extent.width) + " x " +
                    std::to_string(extent.height) + " ...");
    const auto start = std::chrono::steady_clock::now();
    try {
        m_upscaler.Open(extent.width, extent.height);
    } catch (...) {
        m_error = std::current_exception();
        m_hasFailed = true;
        throw Stopped();
    }
    m_openSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    m_isOpen = true;
    m_lastExtent = extent;
}

}  // namespace orvane::tool
