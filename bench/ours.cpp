// Worker: the library as a host uses it.
#include <cstdio>
#include <cstring>
#include <memory>

#include "api/orvane.h"
#include "bench/call_counter.h"
#include "bench/worker.h"

namespace orvane::bench {
namespace {

double g_loggedMegabytes = 0.0;

// Failures go where the user sees them. The size of the GPU memory is in no record, only in this line.
void ReceiveLog(void* /*userData*/, int32_t level, const char* format, va_list arguments) {
    char text[1024] = {};
    std::vsnprintf(text, sizeof(text), format, arguments);
    std::sscanf(text, "Total GPU memory allocated: %lf MB", &g_loggedMegabytes);  // NOLINT(cert-err34-c)
    if (level == ORVANE_LOG_ERROR) {
        std::fprintf(stderr, "liborvane: %s\n", text);
    }
}

class Library {
public:
    ~Library() { Close(); }

    Numbers Open(std::istream& arguments) {
        const OpenArguments open = ReadOpenArguments(arguments);
        orvane_open_param param{};
        param.inputWidth = open.size.width;
        param.inputHeight = open.size.height;
        param.modelChannels = open.network.channels;
        param.modelDepth = open.network.depth;
        std::strncpy(param.modelPath, open.modelPath.c_str(), sizeof(param.modelPath) - 1);
        SetSize(open.size);
        const double time = Measure([&] { m_handle = orvane_open(&param); });
        Require(m_handle != nullptr, "orvane_open failed");
        return {time};
    }

    // The next frame is of this size, for which the instance is built again.
    Numbers Resize(std::istream& arguments) {
        FrameSize size;
        arguments >> size.width >> size.height;
        SetSize(size);
        return {};
    }

    Numbers Frames(std::istream& arguments) {
        return MeasureAll(arguments, [this] { ProcessOne(); });
    }

    Numbers Save(std::istream& arguments) {
        SaveBytes(std::filesystem::path(ReadPath(arguments)), m_output);
        return {};
    }

    Numbers Close() {
        const double time = Measure([this] { orvane_close(m_handle); });
        m_handle = nullptr;
        return {time};
    }

    // The bytes of GPU memory as the last open logged them.
    static Numbers LoggedMemory() { return {g_loggedMegabytes * (1 << 20)}; }

    // What one frame does: allocations on the heap, then calls by the interfaces of CallCounter.
    Numbers Count() {
        if (!m_counter) {
            m_counter = std::make_unique<CallCounter>();
        }
        m_counter->Start();
        ProcessOne();
        return m_counter->Stop();
    }

private:
    void SetSize(FrameSize size) {
        m_input = MakePicture(size);
        m_output.assign(m_input.size() * kScale * kScale, 0);
        m_inputFrame.width = static_cast<int32_t>(size.width);
        m_inputFrame.height = static_cast<int32_t>(size.height);
        m_inputFrame.stride = m_inputFrame.width * static_cast<int32_t>(kBytesPerPixel);
        m_inputFrame.data = m_input.data();
        m_outputFrame.stride = m_inputFrame.stride * static_cast<int32_t>(kScale);
        m_outputFrame.data = m_output.data();
    }

    void ProcessOne() {
        Require(orvane_process(m_handle, &m_outputFrame, &m_inputFrame) == ORVANE_OK, "orvane_process failed");
    }

    orvane_handle m_handle = nullptr;
    std::vector<uint8_t> m_input;
    std::vector<uint8_t> m_output;
    orvane_frame m_inputFrame{};
    orvane_frame m_outputFrame{};
    std::unique_ptr<CallCounter> m_counter;
};

}  // namespace
}  // namespace orvane::bench

int main() {
    using orvane::bench::Library;
    const orvane_init_param log{ORVANE_LOG_INFO, &orvane::bench::ReceiveLog, nullptr};
    orvane_init(&log);
    Library library;
    return orvane::bench::RunWorker({
        {"open", [&](std::istream& arguments) { return library.Open(arguments); }},
        {"resize", [&](std::istream& arguments) { return library.Resize(arguments); }},
        {"frames", [&](std::istream& arguments) { return library.Frames(arguments); }},
        {"save", [&](std::istream& arguments) { return library.Save(arguments); }},
        {"close", [&](std::istream&) { return library.Close(); }},
        {"logged", [&](std::istream&) { return Library::LoggedMemory(); }},
        {"count", [&](std::istream&) { return library.Count(); }},
    });
}
