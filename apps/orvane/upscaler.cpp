#include "apps/orvane/upscaler.h"

#include <algorithm>

namespace orvane::tool {
namespace {

orvane_frame FrameOf(Picture& picture) {
    orvane_frame frame{};
    frame.width = static_cast<int32_t>(picture.width);
    frame.height = static_cast<int32_t>(picture.height);
    frame.stride = static_cast<int32_t>(picture.RowBytes());
    frame.data = picture.pixels.data();
    return frame;
}

}  // namespace

Upscaler::Upscaler(uint32_t width, uint32_t height, const NetworkOptions& network, LibraryLog& log) : m_log(log) {
    orvane_open_param param{};
    param.inputWidth = width;
    param.inputHeight = height;
    param.outputWidth = 2 * width;
    param.outputHeight = 2 * height;
    param.modelChannels = network.channels;
    param.modelDepth = network.depth;
    std::copy(network.modelPath.begin(), network.modelPath.end(), param.modelPath);
    m_handle = orvane_open(&param);
    if (m_handle == nullptr) {
        m_log.Fail("The network could not be prepared.");
    }
}

Upscaler::~Upscaler() {
    orvane_close(m_handle);
}

double Upscaler::Process(Picture& output, Picture& input) {
    orvane_frame outputFrame = FrameOf(output);
    const orvane_frame inputFrame = FrameOf(input);
    const int64_t start = orvane_getickcount();
    const int result = orvane_process(m_handle, &outputFrame, &inputFrame);
    const int64_t microseconds = orvane_getickcount() - start;
    if (result != ORVANE_OK) {
        m_log.Fail("The picture could not be processed.");
    }
    return static_cast<double>(microseconds) / 1000.0;
}

}  // namespace orvane::tool
