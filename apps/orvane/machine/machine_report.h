// Reports on a machine, as text and as JSON.
#pragma once

#include <string>

#include "apps/orvane/machine/machine.h"

namespace orvane::tool {

// For an orvane_check_status: why the library cannot run (half a sentence), and what may help (a sentence).
std::string SupportReason(uint32_t status);
std::string SupportAdvice(uint32_t status);

// The result of upscaling a small frame. The sentence says how it went, or why it failed.
struct Trial {
    bool isDone = false;
    std::string sentence;
};

std::string TextOf(const Machine& machine, const Trial& trial);
std::string JsonOf(const Machine& machine, const Trial& trial);

}  // namespace orvane::tool
