// Rows handed to the host: how fast they are copied, in the ways that there are.
#pragma once

#include <map>
#include <string>

#include "bench/workers/worker.h"

namespace orvane::bench {

// Commands:
//   rows WAY BYTES READS COUNT   milliseconds of so many copies of so many bytes, by "memcpy", "movsb" (one instruction
//                                that repeats) or "stream" (past the caches, as the library copies large images); with
//                                READS 1 the copy is also read once, as the host will
std::map<std::string, Command> RowCopyCommands();

}  // namespace orvane::bench
