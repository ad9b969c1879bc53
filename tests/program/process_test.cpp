// Child processes, pipes and files. The children are this program itself with other arguments.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <random>
#include <span>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <windows.h>

#include "apps/utils/files/atomic_file.h"
#include "apps/utils/memory_budget.h"
#include "apps/utils/process/child_process.h"
#include "apps/utils/process/pipe.h"
#include "apps/utils/progress.h"
#include "apps/utils/utf8_arguments.h"
#include "tests/support/failure_of.h"
#include "tests/support/temp_folder.h"

namespace orvane::tool {
namespace {

namespace fs = std::filesystem;

std::filesystem::path g_self;

constexpr size_t kFloodBytes = size_t{3} << 20;

// The task of a child is its second argument. The first one is "child".
int RunAsChild(const std::vector<std::string>& arguments) {
    const std::string& task = arguments[1];
    if (task == "echo") {  // its arguments, each followed by a zero
        for (size_t i = 2; i < arguments.size(); ++i) {
            std::fwrite(arguments[i].c_str(), 1, arguments[i].size() + 1, stdout);
        }
        return 7;
    }
    if (task == "copy") {
        std::vector<char> bytes(1000);
        while (const size_t count = std::fread(bytes.data(), 1, bytes.size(), stdin)) {
            std::fwrite(bytes.data(), 1, count, stdout);
        }
        return 0;
    }
    if (task == "flood") {
        std::fputs((std::string(kFloodBytes, 'x') + "the end").c_str(), stderr);
        return 3;
    }
    Sleep(INFINITE);
    return 0;
}

std::vector<uint8_t> ReadAll(ByteSource& source) {
    std::vector<uint8_t> all;
    std::vector<uint8_t> part(70001);
    while (const size_t count = source.Read(part)) {
        all.insert(all.end(), part.begin(), part.begin() + static_cast<ptrdiff_t>(count));
    }
    return all;
}

TEST(ChildProcess, GetsItsArgumentsUnchanged) {
    const std::vector<std::string> nasty{"",           " ",      "a b",     "\"",       R"(a"b c")",   R"(\)",
                                         R"(c:\d e\)", R"(\\")", "%PATH%",  "^&|",      "-o=x y ",     "\t\n\x1",
                                         "ü模型",      "'",      R"(a\\b)", R"(\" \")", R"(/c "a" b\)"};
    std::vector<std::string> arguments{"child", "echo"};
    arguments.insert(arguments.end(), nasty.begin(), nasty.end());
    ChildProcess child(g_self, arguments, {.input = false, .output = true});
    const std::vector<uint8_t> said = ReadAll(child.Output());
    std::string expected;
    for (const std::string& argument : nasty) {
        expected += argument + '\0';
    }
    EXPECT_EQ(std::string(said.begin(), said.end()), expected);
    EXPECT_EQ(child.Wait(), 7);
    EXPECT_EQ(child.Messages(), "");
}

// More than a pipe holds, while another program runs. That must not have inherited the first one's pipes, or their end
// would never be seen.
TEST(ChildProcess, ReadsAndWritesUntilItsInputIsClosed) {
    ChildProcess copying(g_self, {"child", "copy"}, {.input = true, .output = true});
    ChildProcess sleeping(g_self, {"child", "sleep"}, {.input = true, .output = true});
    std::mt19937 random(1);
    std::vector<uint8_t> bytes(kFloodBytes);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<uint8_t>(random()); });
    const std::jthread writing([&] {
        EXPECT_TRUE(copying.Input().Write(bytes));
        copying.Input().Close();
    });
    EXPECT_EQ(ReadAll(copying.Output()), bytes);
    EXPECT_EQ(copying.Wait(), 0);

    sleeping.Kill();
    EXPECT_FALSE(sleeping.Input().Write(bytes));
    EXPECT_TRUE(ReadAll(sleeping.Output()).empty());
    const ChildProcess abandoned(g_self, {"child", "sleep"}, {});  // ends with this object
}

TEST(ChildProcess, IsNotBlockedByItsMessages) {
    ChildProcess child(g_self, {"child", "flood"}, {});
    EXPECT_EQ(child.Wait(), 3);
    const std::string said = child.Messages();
    EXPECT_TRUE(said.ends_with("xxxthe end")) << said.size();
    EXPECT_LE(said.size(), kFloodBytes / 2);
    EXPECT_NE(FailureOf([] { ChildProcess(L"C:\\none\\\u6A21.exe", {}, {}); }).find("none\\模.exe\" cannot be started"),
              std::string::npos);
}

