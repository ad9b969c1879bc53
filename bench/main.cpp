// The benchmark: runs its sections, prints their tables and writes them with a plot into a folder.
#include <algorithm>
#include <array>
#include <cstdio>

#include <windows.h>

#include "api/orvane.h"
#include "apps/utils/failure.h"
#include "apps/utils/program.h"
#include "bench/session.h"

namespace orvane::bench {
namespace {

struct Section {
    const char* name;
    void (*run)(Session&);
};

constexpr std::array kSections{
    Section{"frames", CompareFrames},       Section{"parts", TakeFramesApart}, Section{"memory", CountMemoryAndCalls},
    Section{"operators", CompareOperators}, Section{"opening", TimeOpening},   Section{"growth", FitGrowth},
    Section{"models", TimeModelLoading},
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

void Say(const std::string& text) {
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

void Run(Session& session) {
    orvane_check_result adapter{};
    if (orvane_check_supported(&adapter, nullptr) != ORVANE_OK) {
        throw tool::Failure("This machine cannot run the library; its status is " + std::to_string(adapter.status) +
                            ".");
    }
    Report& report = session.report;
    report.facts = {{"adapter", adapter.adapterName}, {"processor", ProcessorName()}, {"Windows", adapter.osVersion}};
    for (const auto& fact : report.facts.items()) {
        Say(fact.key() + ": " + fact.value().get<std::string>());
    }
    Say(HasProgram("bench_peer") ? "" : "There is no bench_peer.exe: nothing to compare with.\n");
    const std::vector<std::string>& only = session.options.only;
    for (const Section& section : kSections) {
        if (only.empty() || std::find(only.begin(), only.end(), section.name) != only.end()) {
            const size_t before = report.tables.size();
            section.run(session);
            std::for_each(report.tables.begin() + static_cast<std::ptrdiff_t>(before), report.tables.end(),
                          [](const Table& table) { Say(table.Text()); });
        }
    }
    if (!report.failures.empty()) {
        throw tool::Failure(std::to_string(report.failures.size()) + " parts of the benchmark failed.");
    }
}

}  // namespace
}  // namespace orvane::bench

int main(int argc, char** argv) {
    orvane::bench::Options options;
    std::string folder = options.folder.string();
    CLI::App app("Measures the library, against ONNX Runtime where bench_peer.exe lies beside this program.");
    app.add_option("--out", folder, "Folder for results.json, results.md and frames.svg")->capture_default_str();
    app.add_flag("--short", options.isShort, "A little of everything, to see that it works");
    app.add_flag("--card", options.isCard, "Sizes for a graphics card");
    app.add_option("sections", options.only, "frames, parts, memory, operators, opening, growth, models; or all");
    app.callback([&] {
        options.folder = folder;
        orvane::bench::Session session(options);
        orvane::bench::Run(session);
    });
    return orvane::tool::RunProgram(app, argc, argv);
}
