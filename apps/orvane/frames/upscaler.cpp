#include "apps/orvane/frames/upscaler.h"

#include <algorithm>

#include "apps/utils/text.h"

namespace orvane::tool {
namespace {

orvane_frame FrameOf(const PixelRows& rows) {
    orvane_frame frame{};
    frame.width = static_cast<int32_t>(rows.width);
    frame.height = static_cast<int32_t>(rows.height);
    frame.stride = static_cast<int32_t>(rows.rowBytes);
    frame.data = rows.pixels;
    return frame;
}

}  // namespace

Upscaler::Upscaler(const ModelChoice& model, LibraryLog& log) : m_model(model), m_log(log) {
}

Upscaler::~Upscaler() {
    Close();
}

void Upscaler::Open(Size size) {
    if (m_handle != nullptr) {
        return;
    }
    orvane_open_param param{};
    param.inputWidth = size.width;
    param.inputHeight = size.height;
    param.outputWidth = 2 * size.width;
    param.outputHeight = 2 * size.height;
    param.modelChannels = m_model.channels;
    param.modelDepth = m_model.depth;
    std::copy(m_model.path.begin(), m_model.path.end(), param.modelPath);
    m_handle = orvane_open(&param);
    if (m_handle == nullptr) {
        m_log.Fail("The network could not be prepared for frames of " + SizeText(size) + ".");
    }
}

double Upscaler::Upscale(const PixelRows& input, const PixelRows& output) {
    const Size size{input.width, input.height};
    Open(size);
    orvane_frame outputFrame = FrameOf(output);
    const orvane_frame inputFrame = FrameOf(input);
    const int64_t start = orvane_getickcount();
    const int result = orvane_process(m_handle, &outputFrame, &inputFrame);
    const int64_t microseconds = orvane_getickcount() - start;
    if (result != ORVANE_OK) {
        Close();
        m_log.Fail("A frame of " + SizeText(size) + " could not be upscaled.");
    }
    return static_cast<double>(microseconds) / 1000.0;
}

void Upscaler::Close() {
    if (m_handle != nullptr) {
        orvane_close(m_handle);
        m_handle = nullptr;
    }
}

}  // namespace orvane::tool
