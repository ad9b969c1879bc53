// What the choices about DirectML's convolutions are worth: the bare operators of one network, compiled in several
// ways.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "bench/inputs.h"

namespace orvane::bench {

// The ways, in the order of the times. The library uses the first, on NVIDIA's adapters "NHWC, half precision".
// "Owned" are weights that DirectML takes over, repacked, when the operators are initialised; "one graph" is a single
// compiled operator for all layers. Without the activation the network is another one: that shows what it costs.
inline constexpr std::array kOperatorVariantNames{
    "NCHW",
    "NCHW, owned",
    "NHWC",
    "NHWC, owned",
    "NCHW, half precision",
    "NHWC, half precision",
    "NHWC, half precision, owned",
    "NCHW, no metacommands",
    "NCHW, volatile descriptors",
    "NCHW, one graph",
    "NCHW, one graph, owned",
    "NHWC, half precision, one graph, owned",
    "NCHW, no activation",
    "NCHW, one graph, owned, no activation",
};

class OperatorExperiment {
public:
    // Compiles every variant. Throws when there is no device; a variant that DirectML refuses is left out.
    OperatorExperiment(FrameSize size, NetworkNumbers network, const std::string& modelPath);
    ~OperatorExperiment();

    // 1 for each variant that was compiled, 0 for one that DirectML refuses.
    std::vector<double> Accepted() const;

    // Runs all layers of one that was accepted: one submission, one wait.
    void Run(size_t variant);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

}  // namespace orvane::bench
