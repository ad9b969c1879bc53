// orvane-model: makes and enciphers model files.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "apps/model_tool/bilinear_model.h"
#include "apps/model_tool/encipher.h"
#include "apps/utils/atomic_file.h"
#include "apps/utils/failure.h"
#include "apps/utils/program.h"
#include "apps/utils/utf8_path.h"
#include "model/keys.h"

namespace orvane::tool {
namespace {

// Readers count bytes in signed 32-bit numbers; a container adds less than 32 bytes, twice.
constexpr size_t kMaxPlainBytes = 0x7FFFFFFF - 64;

enum class Encipherment { kNone, kOnce, kTwice };

// By the file's ending, as the library does it: in lower case only.
Encipherment EnciphermentOf(const std::filesystem::path& path) {
    const std::filesystem::path ending = path.extension();
    if (ending == ".en") {
        return Encipherment::kOnce;
    }
    return ending == ".en2" ? Encipherment::kTwice : Encipherment::kNone;
}

void WriteModel(const std::string& output, const std::vector<uint8_t>& bytes) {
    WriteFileAtomically(PathFromUtf8(output), bytes);
    std::printf("Wrote: %s (%zu bytes)\n", output.c_str(), bytes.size());
}

void MakeBilinear(const std::string& output, uint32_t channels, int32_t depth) {
    if (EnciphermentOf(PathFromUtf8(output)) != Encipherment::kNone) {
        throw Failure("The model is written plain, and its reader would take the ending of \"" + output +
                      "\" for an enciphered file. Choose another ending, then use the encipher command.");
    }
    WriteModel(output, MakeBilinearModel(channels, depth));
}

void Encipher(const std::string& input, const std::string& output) {
    const Encipherment encipherment = EnciphermentOf(PathFromUtf8(output));
    if (encipherment == Encipherment::kNone) {
        throw Failure("The name \"" + output + "\" must end in .en (enciphered once) or .en2 (twice).");
    }
    std::vector<uint8_t> bytes = ReadWholeFile(PathFromUtf8(input));
    if (bytes.size() > kMaxPlainBytes) {
        throw Failure("\"" + input + "\" is too large: an enciphered model is smaller than 2 GiB.");
    }
    std::mt19937 random(std::random_device{}());
    bytes = EncipherContainer(bytes, kFileKey, random);
    if (encipherment == Encipherment::kTwice) {
        bytes = EncipherContainer(bytes, kOuterKey, random);
    }
    WriteModel(output, bytes);
}

}  // namespace
}  // namespace orvane::tool

int main(int argc, char** argv) {
    using namespace orvane::tool;
    CLI::App app("Makes and enciphers model files of the Orvane library.", "orvane-model");
    app.require_subcommand(1);

    std::string input;
    std::string output;
    uint32_t channels = 32;
    int32_t depth = 2;

    CLI::App* bilinear = app.add_subcommand("bilinear", "Writes a plain model that doubles by bilinear interpolation");
    bilinear->add_option("OUT", output, "The model file to write")->required();
    bilinear->add_option("--channels", channels, "Feature channels of the network")->capture_default_str();
    bilinear->add_option("--depth", depth, "Layers between the first and the last one")->capture_default_str();
    bilinear->callback([&] { MakeBilinear(output, channels, depth); });

    CLI::App* encipher = app.add_subcommand("encipher", "Enciphers a plain model, by the ending of the new name");
    encipher->add_option("IN", input, "The plain model file")->required();
    encipher->add_option("OUT", output, "The file to write: NAME.en enciphered once, NAME.en2 twice")->required();
    encipher->callback([&] { Encipher(input, output); });

    return RunProgram(app, argc, argv);
}
