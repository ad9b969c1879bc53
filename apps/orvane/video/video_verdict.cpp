#include "apps/orvane/video/video_verdict.h"

#include <algorithm>
#include <array>

namespace orvane::tool {
namespace {

bool MissesFrames(const VideoJob& job, const VideoSource& source, const VideoEnd& end) {
    if (end.hasEnoughFrames) {
        return false;
    }
    if (source.frameCount > 0 && !job.start && !job.duration) {
        return end.frames < source.frameCount;
    }
    const double seconds = SecondsToUpscale(job, source);
    const double perFrame = source.framesPerSecond > 0 ? 1 / source.framesPerSecond : 0;
    return end.lastFrameSeconds + perFrame + std::max(0.5, 2 * perFrame) < seconds;
}

}  // namespace

Verdict JudgeVideo(const VideoJob& job, const VideoSource& source, const VideoEnd& end) {
    const bool hasComplaints = !end.complaints.empty();
    if (end.decoderFailed || (hasComplaints && MissesFrames(job, source, end))) {
        return Verdict::kDamaged;
    }
    return hasComplaints ? Verdict::kComplainedOf : Verdict::kWhole;
}

bool CouldNotWrite(std::string_view encoderMessages) {
    constexpr std::array<std::string_view, 3> kSentences{"No space left on device", "Error closing file",
                                                         "Error writing trailer"};
    return std::any_of(kSentences.begin(), kSentences.end(), [encoderMessages](std::string_view sentence) {
        return encoderMessages.find(sentence) != std::string_view::npos;
    });
}

}  // namespace orvane::tool
