#include "apps/orvane/commands/bench_command.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "apps/orvane/commands/model_options.h"
#include "apps/orvane/frames/library_log.h"
#include "apps/orvane/machine/benchmark.h"
#include "apps/orvane/machine/machine.h"
#include "apps/orvane/machine/machine_report.h"
#include "apps/utils/failure.h"
#include "apps/utils/text.h"

namespace orvane::tool {
namespace {

using nlohmann::ordered_json;

// A usual size that would take longer is left out, unless --size asks for it.
constexpr double kMaxSecondsUnasked = 60;
// The longest side whose upscaled side still fits into a Direct3D 12 texture.
constexpr uint32_t kMaxSide = 16384 / 2;
constexpr double kMiB = 1024.0 * 1024.0;
const std::vector<std::string> kUsualSizes{"320x180", "640x360", "1280x720", "1920x1080"};

struct Arguments {
    std::vector<std::string> sizes;
    ModelOptions model;
    TimeBox box;
    bool isJson = false;
};

void Note(const std::string& text) {
    std::fprintf(stderr, "%s\n", text.c_str());
}

void Print(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

std::string MemoryText(const MemoryUse& memory) {
    const std::string text = Formatted("%.0f MiB", static_cast<double>(memory.processBytes) / kMiB);
    return memory.graphicsBytes ? text + Formatted(" + %.0f MiB GPU", static_cast<double>(*memory.graphicsBytes) / kMiB)
                                : text;
}

std::string Row(const std::string& size, const Measurement& measured) {
    return Formatted("%-11s %8.2f %9.2f %9.2f %9.2f %7zu %9.1f %9.1f  %s", size.c_str(), measured.FramesPerSecond(),
                     measured.Quantile(0), measured.Quantile(0.5), measured.Quantile(0.95),
                     measured.milliseconds.size(), measured.openMilliseconds, measured.firstMilliseconds,
                     MemoryText(measured.memory).c_str());
}

ordered_json JsonOf(const Measurement& measured) {
    ordered_json object{{"width", measured.size.width},
                        {"height", measured.size.height},
                        {"framesPerSecond", measured.FramesPerSecond()},
                        {"frames", measured.milliseconds.size()},
                        {"minMilliseconds", measured.Quantile(0)},
                        {"medianMilliseconds", measured.Quantile(0.5)},
                        {"p95Milliseconds", measured.Quantile(0.95)},
                        {"openMilliseconds", measured.openMilliseconds},
                        {"firstFrameMilliseconds", measured.firstMilliseconds},
                        {"processBytes", measured.memory.processBytes}};
    if (measured.memory.graphicsBytes) {
        object["graphicsBytes"] = *measured.memory.graphicsBytes;
    }
    return object;
}

// The adapter that the library uses.
GraphicsAdapter RequireAdapter() {
    const Machine machine = ExamineMachine();
    if (!machine.isSupported) {
        throw Failure("This machine cannot run the library: " + SupportReason(machine.status) + ". " +
                      SupportAdvice(machine.status));
    }
    const auto used = std::find_if(machine.adapters.begin(), machine.adapters.end(),
                                   [](const GraphicsAdapter& adapter) { return adapter.isUsed; });
    return used != machine.adapters.end() ? *used : GraphicsAdapter{};
}

void PrintHead(const GraphicsAdapter& adapter, const ModelChoice& model) {
    Print(Formatted("%s; %d channels, depth %d. Times in milliseconds; fps from the median.", adapter.name.c_str(),
                    model.channels, model.depth));
    Print("input            fps       min    median    95 %    frames      open     first  memory");
}

class Bench {
public:
    explicit Bench(const Arguments& arguments)
        : m_arguments(arguments), m_adapter(RequireAdapter()), m_model(ChooseModel(arguments.model)) {}

    void Run() {
        const TimeBox& box = m_arguments.box;
        if (!m_model.note.empty()) {
            Note(m_model.note);
        }
        Note(Formatted("Each size is measured for at least %g s and %u frames.", box.seconds, box.minFrames));
        if (!m_arguments.isJson) {
            PrintHead(m_adapter, m_model);
        }
        for (const std::string& size : m_arguments.sizes.empty() ? kUsualSizes : m_arguments.sizes) {
            MeasureSize(size);
        }
        if (m_arguments.isJson) {
            PrintJson();
        }
        if (m_hasFailed) {
            throw Failure("Not every size could be measured.");
        }
    }

private:
    void MeasureSize(const std::string& text) {
        const Size size = SizeFromText(text).value_or(Size{});
        const double expected = m_last ? ExpectedSeconds(*m_last, size, m_arguments.box) : 0;
        if (m_arguments.sizes.empty() && expected > kMaxSecondsUnasked) {
            Note(Formatted("%s is skipped because it would take about %.0f s. --size %s measures it.", text.c_str(),
                           expected, text.c_str()));
            return;
        }
        Note("Measuring " + text + " ...");
        try {
            m_last = Measure(m_model, size, m_arguments.box, m_adapter.index, m_log);
        } catch (const Failure& failure) {
            m_hasFailed = true;
            m_results.push_back({{"width", size.width}, {"height", size.height}, {"error", failure.what()}});
            Note(failure.what());
            return;
        }
        m_results.push_back(JsonOf(*m_last));
        if (!m_arguments.isJson) {
            Print(Row(text, *m_last));
        }
    }

    void PrintJson() const {
        const ordered_json object{{"adapter", m_adapter.name},
                                  {"channels", m_model.channels},
                                  {"depth", m_model.depth},
                                  {"secondsPerSize", m_arguments.box.seconds},
                                  {"results", m_results}};
        Print(object.dump());
    }

    const Arguments& m_arguments;
    const GraphicsAdapter m_adapter;
    const ModelChoice m_model;
    LibraryLog m_log{false};
    ordered_json m_results = ordered_json::array();
    std::optional<Measurement> m_last;
    bool m_hasFailed = false;
};

std::string CheckSize(const std::string& text) {
    const std::optional<Size> size = SizeFromText(text);
    if (!size) {
        return Quoted(text) + " is not a size such as 640x360";
    }
    return size->width <= kMaxSide && size->height <= kMaxSide
               ? std::string()
               : Quoted(text) + " is too large: no side may be longer than 8192";
}

}  // namespace

void AddBenchCommand(CLI::App& app) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* const bench = app.add_subcommand("bench", "Measures how fast this machine upscales frames");
    bench->footer("Example: orvane bench --size 640x360 --size 1280x720 --seconds 10");
    bench->add_option("--size", arguments->sizes, "Size of the input frames; may be given several times")
        ->type_name("WxH")
        ->allow_extra_args(false)
        ->check(CheckSize);
    bench->add_option("--seconds", arguments->box.seconds, "Time to measure each size")
        ->capture_default_str()
        ->check(CLI::Range(0.1, 3600.0));
    AddModelOptions(*bench, arguments->model);
    bench->add_flag("--json", arguments->isJson, "Print one JSON object instead of text");
    bench->callback([arguments] {
        Note("Examining this machine ...");
        Bench(*arguments).Run();
    });
}

}  // namespace orvane::tool
