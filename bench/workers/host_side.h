// What the workers of both sides have in common: a program that upscales images, from host memory to host memory.
#pragma once

#include <string>
#include <vector>

#include "bench/workers/worker.h"

namespace orvane::bench {

class HostSide {
public:
    virtual ~HostSide() = default;

    // Commands: "open" and "close", which answer with their time; "frames", with a number, which answers with the times
    // of so many; "save", with a path, writes the last image. And `more`.
    int Run(std::map<std::string, Command> more = {});

protected:
    // Whatever is not part of the time of an open.
    virtual void Prepare(const OpenArguments& open) = 0;
    virtual void Open() = 0;
    virtual void Close() = 0;
    virtual void ProcessOne() = 0;

    // From now on images have this size.
    virtual void SetSize(FrameSize size);

    // Rows of 4-byte pixels without padding.
    std::vector<uint8_t> m_input;
    std::vector<uint8_t> m_output;
};

}  // namespace orvane::bench
