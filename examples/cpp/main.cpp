// A host with the C++ wrapper. It upscales frames whose size changes in mid-stream, and prints the time of each.
//
//     loaded.exe MODEL CHANNELS DEPTH
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "orvane.hpp"

namespace {

orvane::Library GetLibrary(std::error_code& error) {
#ifdef LINKED
    error.clear();
    return orvane::Library::Linked();
#else
    return orvane::Library::Load(error);
#endif
}

int32_t Number(const char* text) {
    return static_cast<int32_t>(std::strtol(text, nullptr, 10));
}

int Fail(const char* what, const std::error_code& error) {
    std::fprintf(stderr, "%s: %s\n", what, error.message().c_str());
    return 1;
}

// A player reuses its output buffers: writing into fresh memory takes several times as long. After a lost device it
// closes every instance and releases its own Direct3D 12 device before it opens again.
std::error_code UpscaleFrame(orvane::Instance& instance, int32_t width, int32_t height) {
    const std::vector<uint8_t> input(static_cast<size_t>(width) * static_cast<size_t>(height) * 4, 200);
    std::vector<uint8_t> upscaled(input.size() * 4);
    const auto start = std::chrono::steady_clock::now();
    const std::error_code error =
        instance.Process({upscaled.data(), 2 * width * 4}, {input.data(), width, height, width * 4});
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    if (!error) {
        std::printf("%d x %d in %.1f ms; a pixel of the result: %d\n", 2 * width, 2 * height, time.count(),
                    upscaled[upscaled.size() / 2]);
    }
    return error;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: loaded MODEL CHANNELS DEPTH\n");
        return 2;
    }
    std::error_code error;
    const orvane::Library library = GetLibrary(error);
    if (error) {
        return Fail("liborvane.dll", error);
    }
    library.SetLog(
        [](orvane::LogLevel, std::string_view line) {
            std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
        },
        orvane::LogLevel::kError);
    orvane::Support support;
    error = library.CheckSupported(support);
    if (error) {
        return Fail("support check", error);
    }
    std::printf("Orvane %s on %s\n", library.Version(), support.result.adapterName);

    orvane::Instance instance = library.Open({argv[1], Number(argv[2]), Number(argv[3]), 64, 36}, error);
    for (const int32_t width : {64, 64, 48}) {
        error = error ? error : UpscaleFrame(instance, width, 36);
    }
    return error ? Fail(argv[1], error) : 0;
}
