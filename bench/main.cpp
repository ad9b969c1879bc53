// The benchmark: runs its sections, prints their tables and writes them with a plot into a folder.
#include <array>
#include <functional>

#include <windows.h>

#include "api/orvane.h"
#include "apps/utils/failure.h"
#include "apps/utils/program.h"
#include "bench/session.h"
#include "bench/worker.h"

namespace orvane::bench {
namespace {

struct Section {
    const char* name;
    void (*run)(Session&);
};

constexpr std::array kSections{
    Section{"frames", CompareFrames}, Section{"parts", TakeFramesApart},   Section{"operators", CompareOperators},
    Section{"opening", TimeOpening},  Section{"models", TimeModelLoading}, Section{"memory", CountMemoryAndCalls},
    Section{"growth", FitGrowth},
};

std::string ProcessorName() {
    std::array<char, 256> name{};
    DWORD size = name.size() - 1;
    RegGetValueA(HKEY_LOCAL_MACHINE, R"(HARDWARE\DESCRIPTION\System\CentralProcessor\0)", "ProcessorNameString",
                 RRF_RT_REG_SZ, nullptr, name.data(), &size);
    SYSTEM_INFO info{};
    GetSystemInfo(&info);
    return std::to_string(info.dwNumberOfProcessors) + " x " + name.data();
}

// From NVIDIA's data sheets: dense half precision on the tensor cores, and memory.
void FillPeaks(const std::string& adapter, Options& options) {
    struct Card {
        const char* name;
        double teraflops;
        double gigabytes;
    };
    constexpr std::array kCards{Card{"H100 PCIe", 756.0, 2000.0}, Card{"H100", 989.0, 3350.0},
                                Card{"H200", 989.0, 4800.0}};
    for (const Card& card : kCards) {
        if (options.peakTeraflops == 0.0 && adapter.find(card.name) != std::string::npos) {
            options.peakTeraflops = card.teraflops;
            options.peakGigabytes = card.gigabytes;
        }
    }
}

void Run(Session& session) {
    orvane_check_result adapter{};
    if (orvane_check_supported(&adapter, nullptr) != ORVANE_OK) {
        throw tool::Failure("This machine cannot run the library; its status is " + std::to_string(adapter.status) +
                            ".");
    }
    FillPeaks(adapter.adapterName, session.options);
    const std::vector<std::pair<std::string, std::string>> facts{
        {"adapter", adapter.adapterName}, {"processor", ProcessorName()}, {"Windows", adapter.osVersion}};
    for (const auto& [name, value] : facts) {
        session.Say(std::string(name).append(": ").append(value));
    }
    session.Say(Session::HasPeer() ? "" : "There is no bench_peer.exe: nothing to compare with.\n");
    const std::vector<std::string>& only = session.options.only;
    for (const Section& section : kSections) {
        if (only.empty() || std::find(only.begin(), only.end(), section.name) != only.end()) {
            section.run(session);
            session.Write(facts);
        }
    }
}

}  // namespace
}  // namespace orvane::bench

int main(int argc, char** argv) {
    orvane::bench::Options options;
    std::string folder = options.folder.string();
    CLI::App app("Measures the library, against ONNX Runtime where bench_peer.exe lies beside this program.");
    app.add_option("--out", folder, "Folder for results.json and frames.svg")->capture_default_str();
    app.add_flag("--short", options.isShort, "A little of everything, to see that it works");
    app.add_flag("--card", options.isCard, "Sizes for a graphics card");
    app.add_option("--peak-tflops", options.peakTeraflops, "The card's half-precision arithmetic, 10^12 operations/s");
    app.add_option("--peak-gbps", options.peakGigabytes, "The card's memory, 10^9 bytes/s");
    app.add_option("sections", options.only, "frames, parts, operators, opening, models, memory, growth; or all");
    app.callback([&] {
        options.folder = folder;
        orvane::bench::Session session(options);
        orvane::bench::Run(session);
    });
    return orvane::tool::RunProgram(app, argc, argv);
}
