// Reading, processing and writing at the same time.
#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <optional>
#include <thread>
#include <utility>

#include "apps/utils/bounded_queue.h"

namespace orvane::tool {

template <typename Input, typename Output>
struct PipelineStages {
    std::function<std::optional<Input>()> read;  // the next item, or nothing at the end; on a thread of its own
    std::function<Output(Input)> process;        // on the caller's thread
    std::function<void(Output)> write;           // on a thread of its own
};

// Runs the stages until `read` has no more, in order and with at most `queueLength` items waiting before `process` and
// as many before `write`.
//
// When a stage throws, what passed it before goes all the way to `write`, the stages before it end with their item at
// hand, and then the exception is thrown here. Of several exceptions it is the one that struck the earliest item. A
// `read` or `write` that blocks for ever is waited for: it has to be woken up by whoever makes another stage fail.
template <typename Input, typename Output>
void RunPipeline(size_t queueLength, const PipelineStages<Input, Output>& stages) {
    BoundedQueue<Input> inputs(queueLength);
    BoundedQueue<Output> outputs(queueLength);
    std::exception_ptr readError;
    std::exception_ptr processError;
    std::exception_ptr writeError;
    const auto guarded = [](std::exception_ptr& error, const auto& loop) {
        try {
            loop();
        } catch (...) {
            error = std::current_exception();
        }
    };

    std::thread reader([&] {
        guarded(readError, [&] {
            std::optional<Input> item = stages.read();
            while (item.has_value() && inputs.Push(std::move(*item))) {
                item = stages.read();
            }
        });
        inputs.Close();
    });
    std::thread writer([&] {
        guarded(writeError, [&] {
            while (std::optional<Output> item = outputs.Pop()) {
                stages.write(std::move(*item));
            }
        });
        outputs.Abandon();
    });
    guarded(processError, [&] {
        std::optional<Input> item = inputs.Pop();
        while (item.has_value() && outputs.Push(stages.process(std::move(*item)))) {
            item = inputs.Pop();
        }
    });
    inputs.Abandon();
    outputs.Close();
    reader.join();
    writer.join();
    for (const std::exception_ptr& error : {writeError, processError, readError}) {
        if (error != nullptr) {
            std::rethrow_exception(error);
        }
    }
}

}  // namespace orvane::tool
