// Shared by all fuzz entries. Unlike assert(), a failed property ends the program in every build.
#pragma once
#include <cstdlib>
#include <fuzzer/FuzzedDataProvider.h>

inline void Require(bool holds) {
    holds ? void() : std::abort();
}
