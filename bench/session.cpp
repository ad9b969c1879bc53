#include "bench/session.h"

#include <cstdio>

namespace orvane::bench {
namespace {

std::unique_ptr<WorkerProcess> Start(const char* program, Heaps heaps) {
    return std::make_unique<WorkerProcess>(program, L"VKD3D_CONFIG", heaps == Heaps::kVirtual ? L"virtual_heaps" : L"");
}

void WriteText(const std::filesystem::path& path, const std::string& text) {
    SaveBytes(path, std::vector<uint8_t>(text.begin(), text.end()));
}

}  // namespace

Session::Session(Options chosen) : options(std::move(chosen)) {
    std::filesystem::create_directories(options.folder / "models");
}

void Session::Add(Table table) {
    Say(table.Text());
    m_tables.push_back(std::move(table));
}

void Session::Say(const std::string& text) const {
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

std::filesystem::path Session::ModelFile(NetworkNumbers network) const {
    const std::string name = "model-" + std::to_string(network.channels) + "-" + std::to_string(network.depth) + ".bin";
    std::filesystem::path path = options.folder / "models" / name;
    if (!std::filesystem::exists(path)) {
        SaveBytes(path, MakeModel(network));
    }
    return path;
}

std::string Session::OpenCommand(FrameSize size, NetworkNumbers network) const {
    return "open " + std::to_string(size.width) + " " + std::to_string(size.height) + " " +
           std::to_string(network.channels) + " " + std::to_string(network.depth) + " " +
           std::filesystem::absolute(ModelFile(network)).string();
}

std::unique_ptr<WorkerProcess> Session::StartOurs(Heaps heaps) const {
    return Start("bench_ours", heaps);
}

std::unique_ptr<WorkerProcess> Session::StartParts() const {
    return Start("bench_parts", Heaps::kVirtual);
}

std::unique_ptr<WorkerProcess> Session::StartPeer() const {
    return Start("bench_peer", Heaps::kPlain);
}

void Session::Write(const std::vector<std::pair<std::string, std::string>>& facts) const {
    WriteText(options.folder / "results.json", MakeJson(facts, m_tables));
    if (!plot.empty()) {
        WriteText(options.folder / "frames.svg",
                  MakePlot("One frame", "pixels of the input picture", "milliseconds", plot));
    }
}

std::string SizeName(FrameSize size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

}  // namespace orvane::bench
