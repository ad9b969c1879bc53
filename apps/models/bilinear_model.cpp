#include "apps/models/bilinear_model.h"

#include <array>
#include <cstddef>
#include <string>

#include "apps/models/half.h"
#include "apps/utils/failure.h"

namespace orvane::tool {
namespace {

constexpr size_t kColours = 3;
constexpr size_t kPhases = 4;
constexpr size_t kOnes = kColours;  // the channel of ones that follows the colours up to the gating layer

// A 3x3 convolution, written tap by tap. Taps are addressed by their offset from the centre, -1..1.
class Layer {
public:
    Layer(size_t inChannels, size_t outChannels)
        : m_inChannels(inChannels), m_filter(outChannels * inChannels * 9), m_bias(outChannels) {}

    void Add(size_t out, size_t in, int dx, int dy, float weight) {
        const auto tap = static_cast<size_t>((dy + 1) * 3 + dx + 1);
        m_filter[(out * m_inChannels + in) * 9 + tap] += weight;
    }
    void Carry(size_t channel) { Add(channel, channel, 0, 0, 1.0F); }
    void SetBias(size_t out, float value) { m_bias[out] = value; }

    void AppendTo(std::vector<uint8_t>& bytes) const {
        AppendHalves(m_filter, bytes);
        AppendHalves(m_bias, bytes);
    }

private:
    static void AppendHalves(const std::vector<float>& values, std::vector<uint8_t>& bytes) {
        for (const float value : values) {
            const uint16_t half = HalfFromFloat(value);
            bytes.push_back(static_cast<uint8_t>(half & 0xFF));
            bytes.push_back(static_cast<uint8_t>(half >> 8));
        }
    }

    size_t m_inChannels;
    std::vector<float> m_filter;
    std::vector<float> m_bias;
};

// An edge or a corner of the image, as the direction in which it lies. (0, 0) stands for the image itself.
struct Border {
    int dx;
    int dy;
};
constexpr std::array<Border, 9> kBorders{
    {{0, 0}, {-1, 0}, {1, 0}, {0, -1}, {0, 1}, {-1, -1}, {1, -1}, {-1, 1}, {1, 1}}};
static_assert(kBorders.size() * kColours == kMinBilinearChannels);

// The channel after the gating layer that holds a colour on the given border and 0 elsewhere.
size_t GatedChannel(Border border, size_t colour) {
    size_t index = 0;
    while (kBorders[index].dx != border.dx || kBorders[index].dy != border.dy) {
        ++index;
    }
    return index * kColours + colour;
}

Layer MakeFirstLayer(size_t channels) {
    Layer layer(kColours, channels);
    for (size_t colour = 0; colour < kColours; ++colour) {
        layer.Carry(colour);
    }
    layer.SetBias(kOnes, 1.0F);
    return layer;
}

Layer MakeCarryingLayer(size_t channels) {
    Layer layer(channels, channels);
    for (size_t channel = 0; channel <= kOnes; ++channel) {
        layer.Carry(channel);
    }
    return layer;
}

// Zero padding shows where the image ends: beyond an edge the channel of ones is 0. So colour minus the neighbour's
// ones is the colour on that edge. Elsewhere it is below 0, which the activation clips to 0.
Layer MakeGatingLayer(size_t channels) {
    Layer layer(channels, channels);
    for (const Border border : kBorders) {
        for (size_t colour = 0; colour < kColours; ++colour) {
            const size_t gated = GatedChannel(border, colour);
            layer.Add(gated, colour, 0, 0, 1.0F);
            if (border.dx != 0) {
                layer.Add(gated, kOnes, border.dx, 0, -1.0F);
            }
            if (border.dy != 0) {
                layer.Add(gated, kOnes, 0, border.dy, -1.0F);
            }
        }
    }
    return layer;
}

// One of the four result pixels of a pixel. It lies a quarter of a pixel towards the neighbours at `lean`. A neighbour
// outside is 0 because of the padding. The nearest pixel inside contributes instead, through the gated channel of that
// border.
void AddPhase(Layer& layer, size_t out, size_t colour, Border lean) {
    const size_t image = GatedChannel({0, 0}, colour);
    const size_t column = GatedChannel({lean.dx, 0}, colour);
    const size_t row = GatedChannel({0, lean.dy}, colour);
    const size_t corner = GatedChannel(lean, colour);
    for (const int tapX : {0, lean.dx}) {
        for (const int tapY : {0, lean.dy}) {
            const float weight = (tapX == 0 ? 0.75F : 0.25F) * (tapY == 0 ? 0.75F : 0.25F);
            layer.Add(out, image, tapX, tapY, weight);
            if (tapX != 0) {
                layer.Add(out, column, 0, tapY, weight);
            }
            if (tapY != 0) {
                layer.Add(out, row, tapX, 0, weight);
            }
            if (tapX != 0 && tapY != 0) {
                layer.Add(out, corner, 0, 0, weight);
            }
        }
    }
}

Layer MakeLastLayer(size_t channels) {
    Layer layer(channels, kColours * kPhases);
    for (size_t colour = 0; colour < kColours; ++colour) {
        AddPhase(layer, colour * kPhases + 0, colour, {-1, -1});
        AddPhase(layer, colour * kPhases + 1, colour, {1, -1});
        AddPhase(layer, colour * kPhases + 2, colour, {-1, 1});
        AddPhase(layer, colour * kPhases + 3, colour, {1, 1});
    }
    return layer;
}

void RequireRange(const std::string& name, int64_t value, int64_t low, int64_t high) {
    if (value < low || value > high) {
        throw Failure("The bilinear placeholder needs a " + name + " of " + std::to_string(low) + " to " +
                      std::to_string(high) + ", not " + std::to_string(value) + ".");
    }
}

}  // namespace

std::vector<uint8_t> MakeBilinearModel(uint32_t channels, int32_t depth) {
    RequireRange("number of channels", channels, kMinBilinearChannels, kMaxModelChannels);
    RequireRange("depth", depth, kMinBilinearDepth, kMaxModelDepth);
    std::vector<uint8_t> bytes;
    MakeFirstLayer(channels).AppendTo(bytes);
    const Layer carrying = MakeCarryingLayer(channels);
    for (int32_t i = kMinBilinearDepth; i < depth; ++i) {
        carrying.AppendTo(bytes);
    }
    MakeGatingLayer(channels).AppendTo(bytes);
    MakeLastLayer(channels).AppendTo(bytes);
    return bytes;
}

}  // namespace orvane::tool
