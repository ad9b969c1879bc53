// Frames from other programs, in PAM and in NUT. What can be read is written and must be read again.
#include "apps/orvane/containers/nut.h"
#include "apps/orvane/containers/pam.h"
#include "apps/utils/failure.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/memory_source.h"

namespace {

using namespace orvane::tool;

void ReadPam(const std::string& bytes) {
    MemorySource source(bytes);
    if (const auto header = ReadPamHeader(source)) {
        MemorySource written(PamHeaderText(*header));
        const auto again = ReadPamHeader(written);
        Require(again && again->PixelBytes() == header->PixelBytes() && written.Rest().empty());
    }
}

void ReadNut(const std::string& bytes) {
    MemorySource source(std::string("nut/multimedia container\0", 25) + bytes);
    NutReader reader(source);
    const auto video = reader.ReadHeaders();
    while (const auto frame = video ? reader.Next() : std::nullopt) {
        const std::string header = NutFrameHeader(frame->time, frame->pixels.size());
        MemorySource written(NutHeaders(*video) + header + std::string(frame->pixels.begin(), frame->pixels.end()));
        NutReader second(written);
        const auto again = second.ReadHeaders();
        Require(again && again->width == video->width);
        const auto copy = second.Next();
        Require(frame->time > UINT64_MAX / 4 || (copy && copy->time == frame->time && copy->pixels == frame->pixels));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(data, data + size);
    for (const auto& read : {&ReadPam, &ReadNut}) {
        try {
            read(bytes);
        } catch (const Failure&) {
            continue;
        }
    }
    return 0;
}
