// Orvane for hosts in C++17: a thin wrapper around orvane.h, which documents the functions below it.
//
//     std::error_code error;
//     const orvane::Library library = orvane::Library::Load(error);           // or Library::Linked()
//     if (!error) error = library.CheckSupported();
//     if (!error) instance = library.Open({L"weights/default.en", 32, 2, 640, 360}, error);
//     if (!error) error = instance.Process({output, 1280 * 4}, {input, 640, 360, 640 * 4});
//
// A host that uses Library::Load also starts where the DLL is missing; error.message() then says so. A host that links
// the import library uses Library::Linked(), and Windows does not start it without the DLL.
//
// Functions report failures through std::error_code. Some have a second form without that argument, which throws
// std::system_error. Apart from that, only exhausted memory throws (std::bad_alloc).
//
// Threads and lost devices: as in orvane.h. A Library and its copies may be used from several threads, an Instance from
// one at a time.
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

// The library's result codes. They convert to std::error_code. Failures of Windows itself (a missing DLL, a path
// without an ANSI form) come as codes of std::system_category().
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
                return "a null argument, an invalid frame, or an instance that is not open";
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

// Receives formatted lines without a line end, on the thread that logs, possibly on several threads at once. It must
// not call Open, Process or Close, and must not throw.
using LogFunction = std::function<void(LogLevel, std::string_view)>;

// A model file with its two numbers, and the size of the input frames in pixels.
struct OpenOptions {
    std::filesystem::path model;
    int32_t channels = 0;  // 1..1024
    int32_t depth = 0;     // layers between the first and the last; depth + 2 is 1..16
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t pixelFormat = 0;  // the host's own tag, returned in Output::format
};

// An image to upscale: `height` rows of `width` pixels (R, G, B, A), `stride` bytes apart. Padding at the end of the
// rows is upscaled as part of the image, so `stride` is normally 4 x `width`. Only read.
struct Input {
    const void* data = nullptr;
    int32_t width = 0;
    int32_t height = 0;
    int32_t stride = 0;
    uint64_t userValue = 0;  // copied into the Output
};

// Where the result goes: twice as many rows of twice as many pixels as the input, `stride` bytes apart.
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

// The loaded DLL, kept as long as a Library or an Instance needs it.
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
    const bool isUtf8 = GetACP() == CP_UTF8;  // WideCharToMultiByte takes neither the flag nor isLossy then
    BOOL isLossy = FALSE;
    std::string narrow(path.size() * 4 + 1, '\0');
    const int size = WideCharToMultiByte(CP_ACP, isUtf8 ? 0 : WC_NO_BEST_FIT_CHARS, path.c_str(), -1, narrow.data(),
                                         static_cast<int>(narrow.size()), nullptr, isUtf8 ? nullptr : &isLossy);
    narrow.resize(size > 0 && !isLossy ? static_cast<size_t>(size) - 1 : 0);
    return narrow;
}

// The path as the library takes it, with the short name if there is no other way. Short names are in capitals, but the
// library recognises encrypted files by an extension in lower case, so the file's own extension is put back.
inline std::string NarrowModelPath(const std::filesystem::path& path) {
    std::string narrow = NarrowExactly(path.wstring());
    if (narrow.empty()) {
        std::wstring name(32768, L'\0');
        name.resize(GetShortPathNameW(path.c_str(), name.data(), static_cast<DWORD>(name.size())));
        std::filesystem::path shortened = name;
        const std::wstring extension = path.extension().wstring();
        if (CompareStringOrdinal(shortened.extension().c_str(), -1, extension.c_str(), -1, TRUE) == CSTR_EQUAL) {
            shortened.replace_extension(extension);
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

// An open instance. The destructor closes it. Empty by default and after a move.
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

    // Upscales one frame by 2x and blocks until the result is there. A frame of another size re-creates the instance,
    // which takes about as long as opening it. kInvalid refuses frames without data and frames that would close the
    // instance by mistake: a stride that is not a multiple of 4 or is shorter than a row, and less than one row. After
    // kFailed the instance is still open if the frame had the size of the one before. Otherwise it is closed: test it
    // with operator bool, and open again. For a lost device see orvane.h.
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
            // The instance may be closed already, and a later open may return the same handle, so drop it here.
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
    int32_t m_width = 0;  // the current frame size
    int32_t m_height = 0;
};

// The library. Copies share it. It is unloaded when the last copy and the last instance are gone.
class Library {
public:
    Library() = default;

    // Loads the DLL from the program's folder or the system's folder, or from an absolute path. DirectML and Direct3D
    // are loaded later, by the process's own search order; see SetDefaultDllDirectories in docs/integrating.md.
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

    // The library that the program is linked with. A function template, so that hosts that never call it need not link.
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

    // kUnsupported if the machine cannot run the library; `support` then says why. Takes a while.
    std::error_code CheckSupported(Support& support) const {
        return static_cast<Result>(m_module->Get().checkSupported(&support.result, &support.strength));
    }
    std::error_code CheckSupported() const {
        Support support;
        return CheckSupported(support);
    }

    // Passes lines up to `level` to `log`; an empty function turns logging off. The library has one log, so call this
    // before the first Open, and while no other call is running.
    void SetLog(LogFunction log, LogLevel level = LogLevel::kInfo) const { m_module->SetLog(std::move(log), level); }

    // Opens an instance. Blocks for tenths of a second to seconds. On failure the result is empty and `error` is set.
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
