// One open instance of the library.
#pragma once

#include <cstddef>
#include <cstdint>

#include "api/orvane.h"
#include "apps/orvane/frames/library_log.h"
#include "apps/orvane/frames/model_choice.h"
#include "apps/utils/size.h"

namespace orvane::tool {

// Pixels in memory that the caller owns: R, G, B, A, rows from top to bottom.
struct PixelRows {
    uint32_t width = 0;
    uint32_t height = 0;
    size_t rowBytes = 0;  // from one row to the next; at least 4 x width
    uint8_t* pixels = nullptr;
};

// Holds at most one open instance of the library. The instance is opened again, or its network rebuilt, when the frame
// size changes. Not thread-safe: to be used on the thread that made the object.
class Upscaler {
public:
    // Opens nothing yet. `log` must outlive the object.
    Upscaler(const ModelChoice& model, LibraryLog& log);
    ~Upscaler();
    Upscaler(const Upscaler&) = delete;
    Upscaler& operator=(const Upscaler&) = delete;

    // Opens an instance for frames of this size, unless one is open already, for whatever size. Throws Failure with the
    // library's own reasons.
    void Open(Size size);

    // Upscales `input`, whose rows have no padding, into `output`, which has twice its width and height; alpha becomes
    // 255. Opens an instance if none is open. A change of the frame size costs a rebuild of the network. Returns the
    // library's time for the frame in milliseconds. Throws Failure with the library's own reasons; the next call then
    // opens a new instance.
    double Upscale(const PixelRows& input, const PixelRows& output);

    const ModelChoice& Model() const { return m_model; }

private:
    void Close();

    ModelChoice m_model;
    LibraryLog& m_log;
    orvane_handle m_handle = nullptr;
};

}  // namespace orvane::tool
