// Worker: the library's parts by themselves, and its way with model files.
#include <memory>

#include "bench/workers/engine_frame.h"
#include "bench/workers/model_files.h"
#include "bench/workers/row_copies.h"
#include "bench/workers/worker.h"

int main() {
    using namespace orvane::bench;
    std::vector<std::unique_ptr<EngineFrame>> frames;
    std::map<std::string, Command> commands{
        {"open",
         [&](std::istream& arguments) {
             Numbers times;
             frames.push_back(std::make_unique<EngineFrame>(ReadOpenArguments(arguments), std::nullopt, times));
             return times;
         }},
        // Operators that are compiled in another way. Answers with their number.
        {"variant",
         [&](std::istream& arguments) {
             int layout = 0;
             int flags = 0;
             OperatorVariant variant;
             arguments >> layout >> flags >> variant.changes.isOwned >> variant.changes.isClip;
             variant.layout = static_cast<orvane::TensorLayout>(layout);
             variant.flags = static_cast<DML_EXECUTION_FLAGS>(flags);
             Numbers times;
             frames.push_back(std::make_unique<EngineFrame>(ReadOpenArguments(arguments), variant, times));
             return Numbers{static_cast<double>(frames.size() - 1)};
         }},
        {"whole", [&](std::istream& arguments) { return MeasureAll(arguments, [&] { frames.at(0)->RunWhole(); }); }},
        {"apart", [&](std::istream&) { return frames.at(0)->RunApart(); }},
        {"convolutions",
         [&](std::istream& arguments) {
             size_t number = 0;
             arguments >> number;
             return MeasureAll(arguments, [&] { frames.at(number)->RunConvolutions(); });
         }},
    };
    commands.merge(ModelFileCommands());
    commands.merge(RowCopyCommands());
    return RunWorker(std::move(commands));
}
