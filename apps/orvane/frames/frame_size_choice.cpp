#include "apps/orvane/frames/frame_size_choice.h"

#include <algorithm>

namespace orvane::tool {

Size FrameSizeChoice::Choose(const Size& image) {
    const std::lock_guard lock(m_mutex);
    const Size best{BestFrameSide(image.width, m_rules), BestFrameSide(image.height, m_rules)};
    if (!m_current || !StayingPays(image, best)) {
        m_current = best;
        m_wasted = 0;
    }
    return *m_current;
}

bool FrameSizeChoice::StayingPays(const Size& image, const Size& best) {
    // Without a rim the image must end where the frame ends.
    const bool isTooLarge = m_current->width > image.width || m_current->height > image.height;
    if (m_rules.rim == 0 && isTooLarge) {
        return false;
    }
    // Overlapping frames only advance when they are longer than their overlap.
    const auto isTooShort = [&](uint32_t frame, uint32_t length) {
        return frame <= 2 * m_rules.reach && frame < length + 2 * m_rules.rim;
    };
    if (isTooShort(m_current->width, image.width) || isTooShort(m_current->height, image.height)) {
        return false;
    }
    const uint64_t extra = WorkArea(image, *m_current, m_rules) -
                           std::min(WorkArea(image, *m_current, m_rules), WorkArea(image, best, m_rules));
    m_wasted += static_cast<double>(extra) * m_perPixel;
    return extra == 0 || (m_perPixel > 0 && m_wasted <= m_rebuild);
}

void FrameSizeChoice::FrameTook(const Size& frame, double milliseconds, bool afterChange) {
    const std::lock_guard lock(m_mutex);
    const auto area = static_cast<double>(frame.Area());
    if (afterChange) {
        m_perPixel = std::min(m_perPixel, milliseconds / area);  // the first frame of a run includes one-time costs
        m_rebuild = std::max(0.0, milliseconds - area * m_perPixel);
    } else {
        m_perPixel = milliseconds / area;
    }
}

}  // namespace orvane::tool
