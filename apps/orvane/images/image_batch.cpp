#include "apps/orvane/images/image_batch.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <new>
#include <nlohmann/json.hpp>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include <windows.h>

#include "apps/orvane/frames/image_upscale.h"
#include "apps/orvane/images/image_reader.h"
#include "apps/orvane/images/image_writer.h"
#include "apps/orvane/images/wic.h"
#include "apps/utils/failure.h"
#include "apps/utils/files/atomic_file.h"
#include "apps/utils/text.h"

namespace orvane::tool {
namespace {

using nlohmann::ordered_json;

MEMORYSTATUSEX MemoryStatus() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof(status);
    GlobalMemoryStatusEx(&status);
    return status;
}

// One more than there are processors, so that a frame is always ready. Not many, because each holds an image.
size_t WorkerCount(size_t jobs) {
    return std::min<size_t>(jobs, std::clamp(std::thread::hardware_concurrency() + 1, 3U, 8U));
}

// The image in the codec, the decoded image, and the input and output of the last pass.
uint64_t MemoryFor(const ImageReader& reader, int32_t passes) {
    const uint64_t bytes = uint64_t{reader.Width()} * reader.Height() * kBytesPerPixel;
    return bytes * (2 + (uint64_t{5} << (2 * (passes - 1))));
}

// Fails early instead of letting the machine swap to a standstill.
void RequireMemory(const ImageReader& reader, uint64_t bytes) {
    const auto gigabytes = [](uint64_t value) { return std::to_string((value >> 30) + 1) + " GB"; };
    if (const uint64_t there = MemoryStatus().ullAvailPageFile; bytes > there) {
        throw Failure("An image of " + SizeText({reader.Width(), reader.Height()}) + " needs about " +
                      gigabytes(bytes) + " of memory, and less than " + gigabytes(there) + " is free.");
    }
}

void MakeFolder(const ImageJob& job) {
    std::error_code error;
    const std::filesystem::path folder = job.output.path.parent_path();
    std::filesystem::create_directories(folder, error);
    if (!std::filesystem::is_directory(folder, error)) {
        throw Failure("The folder for " + Quoted(job.output.name) + " cannot be created.");
    }
}

}  // namespace

// Counts the frames of one image and reports them as progress.
class ImageBatch::Tally {
public:
    explicit Tally(Progress& progress) : m_progress(progress) {}

    void Add(double share, double milliseconds) {
        m_share += share;
        ++m_frames;
        m_milliseconds += milliseconds;
        m_progress.Advance(share, 1, milliseconds);
    }

    // The rest of an image that failed counts as done.
    void Close() { m_progress.Advance(std::max(0.0, 1 - m_share), 0, 0); }

    uint64_t Frames() const { return m_frames; }
    double Total() const { return m_milliseconds; }

private:
    Progress& m_progress;
    double m_share = 0;
    uint64_t m_frames = 0;
    double m_milliseconds = 0;
};

ImageBatch::ImageBatch(const std::vector<ImageJob>& jobs, const BatchOptions& options, FrameServer& server,
                       Progress& progress)
    : m_jobs(jobs),
      m_options(options),
      m_server(server),
      m_progress(progress),
      m_memory(MemoryStatus().ullTotalPhys / 4) {
}

BatchResult ImageBatch::Run() {
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::jthread> threads(WorkerCount(m_jobs.size()));
    m_workers = threads.size();
    for (std::jthread& thread : threads) {
        thread = std::jthread([this] { Work(); });
    }
    m_server.Run();
    threads.clear();  // waits for what is still being written
    const std::chrono::duration<double> all = std::chrono::steady_clock::now() - start;
    m_result.seconds = all.count() - m_server.OpenSeconds();
    return m_result;
}

void ImageBatch::Work() {
    {
        const ComScope com;
        for (size_t i = m_next++; i < m_jobs.size() && !m_server.IsStopping(); i = m_next++) {
            DoJob(m_jobs[i]);
        }
    }
    if (--m_workers == 0) {
        m_server.Finish();
    }
}

void ImageBatch::DoJob(const ImageJob& job) {
    Tally tally(m_progress);
    const auto fail = [&](const std::string& reason) {
        m_progress.Failed(job.input.name + ": " + reason,
                          {{"event", "failed"}, {"input", job.input.name}, {"reason", reason}});
        tally.Close();
        const std::lock_guard lock(m_mutex);
        ++m_result.failed;
    };
    try {
        const ImageReader reader(job.input.path);
        const uint64_t memory = MemoryFor(reader, m_options.passes);
        const MemoryBudget::Lease lease(m_memory, memory);
        RequireMemory(reader, memory);
        const Image image = UpscaleAll(
            reader.Read([&](const std::string& text) { m_progress.Warn(job.input.name + ": " + text); }), tally);
        Save(job, image);
        m_progress.Item("Wrote: " + job.output.name + " (" + SizeText({image.width, image.height}) + ", " +
                            Counted(tally.Frames(), "frame") + ", " + Formatted("%.1f ms)", tally.Total()),
                        {{"event", "done"},
                         {"input", job.input.name},
                         {"output", job.output.name},
                         {"width", image.width},
                         {"height", image.height},
                         {"frames", tally.Frames()},
                         {"milliseconds", tally.Total()}});
        const std::lock_guard lock(m_mutex);
        ++m_result.done;
        m_result.frames += tally.Frames();
        m_result.frameMilliseconds += tally.Total();
    } catch (const Stopped&) {
        // The run reports the reason.
    } catch (const std::bad_alloc&) {
        fail("There is not enough memory for an image of this size.");
    } catch (const std::exception& error) {
        fail(error.what());
    }
}

Image ImageBatch::UpscaleAll(Image image, Tally& tally) {
    // Every pass has four times the pixels of the one before.
    const double firstShare = 3 / (std::pow(4.0, m_options.passes) - 1);
    for (int32_t pass = 0; pass < m_options.passes; ++pass) {
        const double passShare = firstShare * std::pow(4.0, pass);
        image = UpscaleImage(std::move(image), m_server,
                             [&](double share, double milliseconds) { tally.Add(share * passShare, milliseconds); });
    }
    return image;
}

void ImageBatch::Save(const ImageJob& job, const Image& image) {
    MakeFolder(job);
    PendingFile file(job.output);
    WriteImage(file.Path(), image, {job.format, m_options.quality},
               [&](const std::string& text) { m_progress.Warn(job.output.name + ": " + text); });
    file.Commit();
}

}  // namespace orvane::tool
