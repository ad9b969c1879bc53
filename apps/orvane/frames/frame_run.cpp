#include "apps/orvane/frames/frame_run.h"

#include "apps/orvane/machine/support_check.h"

namespace orvane::tool {
namespace {

TileRules RulesOf(const FrameOptions& options, uint32_t reach) {
    return {reach, options.rawEdges ? 0 : reach, options.tile};
}

}  // namespace

FrameRun::FrameRun(const FrameOptions& options, Progress& progress)
    : m_passes(options.passes),
      m_log(options.verbose),
      m_upscaler(ChooseModel(options.model), m_log),
      m_sizes(RulesOf(options, m_upscaler.Model().reach)),
      m_server(m_upscaler, m_sizes, progress) {
    if (!m_upscaler.Model().note.empty()) {
        progress.Note(m_upscaler.Model().note);
    }
    progress.Note("Looking for a graphics adapter ...");
    progress.Note("Graphics adapter: " + RequireSupportedMachine());
}

}  // namespace orvane::tool
