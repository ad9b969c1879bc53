// Frames from other programs, in PAM and in NUT: whatever comes, what was read is written so that it is read again.
#include "apps/orvane/nut.h"
#include "apps/orvane/pam.h"
#include "apps/utils/failure.h"
#include "tests/fuzz/fuzz.h"
#include "tests/memory_source.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace orvane::tool;
    const std::string bytes(data, data + size);
    try {
        MemorySource source(bytes);
        if (const auto header = ReadPamHeader(source)) {
            MemorySource again(PamHeaderText(*header));
            Require(ReadPamHeader(again)->PixelBytes() == header->PixelBytes() && again.Rest().empty());
        }
    } catch (const Failure&) {
    }
    try {
        MemorySource source(std::string("nut/multimedia container\0", 25) + bytes);
        NutReader reader(source);
        const auto video = reader.ReadHeaders();
        if (!video) {
            return 0;
        }
        while (const auto frame = reader.Next()) {
            const std::string header = NutFrameHeader(frame->time, frame->pixels.size());
            MemorySource again(NutHeaders(*video) + header + std::string(frame->pixels.begin(), frame->pixels.end()));
            NutReader second(again);
            Require(second.ReadHeaders()->width == video->width);
            const auto copy = second.Next();
            Require(frame->time > UINT64_MAX / 4 || (copy->time == frame->time && copy->pixels == frame->pixels));
        }
    } catch (const Failure&) {
    }
    return 0;
}
