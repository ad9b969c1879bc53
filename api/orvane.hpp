// Orvane for hosts in C++17: one header around orvane.h, which documents what lies beneath.
//
//     std::error_code error;
//     const orvane::Library library = orvane::Library::Load(error);           // or Library::Linked()
//     if (!error) error = library.CheckSupported();
//     if (!error) instance = library.Open({L"weights/default.en", 32, 2, 640, 360}, error);
//     if (!error) error = instance.Process({output, 1280 * 4}, {input, 640, 360, 640 * 4});
//
// A host that loads the library this way starts without it, and error.message() says that it is missing. One that links
// the import library uses Library::Linked() and is not started by Windows where the DLL is missing.
//
// Nothing here throws unless asked to: functions report through std::error_code, and those that have a twin without
// that argument throw std::system_error there. Only exhausted memory ends in std::bad_alloc.
//
// Threads: as in orvane.h. A Library and its copies may be used from several threads, an Instance by one at a time.
#ifndef ORVANE_HPP
#define ORVANE_HPP

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include "orvane.h"

namespace orvane {

// The library's result codes. They convert to std::error_code; failures of Windows itself (a DLL that is not there, a
// path that has no ANSI form) come as codes of std::system_category().
enum class Result : int {
    kOk = ORVANE_OK,
    kFailed = ORVANE_ERROR_FAILED,
    kInvalid = ORVANE_ERROR_INVALID,
    kUnsupported = ORVANE_ERROR_UNSUPPORTED,
};

class ResultCategory final : public std::error_category {
public:
    const char* name() const noexcept override { return "orvane"; }
    std::string message(int value) const override {
        switch (static_cast<Result>(value)) {
            case Result::kOk:
                return "success";
            case Result::kFailed:
                return "the operation failed; the library's log says where";
            case Result::kInvalid:
                return "a null argument, a frame that cannot be, or an instance that is not open";
            case Result::kUnsupported:
                return "this machine cannot run the library";
        }
        return "unknown result";
    }
};

inline const std::error_category& GetResultCategory() {
    static const ResultCategory category;
    return category;
}

inline std::error_code make_error_code(Result result) {  // the name that std::error_code looks for
    return {static_cast<int>(result), GetResultCategory()};
}

}  // namespace orvane

namespace std {
template <>
struct is_error_code_enum<orvane::Result> : true_type {};
}  // namespace std

namespace orvane {

enum class LogLevel : int32_t {
    kError = ORVANE_LOG_ERROR,
    kWarning = ORVANE_LOG_WARNING,
    kInfo = ORVANE_LOG_INFO,
    kDebug = ORVANE_LOG_DEBUG,
};

// Receives formatted lines without a line end. On whichever thread they arise, possibly on several at once; it must not
// call Open, Process or Close, and must not throw.
using LogFunction = std::function<void(LogLevel, std::string_view)>;

// A model file with the two numbers that belong to it, and the size of the frames to come in pixels.
struct OpenOptions {
    std::filesystem::path model;
    int32_t channels = 0;  // 1..1024
    int32_t depth = 0;     // layers between the first and the last; depth + 2 is 1..16
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t pixelFormat = 0;  // the host's own tag, handed back in Output::format
};

// A picture to double: `height` rows of `width` pixels (R, G, B, A), `stride` bytes apart. The library takes a padding
// at the end of the rows for picture, so `stride` is 4 x `width` unless that is wanted. Only read.
struct Input {
    const void* data = nullptr;
    int32_t width = 0;
    int32_t height = 0;
    int32_t stride = 0;
    uint64_t userValue = 0;  // copied into the Output
};

// Where the doubled picture goes: 2 x height rows of 2 x stride / 4 pixels, `stride` bytes apart.
struct Output {
    void* data = nullptr;
    int32_t stride = 0;
    uint64_t userValue = 0;  // written
    uint32_t format = 0;     // written: OpenOptions::pixelFormat
};

// What the support check found; see orvane.h.
struct Support {
    orvane_check_result result{};
    orvane_check_class strength{};
};

namespace detail {

struct Functions {
    orvane_get_version_fn getVersion = nullptr;
    orvane_check_supported_fn checkSupported = nullptr;
    orvane_init_fn init = nullptr;
    orvane_open_fn open = nullptr;
    orvane_process_fn process = nullptr;
    orvane_close_fn close = nullptr;
};

// The loaded DLL, kept for as long as a Library or an Instance needs it.
class Module {
public:
    Module(HMODULE handle, const Functions& functions) : m_handle(handle), m_functions(functions) {}
    ~Module() {
        if (m_log) {
            SetLog(nullptr, LogLevel::kError);
        }
        if (m_handle != nullptr) {
            FreeLibrary(m_handle);
        }
    }
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    const Functions& Get() const { return m_functions; }

