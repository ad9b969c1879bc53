// A host of the library, for tests of liborvane.dll.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "api/orvane.h"
#include "tests/support/log_capture.h"
#include "tests/support/reference_network.h"
#include "tests/support/temp_folder.h"

namespace orvane::test {

// Captures the log of liborvane.dll, which has its own log configuration.
class LibraryLog : public LogCapture {
public:
    explicit LibraryLog(int32_t level = ORVANE_LOG_ERROR);
    ~LibraryLog();

    // The messages since the last call, without their levels.
    std::vector<std::string> TakeTexts();
};

// Writes the network's model file, encrypted as the extension says.
std::filesystem::path WriteModel(const TempFolder& folder, const std::string& fileName,
                                 const ReferenceNetwork& network);

orvane_open_param OpenParam(uint32_t width, uint32_t height, const ReferenceNetwork& network,
                            const std::filesystem::path& model);

// An open instance, closed with this object.
class Instance {
public:
    explicit Instance(const orvane_open_param& param) : m_handle(orvane_open(&param)) {}
    ~Instance() { Close(); }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    orvane_handle Handle() const { return m_handle; }
    void Close();

private:
    orvane_handle m_handle;
};

// The frame of an image with rows that have no padding.
orvane_frame InputFrame(const Image& image);
orvane_frame OutputFrame(Image& image);

// Upscales one image. The result code is written to `result`.
Image Process(orvane_handle handle, const Image& image, int& result);

// Upscales one image and compares it with the CPU reference. The rows are `stride` bytes apart. Only padding may be
// written beyond them.
void ExpectUpscaled(orvane_handle handle, const ReferenceNetwork& network, const Image& image, size_t stride);
inline void ExpectUpscaled(orvane_handle handle, const ReferenceNetwork& network, const Image& image) {
    ExpectUpscaled(handle, network, image, size_t{image.width} * 8);
}

// Empty when the images are as close as the GPU's rounding allows: no byte differs by more than 2, and 99.9 % of them
// by at most 1. Otherwise says where they differ.
std::string Difference(const Image& actual, const Image& expected);

// The lines joined by " | ".
std::string Joined(const std::vector<std::string>& lines);

// Expects the text of a file in tests/transcripts. With ORVANE_WRITE_TRANSCRIPTS set the file is written first.
void ExpectTranscript(const std::string& fileName, const std::string& text);

}  // namespace orvane::test
