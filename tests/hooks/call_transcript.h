// The calls that the library makes of Direct3D and DirectML, a line each.
#pragma once

#include <string>

namespace orvane::test {

enum class Releases { kLeftOut, kWrittenDown };

// From now on calls are written down. The releases of an upload are any thread's, so an open's are left out.
void RecordCalls(Releases releases);
// The lines since then. Ends the recording.
std::string TakeCalls();

// For the hooks.
bool IsRecording();
bool IsRecordingReleases();
void RecordLine(const std::string& line);

}  // namespace orvane::test