    void SetLog(LogFunction log, LogLevel level) {
        const orvane_init_param silence{-1, nullptr, nullptr};
        m_functions.init(&silence);
        m_log = std::move(log);
        if (m_log) {
            const orvane_init_param param{static_cast<int32_t>(level), &Receive, this};
            m_functions.init(&param);
        }
    }

private:
    static void Receive(void* userData, int32_t level, const char* format, va_list arguments) {
        va_list copy;
        va_copy(copy, arguments);
        const int length = std::vsnprintf(nullptr, 0, format, copy);
        va_end(copy);
        std::string text(static_cast<size_t>(std::max(length, 0)), '\0');
        std::vsnprintf(text.data(), text.size() + 1, format, arguments);
        static_cast<Module*>(userData)->m_log(static_cast<LogLevel>(level), text);
    }

    HMODULE m_handle;
    Functions m_functions;
    LogFunction m_log;
};

inline std::error_code LastError() {
    return {static_cast<int>(GetLastError()), std::system_category()};
}

// The path in the process's ANSI encoding; empty when it has none.
inline std::string NarrowExactly(const std::wstring& path) {
    const bool isUtf8 = GetACP() == CP_UTF8;  // which takes neither the flag nor the question
    BOOL isLossy = FALSE;
    std::string narrow(path.size() * 4 + 1, '\0');
    const int size = WideCharToMultiByte(CP_ACP, isUtf8 ? 0 : WC_NO_BEST_FIT_CHARS, path.c_str(), -1, narrow.data(),
                                         static_cast<int>(narrow.size()), nullptr, isUtf8 ? nullptr : &isLossy);
    narrow.resize(size > 0 && !isLossy ? static_cast<size_t>(size) - 1 : 0);
    return narrow;
}

// As the library wants it, by the file's short name where it must be. Short names are in capitals, but the library
// tells enciphered files by an ending in lower case: that is put back.
inline std::string NarrowModelPath(const std::filesystem::path& path) {
    std::string narrow = NarrowExactly(path.wstring());
    if (narrow.empty()) {
        std::wstring name(32768, L'\0');
        name.resize(GetShortPathNameW(path.c_str(), name.data(), static_cast<DWORD>(name.size())));
        std::filesystem::path shortened = name;
        const std::wstring ending = path.extension().wstring();
        if (CompareStringOrdinal(shortened.extension().c_str(), -1, ending.c_str(), -1, TRUE) == CSTR_EQUAL) {
            shortened.replace_extension(ending);
        }
        narrow = NarrowExactly(shortened.wstring());
    }
    return narrow;
}

#if defined(__cpp_exceptions) || defined(_CPPUNWIND)
inline void ThrowIf(const std::error_code& error, const char* what) {
    if (error) {
        throw std::system_error(error, what);
    }
}
#endif

}  // namespace detail

// An open instance, closed with this object. Empty by default and after a move.
class Instance {
public:
    Instance() = default;
    ~Instance() { Close(); }
    Instance(Instance&& other) noexcept { *this = std::move(other); }
    Instance& operator=(Instance&& other) noexcept {
        if (this != &other) {
            Close();
            m_module = std::move(other.m_module);
            m_handle = std::exchange(other.m_handle, nullptr);
            m_width = other.m_width;
            m_height = other.m_height;
        }
        return *this;
    }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    explicit operator bool() const { return m_handle != nullptr; }

    // Doubles one frame; blocks until it is there. A frame of another size sets the instance up anew, which takes about
    // as long as opening it. Frames that would close it by mistake (a stride that is not a multiple of 4 or shorter
    // than a row, no rows) and frames without data are refused with kInvalid. After kFailed the instance is still open
    // if the frame had the size of the one before; otherwise it is closed: test it, and open again.
    std::error_code Process(Output& output, const Input& input) {
        if (m_handle == nullptr || input.data == nullptr || output.data == nullptr || input.width < 1 ||
            input.height < 1 || input.stride % 4 != 0 || input.stride / 4 < input.width) {
            return Result::kInvalid;
        }
        orvane_frame from{};
        from.userValue = input.userValue;
        from.width = input.width;
        from.height = input.height;
        from.stride = input.stride;
        from.data = const_cast<void*>(input.data);  // only read
        orvane_frame to{};
        to.stride = output.stride;
        to.data = output.data;
        const auto result = static_cast<Result>(m_module->Get().process(m_handle, &to, &from));
        if (result == Result::kOk) {
            m_width = input.stride / 4;
            m_height = input.height;
            output.userValue = to.userValue;
            output.format = to.format;
        } else if (input.stride / 4 != m_width || input.height != m_height) {
            // The handle may be dead, and another instance may be given its value: it must not be used again.
            Close();
        }
        return result;
    }
    std::error_code Process(Output&& output, const Input& input) { return Process(output, input); }

