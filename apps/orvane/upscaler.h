// An open instance of the library.
#pragma once

#include <cstdint>
#include <string>

#include "api/orvane.h"
#include "apps/orvane/library_log.h"
#include "apps/orvane/picture.h"

namespace orvane::tool {

struct NetworkOptions {
    std::string modelPath;  // in the ANSI encoding, short enough for orvane_open_param
    int32_t channels;
    int32_t depth;
};

// Opened for pictures of one size, closed at the end. Throws Failure with the library's own reasons.
class Upscaler {
public:
    // `log` must outlive the object.
    Upscaler(uint32_t width, uint32_t height, const NetworkOptions& network, LibraryLog& log);
    ~Upscaler();
    Upscaler(const Upscaler&) = delete;
    Upscaler& operator=(const Upscaler&) = delete;

    // Doubles `input` into `output`, which has twice its width and height, and returns the time in
    // milliseconds.
    double Process(Picture& output, Picture& input);

private:
    LibraryLog& m_log;
    orvane_handle m_handle;
};

}  // namespace orvane::tool
