#include "bench/session.h"

#include <cstdio>
#include <sstream>

namespace orvane::bench {
namespace {

void WriteText(const std::filesystem::path& path, const std::string& text) {
    SaveBytes(path, std::vector<uint8_t>(text.begin(), text.end()));
}

}  // namespace

Session::Session(Options chosen) : options(std::move(chosen)) {
    std::filesystem::create_directories(options.folder / "models");
}

double Session::Patience(double milliseconds) const {
    constexpr double kFramesAreFast = 0.2;
    return options.isShort ? 0.0 : milliseconds * (options.isCard ? kFramesAreFast : 1.0);
}

void Session::Try(const std::string& what, const std::function<void()>& work) {
    std::string outcome = "done";
    try {
        work();
    } catch (const std::exception& failure) {
        outcome = failure.what();
        report.failures.push_back(what + ": " + outcome);
    }
    std::fprintf(stderr, "bench: %s: %s\n", what.c_str(), outcome.c_str());
    Write();
}

std::filesystem::path Session::ModelFile(NetworkNumbers network) const {
    const std::string name = "model-" + std::to_string(network.channels) + "-" + std::to_string(network.depth) + ".bin";
    std::filesystem::path path = options.folder / "models" / name;
    if (!std::filesystem::exists(path)) {
        SaveBytes(path, MakeModel(network));
    }
    return path;
}

std::string Session::Open(FrameSize size, NetworkNumbers network) const {
    std::ostringstream text;
    text << size.width << ' ' << size.height << ' ' << network.channels << ' ' << network.depth << ' '
         << std::filesystem::absolute(ModelFile(network)).string();
    return text.str();
}

std::unique_ptr<WorkerProcess> Session::Start(const char* program, Heaps heaps) const {
    // A worker that hangs must not take the results of the others along.
    const uint32_t secondsPerAnswer = options.isCard ? 60 : 3600;
    SetEnvironmentVariableW(L"VKD3D_CONFIG", heaps == Heaps::kVirtual ? L"virtual_heaps" : nullptr);
    return std::make_unique<WorkerProcess>(program, secondsPerAnswer);
}

std::unique_ptr<WorkerProcess> Session::StartPeer() const {
    if (!HasProgram("bench_peer")) {
        return nullptr;
    }
    return Start("bench_peer", Heaps::kPlain);
}

void Session::Write() const {
    WriteText(options.folder / "results.json", report.Json());
    std::string text;
    for (const Table& table : report.tables) {
        text += table.Text() + "\n";
    }
    WriteText(options.folder / "results.md", text);
    if (!plot.empty()) {
        WriteText(options.folder / "frames.svg",
                  MakePlot("One frame", "pixels of the input picture", "milliseconds", plot));
    }
}

std::string SizeName(FrameSize size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

}  // namespace orvane::bench
