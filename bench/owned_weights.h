// Lets DirectML own the weights of convolutions that the engine describes without that.
#pragma once

#include "engine/directml_context.h"
#include "engine/network_weights.h"

namespace orvane::bench {

// While one lives, operators made on the device own their weights, and are given them when they are initialised and
// nothing when they are bound: entries of the function tables of DirectML's objects are replaced for that.
class OwnedWeights {
public:
    // Borrows the weights, which may come later.
    OwnedWeights(const DirectMLContext& context, const NetworkWeights& weights);
    ~OwnedWeights();
    OwnedWeights(const OwnedWeights&) = delete;
    OwnedWeights& operator=(const OwnedWeights&) = delete;
};

}  // namespace orvane::bench
