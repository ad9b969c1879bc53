#include "bench/workers/row_copies.h"

#include <cstring>
#include <intrin.h>
#include <memory>
#include <numeric>

#include "engine/row_copy.h"

namespace orvane::bench {
namespace {

using Copy = void (*)(uint8_t* target, const uint8_t* source, size_t byteCount);

const std::map<std::string, Copy>& Ways() {
    static const std::map<std::string, Copy> ways{
        {"memcpy", [](uint8_t* target, const uint8_t* source, size_t size) { std::memcpy(target, source, size); }},
        {"movsb", [](uint8_t* target, const uint8_t* source, size_t size) { __movsb(target, source, size); }},
        {"stream", StreamBytes}};
    return ways;
}

struct Rows {
    std::vector<uint8_t> source;
    std::vector<uint8_t> target;
    volatile uint64_t sum = 0;  // of the bytes that were read

    void SetSize(size_t byteCount) {
        if (source.size() != byteCount) {
            source.assign(byteCount, 1);
            target.assign(byteCount, 0);
        }
    }

    void Run(Copy copy, bool isRead) {
        copy(target.data(), source.data(), source.size());
        if (isRead) {
            sum = std::accumulate(target.begin(), target.end(), uint64_t{0});
        }
    }
};

}  // namespace

std::map<std::string, Command> RowCopyCommands() {
    return {{"rows", [rows = std::make_shared<Rows>()](std::istream& arguments) {
                 std::string way;
                 size_t byteCount = 0;
                 bool isRead = false;
                 arguments >> way >> byteCount >> isRead;
                 const auto found = Ways().find(way);
                 Require(found != Ways().end(), "no such way: " + way);
                 rows->SetSize(byteCount);
                 return MeasureAll(arguments, [&] { rows->Run(found->second, isRead); });
             }}};
}

}  // namespace orvane::bench
