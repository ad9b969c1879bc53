// For every fuzz entry. A property that fails ends the program in every build, unlike with assert().
#pragma once
#include <cstdlib>
#include <fuzzer/FuzzedDataProvider.h>

inline void Require(bool holds) {
    holds ? void() : std::abort();
}
