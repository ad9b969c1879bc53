// Model files with all extensions.
#include "model/model_stream.h"

#include "apps/models/encrypt.h"
#include "model/keys.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/temp_folder.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const orvane::TempFolder folder;
    FuzzedDataProvider fuzz(data, size);
    const auto layers = fuzz.ConsumeIntegralInRange<size_t>(0, 2);  // of encryption, as the extension says
    const bool inner = fuzz.ConsumeBool(), outer = fuzz.ConsumeBool();
    const auto plain = fuzz.ConsumeRemainingBytes<uint8_t>();
    std::mt19937 random(static_cast<uint32_t>(size));
    auto file = inner ? orvane::tool::EncryptContainer(plain, orvane::kFileKey, random) : plain;
    file = outer ? orvane::tool::EncryptContainer(file, orvane::kOuterKey, random) : file;

    std::stringstream stream;
    const std::string name = std::array{"model", "model.en", "model.en2"}[layers];
    Require(orvane::OpenModelStream(folder.Write(name, file).string(), stream));
    const std::vector<uint8_t> content{std::istreambuf_iterator<char>(stream), {}};
    Require(content.size() <= file.size() && content.size() + 17 * layers >= file.size());
    Require(layers == 0 ? content == file : file.size() % 8 == 0 || content == std::vector<uint8_t>(file.size()));
    Require(inner != (layers >= 1) || outer != (layers == 2) || content == plain);
    return 0;
}
