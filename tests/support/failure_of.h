// The failure of a function.
#pragma once

#include <string>

#include "apps/utils/failure.h"

namespace orvane::tool {

// The text of the failure, or empty when there is none.
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
