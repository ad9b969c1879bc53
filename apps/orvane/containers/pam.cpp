#include "apps/orvane/containers/pam.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <span>
#include <string_view>

#include "apps/orvane/containers/frame_bytes.h"
#include "apps/utils/failure.h"

namespace orvane::tool {
namespace {

// Longer than any header that a program writes.
constexpr size_t kMaxHeaderBytes = 4096;

constexpr std::array<std::string_view, 5> kKeywords{"WIDTH", "HEIGHT", "DEPTH", "MAXVAL", "TUPLTYPE"};

[[noreturn]] void FailHeader(const std::string& reason) {
    throw Failure("The frame's PAM header is not valid: " + reason + ".");
}

// The next line without its end; nothing at the end of the source.
std::optional<std::string> ReadLine(ByteSource& source, size_t& bytesLeft) {
    std::string line;
    uint8_t byte = 0;
    while (source.Read(std::span(&byte, 1)) == 1) {
        if (bytesLeft-- == 0) {
            FailHeader("it does not end");
        }
        if (byte == '\n') {
            return line;
        }
        line += static_cast<char>(byte);
    }
    return line.empty() ? std::nullopt : std::optional(line);
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r";
    const size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

using Fields = std::map<std::string, std::string, std::less<>>;

// The lines up to ENDHDR, by their keywords.
Fields ReadFields(ByteSource& source) {
    Fields fields;
    size_t bytesLeft = kMaxHeaderBytes;
    while (const std::optional<std::string> line = ReadLine(source, bytesLeft)) {
        const std::string_view text = Trimmed(*line);
        if (text == "ENDHDR") {
            return fields;
        }
        if (text.empty() || text.front() == '#') {
            continue;
        }
        const std::string_view keyword = text.substr(0, text.find_first_of(" \t"));
        if (std::find(kKeywords.begin(), kKeywords.end(), keyword) == kKeywords.end()) {
            FailHeader("it has an unknown line");
        }
        if (!fields.emplace(keyword, Trimmed(text.substr(keyword.size()))).second) {
            FailHeader("it has two lines " + std::string(keyword));
        }
    }
    FailHeader("it ends before ENDHDR");
}

uint32_t NumberOf(const Fields& fields, std::string_view keyword) {
    const auto field = fields.find(keyword);
    if (field == fields.end()) {
        FailHeader("it has no line " + std::string(keyword));
    }
    uint32_t number = 0;
    const std::string& text = field->second;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        FailHeader(std::string(keyword) + " is \"" + text + "\"");
    }
    return number;
}

void RequireHandled(const Fields& fields, const PamHeader& header) {
    const std::string size = std::to_string(header.width) + " x " + std::to_string(header.height);
    if (!IsFrameSize(header.width, header.height)) {
        FailHeader("a frame cannot have " + size + " pixels");
    }
    const auto type = fields.find("TUPLTYPE");
    const bool isColour = header.channels == 3 && (type == fields.end() || type->second == "RGB");
    const bool hasAlpha = header.channels == 4 && (type == fields.end() || type->second == "RGB_ALPHA");
    if ((!isColour && !hasAlpha) || NumberOf(fields, "MAXVAL") != 255) {
        throw Failure("A PAM frame is neither RGB nor RGB_ALPHA with 8 bits per channel.");
    }
}

}  // namespace

std::optional<PamHeader> ReadPamHeader(ByteSource& source) {
    std::array<uint8_t, 3> magic{};
    const size_t count = source.Read(magic);
    if (count == 0) {
        return std::nullopt;
    }
    if (count < magic.size() || magic != std::array<uint8_t, 3>{'P', '7', '\n'}) {
        throw Failure("The input is not a PAM frame: it does not begin with P7.");
    }
    const Fields fields = ReadFields(source);
    const PamHeader header{NumberOf(fields, "WIDTH"), NumberOf(fields, "HEIGHT"), NumberOf(fields, "DEPTH")};
    RequireHandled(fields, header);
    return header;
}

std::string PamHeaderText(const PamHeader& header) {
    return "P7\nWIDTH " + std::to_string(header.width) + "\nHEIGHT " + std::to_string(header.height) + "\nDEPTH " +
           std::to_string(header.channels) + "\nMAXVAL 255\nTUPLTYPE " + (header.channels == 4 ? "RGB_ALPHA" : "RGB") +
           "\nENDHDR\n";
}

}  // namespace orvane::tool
