// Worker: the library as a host uses it.
#include <cstdio>

#include "api/orvane.h"
#include "bench/workers/call_counter.h"
#include "bench/workers/host_side.h"
#include "engine/tensor_plan.h"

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

class Library final : public HostSide {
public:
    ~Library() override { orvane_close(m_handle); }

    // The next frame is of this size, for which the instance is rebuilt.
    Numbers Resize(std::istream& arguments) {
        FrameSize size;
        arguments >> size.width >> size.height;
        SetSize(size);
        return {};
    }

    // The bytes of all tensors as they are planned.
    Numbers Planned() const {
        const std::vector<LayerShape> layers = m_network.Layers();
        const NetworkPlan plan = PlanNetwork(m_size, layers, TensorLayout::kNchw);
        uint64_t bytes = plan.modelInputSize + plan.modelOutputSize;
        for (size_t i = 1; i <= layers.size(); ++i) {
            bytes += plan.bufferSizes[i];
        }
        return {static_cast<double>(bytes)};
    }

    // What one frame calls, by Counter.
    Numbers Count() {
        TakeCounts();
        ProcessOne();
        return TakeCounts();
    }

private:
    void SetSize(FrameSize size) override {
        HostSide::SetSize(size);
        m_size = size;
        m_inputFrame.width = static_cast<int32_t>(size.width);
        m_inputFrame.height = static_cast<int32_t>(size.height);
        m_inputFrame.stride = m_inputFrame.width * static_cast<int32_t>(kBytesPerPixel);
        m_inputFrame.data = m_input.data();
        m_outputFrame.stride = m_inputFrame.stride * static_cast<int32_t>(kScale);
        m_outputFrame.data = m_output.data();
    }

    void Prepare(const OpenArguments& open) override {
        m_network = open.network;
        m_param.inputWidth = open.size.width;
        m_param.inputHeight = open.size.height;
        m_param.modelChannels = open.network.channels;
        m_param.modelDepth = open.network.depth;
        std::snprintf(m_param.modelPath, sizeof(m_param.modelPath), "%s", open.modelPath.c_str());
    }

    void Open() override {
        m_handle = orvane_open(&m_param);
        Require(m_handle != nullptr, "orvane_open failed");
    }

    void Close() override {
        orvane_close(m_handle);
        m_handle = nullptr;
    }

    void ProcessOne() override {
        Require(orvane_process(m_handle, &m_outputFrame, &m_inputFrame) == ORVANE_OK, "orvane_process failed");
    }

    NetworkNumbers m_network;
    FrameSize m_size;
    orvane_open_param m_param{};
    orvane_handle m_handle = nullptr;
    orvane_frame m_inputFrame{};
    orvane_frame m_outputFrame{};
};

}  // namespace
}  // namespace orvane::bench

int main() {
    using namespace orvane::bench;
    const orvane_init_param log{ORVANE_LOG_INFO, &ReceiveLog, nullptr};
    orvane_init(&log);
    Library library;
    return library.Run({
        {"resize", [&](std::istream& arguments) { return library.Resize(arguments); }},
        {"planned", [&](std::istream&) { return library.Planned(); }},
        // The bytes of GPU memory as the last open logged them.
        {"logged", [](std::istream&) { return Numbers{g_loggedMegabytes * (1 << 20)}; }},
        {"watch",
         [](std::istream&) {
             StartCounting();
             return Numbers{};
         }},
        {"count", [&](std::istream&) { return library.Count(); }},
    });
}
