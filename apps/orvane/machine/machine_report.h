// What there is to say of a machine, for people and for programs.
#pragma once

#include <string>

#include "apps/orvane/machine/machine.h"

namespace orvane::tool {

// Of an orvane_check_status: why the library cannot run, as half a sentence, and what may help, as a sentence.
std::string SupportReason(uint32_t status);
std::string SupportAdvice(uint32_t status);

// `trial` says in a sentence how a small frame was upscaled, or why that failed.
struct Trial {
    bool isDone = false;
    std::string sentence;
};

std::string TextOf(const Machine& machine, const Trial& trial);
std::string JsonOf(const Machine& machine, const Trial& trial);

}  // namespace orvane::tool
