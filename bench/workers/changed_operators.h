// Convolutions that are described in another way than the engine's, to see what its way costs.
#pragma once

#include "engine/directml_context.h"
#include "engine/network_weights.h"

namespace orvane::bench {

struct OperatorChanges {
    bool isOwned = false;  // DirectML takes over the weights when the operators are initialised
    bool isClip = false;   // the fused activation is a clip to 0..1 instead of the hard sigmoid that gives the same
};

// While one lives, operators made on the device are changed so; those that own their weights are given them when they
// are initialised and nothing when they are bound. Entries of the function tables of DirectML's objects are replaced
// for that.
class ChangedOperators {
public:
    // Borrows the weights, which may come later.
    ChangedOperators(const DirectMLContext& context, const NetworkWeights& weights, OperatorChanges changes);
    ~ChangedOperators();
    ChangedOperators(const ChangedOperators&) = delete;
    ChangedOperators& operator=(const ChangedOperators&) = delete;
};

}  // namespace orvane::bench
