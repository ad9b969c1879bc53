#include "apps/orvane/commands/check_command.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "apps/orvane/frames/library_log.h"
#include "apps/orvane/frames/model_choice.h"
#include "apps/orvane/frames/upscaler.h"
#include "apps/orvane/machine/machine.h"
#include "apps/orvane/machine/machine_report.h"
#include "apps/utils/failure.h"

namespace orvane::tool {
namespace {

constexpr uint32_t kWidth = 64;
constexpr uint32_t kHeight = 36;
constexpr uint8_t kGrey = 200;

// Allows half a code value plus the rounding of half precision.
bool IsGrey(const std::vector<uint8_t>& pixels) {
    for (size_t i = 0; i < pixels.size(); ++i) {
        if (i % 4 != 3 && std::abs(pixels[i] - kGrey) > 2) {
            return false;
        }
    }
    return true;
}

// Only a frame shows whether DirectML computes correctly. The bilinear placeholder does not change a flat colour.
Trial TryFrame() {
    try {
        LibraryLog log(false);
        ModelOptions model;
        model.model = "interpolating";
        Upscaler upscaler(ChooseModel(model), log);
        std::vector<uint8_t> input(size_t{kWidth} * kHeight * 4, kGrey);
        std::vector<uint8_t> output(4 * input.size());
        upscaler.Upscale({kWidth, kHeight, size_t{kWidth} * 4, input.data()},
                         {2 * kWidth, 2 * kHeight, size_t{kWidth} * 8, output.data()});
        return IsGrey(output) ? Trial{true, "A trial frame was upscaled correctly."}
                              : Trial{false, "A trial frame has wrong colours. Install the newest graphics driver."};
    } catch (const Failure& failure) {
        return {false, failure.what()};
    }
}

void Check(bool isJson) {
    std::fputs("Looking at Windows, the graphics adapters and DirectML ...\n", stderr);
    const Machine machine = ExamineMachine();
    const Trial trial = machine.isSupported ? TryFrame() : Trial{};
    const std::string report = isJson ? JsonOf(machine, trial) : TextOf(machine, trial);
    std::fputs(report.c_str(), stdout);
    if (!trial.isDone) {
        throw Failure("This machine cannot run the library.");
    }
}

}  // namespace

void AddCheckCommand(CLI::App& app) {
    const auto isJson = std::make_shared<bool>(false);
    CLI::App* const check =
        app.add_subcommand("check", "Checks whether this machine can run the network, and says why not");
    check->footer("Exit code: 0 if it can, 1 if it cannot.\nExample: orvane check");
    check->add_flag("--json", *isJson, "Print one JSON object instead of text");
    check->callback([isJson] { Check(*isJson); });
}

}  // namespace orvane::tool
