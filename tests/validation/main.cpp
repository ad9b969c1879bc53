// Runs everything once. With the argument "fault" it leaves out a barrier, which the validation must find.
#include <cstdio>
#include <string_view>

#include "api/log.h"
#include "tests/validation/alone.h"

int main(int argc, char** argv) try {
    orvane::SetLogConfiguration({ORVANE_LOG_ERROR, orvane::DefaultLogSink, nullptr});
    DX::DeviceResources resources(DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_UNKNOWN, 1, D3D_FEATURE_LEVEL_11_0, 0);
    orvane::validation::Require(resources.CreateDeviceResources() == 0, "CreateDeviceResources");
    if (argc == 2 && std::string_view(argv[1]) == "fault") {
        orvane::validation::RunDirect3D(resources, true);
    } else {
        orvane::validation::RunDirect3D(resources, false);
        orvane::validation::RunDirectML(resources);
    }
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "failed: %s\n", error.what());
    return 1;
}
