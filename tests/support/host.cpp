#include "tests/support/host.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>

#include "apps/models/encrypt.h"
#include "model/keys.h"
#include "model/model_stream.h"

namespace orvane::test {

LibraryLog::LibraryLog(int32_t level) {
    const orvane_init_param param{level, &Receive, static_cast<LogCapture*>(this)};
    orvane_init(&param);
}

LibraryLog::~LibraryLog() {
    const orvane_init_param silence{-1, nullptr, nullptr};
    orvane_init(&silence);
}

std::vector<std::string> LibraryLog::TakeTexts() {
    std::vector<std::string> texts;
    for (const auto& [level, text] : Take()) {
        texts.push_back(text);
    }
    return texts;
}

std::filesystem::path WriteModel(const TempFolder& folder, const std::string& fileName,
                                 const ReferenceNetwork& network) {
    std::mt19937 random(1);
    std::vector<uint8_t> content = ModelFile(network);
    const std::string extension = GetFileExtension(fileName);
    if (extension == "en" || extension == "en2") {
        content = tool::EncryptContainer(content, kFileKey, random);
    }
    if (extension == "en2") {
        content = tool::EncryptContainer(content, kOuterKey, random);
    }
    return folder.Write(fileName, content);
}

orvane_open_param OpenParam(uint32_t width, uint32_t height, const ReferenceNetwork& network,
                            const std::filesystem::path& model) {
    orvane_open_param param{};
    param.inputWidth = width;
    param.inputHeight = height;
    param.outputWidth = 2 * width;
    param.outputHeight = 2 * height;
    param.pixelFormat = 0xC0FFEE;
    param.modelChannels = network.channels;
    param.modelDepth = network.depth;
    std::strncpy(param.modelPath, model.string().c_str(), sizeof(param.modelPath) - 1);
    return param;
}

void Instance::Close() {
    if (m_handle != nullptr) {
        orvane_close(m_handle);
        m_handle = nullptr;
    }
}

orvane_frame InputFrame(const Image& image) {
    orvane_frame frame{};
    frame.width = static_cast<int32_t>(image.width);
    frame.height = static_cast<int32_t>(image.height);
    frame.stride = frame.width * 4;
    frame.data = const_cast<uint8_t*>(image.pixels.data());  // NOLINT: the library only reads input frames
    return frame;
}

orvane_frame OutputFrame(Image& image) {
    orvane_frame frame = InputFrame(image);
    frame.data = image.pixels.data();
    return frame;
}

Image Process(orvane_handle handle, const Image& image, int& result) {
    Image upscaled(image.width * 2, image.height * 2);
    const orvane_frame input = InputFrame(image);
    orvane_frame output = OutputFrame(upscaled);
    result = orvane_process(handle, &output, &input);
    return upscaled;
}

void ExpectUpscaled(orvane_handle handle, const ReferenceNetwork& network, const Image& image, size_t stride) {
    SCOPED_TRACE(testing::Message() << image.width << " x " << image.height << ", " << network.channels
                                    << " channels, depth " << network.depth << ", stride " << stride);
    constexpr uint8_t kUntouched = 0xA5;
    const Image expected = UpscaleImage(network, image);
    const size_t rowBytes = size_t{expected.width} * 4;
    const size_t pitch = (rowBytes + 255) / 256 * 256;
    std::vector<uint8_t> rows(stride * (expected.height + 1) + 1, kUntouched);
    orvane_frame input = InputFrame(image);
    input.width = 1;  // the stride is used instead
    orvane_frame output = InputFrame(expected);
    output.stride = static_cast<int32_t>(stride);
    output.data = rows.data();
    ASSERT_EQ(orvane_process(handle, &output, &input), ORVANE_OK);

    Image seen = expected;
    for (size_t y = 0; y <= expected.height; ++y) {
        const uint8_t* const row = rows.data() + y * stride;
        const size_t written = y < expected.height ? std::min(pitch, stride) : 0;
        EXPECT_EQ(std::count(row + written, row + stride, kUntouched), stride - written) << "row " << y;
        std::copy_n(row, std::min(rowBytes, written), seen.pixels.data() + y * rowBytes);
    }
    EXPECT_EQ(rows.back(), kUntouched);
    EXPECT_EQ(Difference(seen, expected), "");
}

std::string Difference(const Image& actual, const Image& expected) {
    if (actual.width != expected.width || actual.height != expected.height) {
        return "the sizes differ";
    }
    int largest = 0;
    size_t largestAt = 0;
    size_t aboveOne = 0;
    for (size_t i = 0; i < expected.pixels.size(); ++i) {
        const int difference = std::abs(int{actual.pixels[i]} - int{expected.pixels[i]});
        aboveOne += difference > 1 ? 1 : 0;
        if (difference > largest) {
            largest = difference;
            largestAt = i;
        }
    }
    if (largest <= 2 && aboveOne * 1000 <= expected.pixels.size()) {
        return {};
    }
    const size_t pixel = largestAt / 4;
    return "largest difference " + std::to_string(largest) + " at x " + std::to_string(pixel % expected.width) +
           ", y " + std::to_string(pixel / expected.width) + ", channel " + std::to_string(largestAt % 4) +
           "; more than 1 in " + std::to_string(aboveOne) + " of " + std::to_string(expected.pixels.size()) + " bytes";
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += (&line == lines.data() ? "" : " | ") + line;
    }
    return text;
}

void ExpectTranscript(const std::string& fileName, const std::string& text) {
    const std::filesystem::path path = std::filesystem::path(ORVANE_TRANSCRIPTS) / fileName;
    if (std::getenv("ORVANE_WRITE_TRANSCRIPTS") != nullptr) {
        std::ofstream(path, std::ios::binary) << text;
    }
    std::ifstream file(path);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), text) << path;
}

}  // namespace orvane::test