TEST(Pipe, KeepsTheOrderAndReportsThatTheReaderHasGone) {
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    ASSERT_NE(CreatePipe(&read, &write, nullptr, 0), 0);
    PipeSource source(Handle(read), "source");
    PipeSink sink(Handle(write), "sink");
    std::vector<uint8_t> bytes(1'000'000);
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<uint8_t>(i * 2654435761U >> 24);
    }
    const std::jthread writing([&] {
        for (size_t at = 0, size = 1; at < bytes.size(); at += size, size = size * 3 % 99'991) {
            EXPECT_TRUE(sink.Write(std::span(bytes).subspan(at, std::min(size, bytes.size() - at))));
        }
        sink.Close();
    });
    std::vector<uint8_t> got;
    for (size_t size = 1; got.size() < bytes.size(); size = size * 7 % 200'003) {
        std::vector<uint8_t> piece(size);
        const size_t count = source.Read(piece);
        EXPECT_TRUE(count == size || got.size() + count == bytes.size());
        got.insert(got.end(), piece.begin(), piece.begin() + static_cast<ptrdiff_t>(count));
    }
    EXPECT_EQ(got, bytes);
    std::vector<uint8_t> more(10);
    EXPECT_EQ(source.Read(more), 0U);

    ASSERT_NE(CreatePipe(&read, &write, nullptr, 0), 0);
    CloseHandle(read);
    PipeSink nobody{Handle(write), "nobody"};
    EXPECT_FALSE(nobody.Write(bytes));
    PipeSink readOnly{
        Handle(CreateFileW(g_self.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr)),
        "The program"};
    EXPECT_NE(FailureOf([&] { readOnly.Write(bytes); }).find("The program cannot be written (code 5)"),
              std::string::npos);
}

TEST(WriteFileAtomically, LeavesAFileThatAnotherProgramHasOpen) {
    const TempFolder folder;
    const fs::path path = folder.Write("old.bin", {1, 2, 3});
    const std::vector<uint8_t> bytes{4, 5};
    {
        const Handle held(CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        EXPECT_NE(FailureOf([&] { WriteFileAtomically(path, bytes); }).find("another program has it open"),
                  std::string::npos);
    }
    EXPECT_EQ(ReadWholeFile(path), (std::vector<uint8_t>{1, 2, 3}));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path()), {}), 1);
    WriteFileAtomically(path, bytes);
    EXPECT_EQ(ReadWholeFile(path), bytes);
    EXPECT_NE(FailureOf([&] { WriteFileAtomically(folder.Path(), bytes); }).find("not a file"), std::string::npos);
    EXPECT_NE(FailureOf([&] { WriteFileAtomically(path / "below", bytes); }).find("There is no folder"),
              std::string::npos);
    EXPECT_NE(FailureOf([&] { ReadWholeFile(folder.Path()); }).find("is a folder"), std::string::npos);
}

TEST(MemoryBudget, IsExceededOnlyByASingleLease) {
    MemoryBudget budget(100);
    std::atomic<uint64_t> used = 0;
    std::atomic<int> alone = 0;
    std::vector<std::jthread> threads;
    threads.reserve(4);
    for (uint64_t i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (uint64_t turn = 0; turn < 200; ++turn) {
                const uint64_t bytes = (turn + i) % 10 == 0 ? 150 : 20 + 7 * i;
                const MemoryBudget::Lease lease(budget, bytes);
                const uint64_t all = used += bytes;
                EXPECT_TRUE(all <= 100 || all == bytes) << all;
                alone += bytes == 150 ? 1 : 0;
                std::this_thread::yield();
                used -= bytes;
            }
        });
    }
    threads.clear();
    EXPECT_EQ(alone, 80);
}

// The output when one image is done, one fails, and one has a name that is not valid Unicode.
std::string ToldBy(const ProgressOptions& options) {
    const TempFolder folder;
    const fs::path path = folder.Path() / "told";
    std::FILE* const file = _wfopen(path.c_str(), L"wb");
    {
        const std::unique_ptr<Progress> progress = MakeProgress(options, file);
        progress->Note("note");
        progress->Begin({"images", 3});
        progress->Advance(0.5, 1, 20);
        progress->Advance(0.5, 1, 40);
        progress->Item("line", {{"event", "done"}, {"input", "\xFF\xFE"}});
        progress->End();
    }
    std::fclose(file);
    const std::vector<uint8_t> bytes = ReadWholeFile(path);
    return {bytes.begin(), bytes.end()};
}

TEST(Progress, WritesLinesForPeopleAndObjectsForPrograms) {
    EXPECT_EQ(ToldBy({}), "note\nline\n");
    EXPECT_EQ(ToldBy({.quiet = true}), "");
    std::vector<std::string> events;
    std::istringstream lines(ToldBy({.json = true}));
    for (std::string line; std::getline(lines, line);) {
        const auto object = nlohmann::json::parse(line);
        events.push_back(object["event"]);
        if (events.back() == "progress") {  // at most one per second, so this is the first one
            EXPECT_EQ(object["unit"], "images");
            EXPECT_EQ(object["done"], 0);
            EXPECT_EQ(object["total"], 3);
            EXPECT_EQ(object["millisecondsPerFrame"], 20);
        }
    }
    EXPECT_EQ(events, (std::vector<std::string>{"note", "progress", "done"}));
}

}  // namespace
}  // namespace orvane::tool

int main(int argc, char** argv) {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    const std::vector<std::string> arguments = orvane::tool::Utf8Arguments(argc, argv);
    if (!arguments.empty() && arguments[0] == "child") {
        return orvane::tool::RunAsChild(arguments);
    }
    testing::InitGoogleTest(&argc, argv);
    orvane::tool::g_self = std::filesystem::absolute(argv[0]);
    return RUN_ALL_TESTS();
}
