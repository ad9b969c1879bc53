// Stands in for ffmpeg.exe and ffprobe.exe under Wine, which cannot pipe to a program of Linux. It passes its name, its
// folder, its arguments and its standard streams to ffmpeg_relay.py at the port ORVANE_RELAY_PORT.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

// clang-format off
#include <winsock2.h>
#include <windows.h>
#include <shellapi.h>
// clang-format on

#include "apps/utils/windows_text.h"

namespace {

using orvane::tool::Utf8FromWide;

bool SendAll(SOCKET server, const char* bytes, int count) {
    while (count > 0) {
        const int sent = send(server, bytes, count, 0);
        if (sent <= 0) {
            return false;
        }
        bytes += sent;
        count -= sent;
    }
    return true;
}

// The length of a block goes before it. An empty one is the end.
bool SendBlock(SOCKET server, const char* bytes, uint32_t count) {
    return SendAll(server, reinterpret_cast<const char*>(&count), sizeof(count)) &&
           SendAll(server, bytes, static_cast<int>(count));
}

bool Receive(SOCKET server, void* bytes, uint32_t count) {
    char* next = static_cast<char*>(bytes);
    while (count > 0) {
        const int received = recv(server, next, static_cast<int>(count), 0);
        if (received <= 0) {
            return false;
        }
        next += received;
        count -= static_cast<uint32_t>(received);
    }
    return true;
}

// The program's name without extension, the current folder and the arguments, each with a zero behind it.
std::string Request() {
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    std::string request = std::filesystem::path(arguments[0]).stem().string() + '\0' +
                          Utf8FromWide(std::filesystem::current_path().wstring()) + '\0';
    for (int i = 1; i < count; ++i) {
        request += Utf8FromWide(arguments[i]) + '\0';
    }
    return request;
}

void PassInput(SOCKET server) {
    std::vector<char> bytes(1 << 16);
    DWORD count = 0;
    while (ReadFile(GetStdHandle(STD_INPUT_HANDLE), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) &&
           count > 0 && SendBlock(server, bytes.data(), count)) {
    }
    SendBlock(server, nullptr, 0);
}

struct Answer {
    uint32_t stream = 0;  // 1 standard output, 2 standard error, 0 the end
    uint32_t value = 0;   // the bytes that follow, or the exit code
};

}  // namespace

int main() {
    const char* const port = std::getenv("ORVANE_RELAY_PORT");
    WSADATA data{};
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(std::strtoul(port == nullptr ? "0" : port, nullptr, 10)));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    WSAStartup(MAKEWORD(2, 2), &data);
    const SOCKET server = socket(AF_INET, SOCK_STREAM, 0);
    const std::string request = Request();
    if (connect(server, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        !SendBlock(server, request.data(), static_cast<uint32_t>(request.size()))) {
        return 97;
    }
    std::thread(PassInput, server).detach();
    std::vector<char> bytes;
    Answer answer;
    while (Receive(server, &answer, sizeof(answer)) && answer.stream != 0) {
        bytes.resize(answer.value);
        DWORD written = 0;
        const HANDLE output = GetStdHandle(answer.stream == 1 ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
        if (!Receive(server, bytes.data(), answer.value) ||
            WriteFile(output, bytes.data(), answer.value, &written, nullptr) == 0) {
            ExitProcess(98);
        }
    }
    ExitProcess(answer.value);  // does not wait for the input
}
