// The log of the library.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <mutex>
#include <string>

namespace orvane::tool {

// Receives the library's log from construction to destruction. Keeps the error lines, which tell why a call failed.
class LibraryLog {
public:
    // `verbose`: every line is printed to standard error at once.
    explicit LibraryLog(bool verbose);
    ~LibraryLog();
    LibraryLog(const LibraryLog&) = delete;
    LibraryLog& operator=(const LibraryLog&) = delete;

    // Throws Failure with the sentence, followed by the error lines unless those are printed already.
    [[noreturn]] void Fail(const std::string& sentence);

private:
    static void Receive(void* userData, int32_t level, const char* format, va_list arguments);
    void Keep(int32_t level, const std::string& message);

    bool m_verbose;
    std::mutex m_mutex;
    std::string m_errors;  // one per line, indented
};

}  // namespace orvane::tool
