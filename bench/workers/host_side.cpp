#include "bench/workers/host_side.h"

namespace orvane::bench {

int HostSide::Run(std::map<std::string, Command> more) {
    more["open"] = [this](std::istream& arguments) {
        const OpenArguments open = ReadOpenArguments(arguments);
        SetSize(open.size);
        Prepare(open);
        return Numbers{Measure([this] { Open(); })};
    };
    more["frames"] = [this](std::istream& arguments) { return MeasureAll(arguments, [this] { ProcessOne(); }); };
    more["save"] = [this](std::istream& arguments) {
        SaveBytes(ReadPath(arguments), m_output);
        return Numbers{};
    };
    more["close"] = [this](std::istream&) { return Numbers{Measure([this] { Close(); })}; };
    return RunWorker(std::move(more));
}

void HostSide::SetSize(FrameSize size) {
    m_input = MakeImage(size);
    m_output.assign(m_input.size() * kScale * kScale, 0);
}

}  // namespace orvane::bench
