// Worker: the library's parts by themselves.
#include <memory>

#include "bench/engine_frame.h"
#include "bench/operator_experiment.h"
#include "bench/worker.h"

int main() {
    using namespace orvane::bench;
    std::unique_ptr<EngineFrame> frame;
    std::unique_ptr<OperatorExperiment> experiment;
    return RunWorker({
        {"open",
         [&](std::istream& arguments) {
             const OpenArguments open = ReadOpenArguments(arguments);
             frame.reset();
             frame = std::make_unique<EngineFrame>(open.size, open.network, open.modelPath);
             return Numbers{};
         }},
        {"whole", [&](std::istream& arguments) { return MeasureAll(arguments, [&] { frame->RunWhole(); }); }},
        {"convolutions",
         [&](std::istream& arguments) { return MeasureAll(arguments, [&] { frame->RunConvolutions(); }); }},
        {"apart", [&](std::istream&) { return frame->RunApart(); }},
        // Answers with a 1 for each variant that DirectML accepts.
        {"compile",
         [&](std::istream& arguments) {
             const OpenArguments open = ReadOpenArguments(arguments);
             experiment = std::make_unique<OperatorExperiment>(open.size, open.network, open.modelPath);
             return experiment->Accepted();
         }},
        // The variant's number, then how often.
        {"variant",
         [&](std::istream& arguments) {
             size_t variant = 0;
             arguments >> variant;
             return MeasureAll(arguments, [&] { experiment->Run(variant); });
         }},
    });
}
