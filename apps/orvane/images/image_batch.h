// Upscales many images on several threads.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "apps/orvane/frames/frame_server.h"
#include "apps/orvane/frames/image.h"
#include "apps/orvane/images/image_jobs.h"
#include "apps/utils/memory_budget.h"
#include "apps/utils/progress.h"

namespace orvane::tool {

struct BatchOptions {
    int32_t quality = 95;
    int32_t passes = 1;
};

struct BatchResult {
    uint64_t done = 0;
    uint64_t failed = 0;
    uint64_t frames = 0;
    double frameMilliseconds = 0;  // that the library took for them
    double seconds = 0;            // from reading the first image to writing the last one, without the open
};

// Each thread takes one image at a time from its file to the file of its result. While the library works on the frames
// of one image, other threads read, write and compress.
class ImageBatch {
public:
    // All arguments must outlive the object.
    ImageBatch(const std::vector<ImageJob>& jobs, const BatchOptions& options, FrameServer& server, Progress& progress);

    // Call it on the thread of the server's upscaler. Throws Failure when no instance could be opened.
    BatchResult Run();

private:
    class Tally;

    void Work();
    void DoJob(const ImageJob& job);
    Image UpscaleAll(Image image, Tally& tally);
    void Save(const ImageJob& job, const Image& image);

    const std::vector<ImageJob>& m_jobs;
    const BatchOptions m_options;
    FrameServer& m_server;
    Progress& m_progress;
    MemoryBudget m_memory;
    std::atomic<size_t> m_next = 0;
    std::atomic<size_t> m_workers = 0;
    std::mutex m_mutex;
    BatchResult m_result;
};

}  // namespace orvane::tool
