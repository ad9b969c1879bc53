// What a function fails with.
#pragma once

#include <string>

#include "apps/utils/failure.h"

namespace orvane::tool {

// The sentence of the failure; empty when there is none.
template <typename Function>
std::string FailureOf(Function function) {
    try {
        function();
    } catch (const Failure& failure) {
        return failure.what();
    }
    return {};
}

}  // namespace orvane::tool
