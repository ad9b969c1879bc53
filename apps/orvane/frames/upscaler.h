// The library at work.
#pragma once

#include <cstddef>
#include <cstdint>

#include "api/orvane.h"
#include "apps/orvane/commands/model_options.h"
#include "apps/orvane/frames/library_log.h"

namespace orvane::tool {

// Pixels in memory of somebody else's: R, G, B, A, rows from top to bottom.
struct PixelRows {
    uint32_t width = 0;
    uint32_t height = 0;
    size_t rowBytes = 0;  // from one row to the next; at least 4 x width
    uint8_t* pixels = nullptr;
};

// At most one open instance of the library, which is reopened or rebuilt when the size of the frames changes. Used on
// one thread: the one that the object was made on.
class Upscaler {
public:
    // Opens nothing yet. `log` must outlive the object.
    Upscaler(const ModelChoice& model, LibraryLog& log);
    ~Upscaler();
    Upscaler(const Upscaler&) = delete;
    Upscaler& operator=(const Upscaler&) = delete;

    // Opens an instance for frames of this size unless one is open, of whatever size. Throws Failure with the library's
    // own reasons.
    void Open(uint32_t width, uint32_t height);

    // Upscales `input`, whose rows have no padding, into `output`, which has twice its width and height; alpha becomes
    // 255. A frame of another size than the last one's costs a rebuild of the network. Opens an instance if need be.
    // Returns the time that the library took for the frame, in milliseconds. Throws Failure with the library's own
    // reasons; the next call works on a new instance then.
    double Process(const PixelRows& input, const PixelRows& output);

    const ModelChoice& Model() const { return m_model; }

private:
    void Close();

    ModelChoice m_model;
    LibraryLog& m_log;
    orvane_handle m_handle = nullptr;
};

}  // namespace orvane::tool
