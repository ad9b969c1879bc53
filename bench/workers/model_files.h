// Model files: how fast they are decrypted and loaded.
#pragma once

#include <map>
#include <string>

#include "bench/workers/worker.h"

namespace orvane::bench {

// Commands, all but the first with a path up to the end of the line:
//   chain                          nanoseconds of one simple operation that waits for the one before
//   encrypt PATH                   writes a .bin encrypted once as .en beside it, or an .en as .en2; answers nothing
//   decrypt MS PATH                milliseconds of decrypting it once, by the outer key of an .en2
//   read MS PATH                   milliseconds of reading it and decrypting it as often as its extension says
//   load MS CHANNELS DEPTH PATH    milliseconds from the file to the weights by name
// MS is how long to measure, in milliseconds of processor time.
std::map<std::string, Command> ModelFileCommands();

}  // namespace orvane::bench