    void Close() {
        if (m_handle != nullptr) {
            m_module->Get().close(m_handle);
            m_handle = nullptr;
        }
        m_module.reset();
    }

private:
    friend class Library;

    std::shared_ptr<detail::Module> m_module;
    orvane_handle m_handle = nullptr;
    int32_t m_width = 0;  // what the instance is set up for
    int32_t m_height = 0;
};

// The library. Copies share it; it is unloaded with the last of them and the last instance.
class Library {
public:
    Library() = default;

    // Loads the DLL from the program's folder or the system's, or from the given absolute path.
    static Library Load(std::error_code& error, const std::filesystem::path& path = L"liborvane.dll") {
        const DWORD flags = path.is_absolute() ? LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS
                                               : LOAD_LIBRARY_SEARCH_APPLICATION_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32;
        error.clear();
        const HMODULE handle = LoadLibraryExW(path.c_str(), nullptr, flags);
        if (handle == nullptr) {
            error = detail::LastError();
            return {};
        }
        detail::Functions functions;
        const bool isWhole =
            Find(handle, "orvane_get_version", functions.getVersion) &&
            Find(handle, "orvane_check_supported", functions.checkSupported) &&
            Find(handle, "orvane_init", functions.init) && Find(handle, "orvane_open", functions.open) &&
            Find(handle, "orvane_process", functions.process) && Find(handle, "orvane_close", functions.close);
        if (!isWhole) {
            error = detail::LastError();
            FreeLibrary(handle);
            return {};
        }
        Library library;
        library.m_module = std::make_shared<detail::Module>(handle, functions);
        return library;
    }

    // The library that the program was linked with. A function template, so that hosts that never call it need not
    // link.
    template <typename = void>
    static Library Linked() {
        const detail::Functions functions{&orvane_get_version, &orvane_check_supported, &orvane_init,
                                          &orvane_open,        &orvane_process,         &orvane_close};
        Library library;
        library.m_module = std::make_shared<detail::Module>(nullptr, functions);
        return library;
    }

    explicit operator bool() const { return m_module != nullptr; }

    const char* Version() const { return m_module->Get().getVersion(); }

    // kUnsupported when the machine cannot run the library; `support` then says why. Takes a while.
    std::error_code CheckSupported(Support& support) const {
        return static_cast<Result>(m_module->Get().checkSupported(&support.result, &support.strength));
    }
    std::error_code CheckSupported() const {
        Support support;
        return CheckSupported(support);
    }

    // Hands lines up to `level` to `log`; an empty function silences it. Before the first Open, and not beside anything
    // else: the library has one log.
    void SetLog(LogFunction log, LogLevel level = LogLevel::kInfo) const { m_module->SetLog(std::move(log), level); }

    // Opens an instance; blocks for tenths of a second to seconds. Empty with `error` set when that fails.
    Instance Open(const OpenOptions& options, std::error_code& error) const {
        Instance instance;
        orvane_open_param param{};
        const std::string path = detail::NarrowModelPath(options.model);
        if (path.empty() || path.size() >= sizeof(param.modelPath)) {
            const int code = path.empty() ? ERROR_NO_UNICODE_TRANSLATION : ERROR_FILENAME_EXCED_RANGE;
            error.assign(code, std::system_category());
            return instance;
        }
        std::copy(path.begin(), path.end(), param.modelPath);
        param.inputWidth = options.width;
        param.inputHeight = options.height;
        param.outputWidth = 2 * options.width;
        param.outputHeight = 2 * options.height;
        param.pixelFormat = options.pixelFormat;
        param.modelChannels = options.channels;
        param.modelDepth = options.depth;
        instance.m_handle = m_module->Get().open(&param);
        error = instance.m_handle != nullptr ? Result::kOk : Result::kFailed;
        if (instance) {
            instance.m_module = m_module;
            instance.m_width = static_cast<int32_t>(options.width);
            instance.m_height = static_cast<int32_t>(options.height);
        }
        return instance;
    }

#if defined(__cpp_exceptions) || defined(_CPPUNWIND)
    static Library Load(const std::filesystem::path& path = L"liborvane.dll") {
        std::error_code error;
        Library library = Load(error, path);
        detail::ThrowIf(error, "liborvane.dll cannot be loaded");
        return library;
    }
    Instance Open(const OpenOptions& options) const {
        std::error_code error;
        Instance instance = Open(options, error);
        detail::ThrowIf(error, "the network cannot be prepared");
        return instance;
    }
#endif

private:
    template <typename Function>
    static bool Find(HMODULE module, const char* name, Function& function) {
        const FARPROC found = GetProcAddress(module, name);
        function = reinterpret_cast<Function>(reinterpret_cast<void*>(found));
        return found != nullptr;
    }

    std::shared_ptr<detail::Module> m_module;
};

}  // namespace orvane

#endif  // ORVANE_HPP
