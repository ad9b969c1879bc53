// Valid and damaged containers with arbitrary lengths and capacities.
#include "apps/models/encrypt.h"
#include "model/keys.h"
#include "model/tea.h"
#include "tests/fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider fuzz(data, size);
    const auto claimedLength = fuzz.ConsumeIntegral<int32_t>(), capacity = fuzz.ConsumeIntegral<int32_t>();
    const bool encrypted = fuzz.ConsumeBool();
    const auto plain = fuzz.ConsumeRemainingBytes<uint8_t>();
    std::mt19937 random(static_cast<uint32_t>(capacity));
    auto container = encrypted ? orvane::tool::EncryptContainer(plain, orvane::kFileKey, random) : plain;
    container.resize(std::max<size_t>(container.size(), 16));

    const int32_t length = std::min(claimedLength, static_cast<int32_t>(container.size()));
    const std::vector<uint8_t> input(container.begin(), container.begin() + std::max(length, 0));
    std::vector<uint8_t> output(std::min(container.size(), static_cast<size_t>(std::max(capacity, 0))), 0xEE);
    int32_t written = capacity;
    const bool succeeds = orvane::TeaDecryptBuffer(input.data(), length, output.data(), written, orvane::kFileKey);

    orvane::TeaDecryptBlock(container.data(), orvane::kFileKey, container.data());
    const int32_t body = length >= 16 ? length - (container[0] & 7) - 10 : -1;
    const bool fits = body >= 0 && body <= capacity;
    const auto bodyEnd = output.begin() + (fits ? body : 0);
    Require(written == (fits ? body : capacity) && (!succeeds || (fits && length % 8 == 0)));
    Require(std::all_of(bodyEnd, output.end(), [](uint8_t byte) { return byte == 0xEE; }));
    Require(!encrypted || !fits || input.size() != container.size() ||
            (succeeds && std::equal(plain.begin(), plain.end(), output.begin(), bodyEnd)));
    return 0;
}
