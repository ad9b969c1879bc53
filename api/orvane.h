/*
 * Orvane: upscales video frames by 2x with a small convolutional network on the GPU.
 *
 * This is the only header that a host needs. It compiles as C99 and as C++, for 64-bit Windows.
 *
 *     orvane_init -> orvane_check_supported -> orvane_open -> orvane_process ... -> orvane_close
 *
 * A host that has to start without the library loads it with LoadLibrary and finds the functions with GetProcAddress.
 * Their names are undecorated. Their types are at the end of this header.
 *
 * Threads: every function may be called from any thread, with these limits.
 *   - Call orvane_init before anything else. It writes the log configuration without a lock.
 *   - Frames of all instances run one at a time. A second orvane_process waits for the first.
 *   - Neither orvane_open nor the COM count below is locked. Do not run an open beside another open or a close.
 *   - Run one orvane_check_supported at a time.
 *   - Never call the library from DllMain. It loads DLLs, and an open starts a thread and waits for it. Both would wait
 *     for ever there.
 *
 * COM: the first orvane_open of a series initialises COM on its thread as multithreaded. The call that closes the last
 * instance uninitialises COM on its own thread. That is orvane_close, or an orvane_process that could not change the
 * frame size. So open and close on the same thread, and choose a worker thread for it:
 *   - OleInitialize fails on a thread that the first open made multithreaded. Drag and drop, the clipboard and some
 *     dialogs need it, so do not use a UI thread that has not called OleInitialize yet.
 *   - A thread in single-threaded mode stays in it, and the open succeeds. The close of the last instance calls
 *     CoUninitialize there all the same. Such a thread, and one that closes what another thread opened, has to
 *     initialise COM once more before the first open.
 *
 * Device: Direct3D 12 has one device per adapter in a process. All instances share it with each other and with a host
 * that renders on the same adapter. Two things follow:
 *   - When the device is lost, it is lost for all of them. No new one can be created while anybody still holds the old
 *     one. Close every instance, let the host release its own Direct3D 12 device, and only then open again. A host that
 *     renders has to close every instance before it can create its own device again.
 *   - ID3D12Debug::EnableDebugLayer removes a device that exists. Call it before the first open, or not at all.
 *
 * Errors: bad arguments never raise an exception. A function returns one of the result codes below, or a null handle,
 * and logs the reason through the callback of orvane_init. A failed call releases what it made and can be retried. Only
 * exhausted host memory and a failed upload of the weights end a call with a C++ exception; see orvane_open and
 * orvane_process.
 *
 * Frame sizes: larger frames than these are refused, because not all drivers handle them correctly and Direct3D has no
 * call that reports it.
 *   - Each side has at most 8192 pixels: the output then has 16384, D3D12_REQ_TEXTURE2D_U_OR_V_DIMENSION.
 *   - A frame has at most 2^27 / 12 pixels (11.1 megapixels). Shaders read the last tensor, which has 12 elements per
 *     pixel, and 2^27 elements are what Direct3D 12 guarantees (D3D12_REQ_BUFFER_RESOURCE_TEXEL_COUNT_2_TO_EXP is 27).
 *   - On adapters of NVIDIA, AMD, Intel and Microsoft the bound is 2^29 / 12 pixels (44.7 megapixels). Direct3D 12 has
 *     no constant for this value. It rests on those vendors' drivers alone and has not been tested.
 * A model of one layer has modelChannels in place of 12, but at least 3. A frame that is too large fails the open, or
 * closes the instance. So does a frame for which the adapter has too little memory.
 *
 * Strings are in the process's narrow (ANSI) encoding unless stated otherwise.
 */
#ifndef ORVANE_H
#define ORVANE_H

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

/*
 * The version of this header; orvane_get_version returns that of the loaded library. A new major version may change or
 * remove what is declared here. A new minor version only adds to it, so that compiled hosts keep working. A new patch
 * version changes no declaration.
 */
#define ORVANE_VERSION_MAJOR 1
#define ORVANE_VERSION_MINOR 0
#define ORVANE_VERSION_PATCH 0

#if defined(_WIN32) && defined(ORVANE_BUILDING)
#define ORVANE_API __declspec(dllexport)
#elif defined(_WIN32)
#define ORVANE_API __declspec(dllimport)
#else
#define ORVANE_API
#endif

#if defined(__cplusplus)
#define ORVANE_STATIC_ASSERT(name, condition) static_assert(condition, #name)
#else
#define ORVANE_STATIC_ASSERT(name, condition) typedef char orvane_assert_##name[(condition) ? 1 : -1]
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Result codes of every function that returns an int. */
enum orvane_result {
    ORVANE_OK = 0,                 /* success */
    ORVANE_ERROR_FAILED = -1,      /* the operation was attempted and failed; the log says where */
    ORVANE_ERROR_INVALID = -2,     /* a null argument, an unknown or closed handle, or an instance that is not ready */
    ORVANE_ERROR_UNSUPPORTED = -7, /* this machine cannot run the library (orvane_check_supported only) */
};

/* Log levels, most severe first. The library itself logs at ORVANE_LOG_ERROR and ORVANE_LOG_INFO only. */
enum orvane_log_level {
    ORVANE_LOG_ERROR = 0,
    ORVANE_LOG_WARNING = 1,
    ORVANE_LOG_INFO = 2,
    ORVANE_LOG_DEBUG = 3,
};

/* Why orvane_check_supported refused the machine: values of orvane_check_result.status. */
enum orvane_check_status {
    ORVANE_CHECK_NO_DXGI = 1,           /* dxgi.dll cannot be loaded */
    ORVANE_CHECK_NO_D3D12 = 2,          /* d3d12.dll cannot be loaded */
    ORVANE_CHECK_NO_DIRECTML = 3,       /* DirectML.dll cannot be loaded */
    ORVANE_CHECK_NO_DXGI_ENTRY = 4,     /* dxgi.dll has no CreateDXGIFactory2 */
    ORVANE_CHECK_NO_D3D12_ENTRY = 5,    /* d3d12.dll has no D3D12CreateDevice */
    ORVANE_CHECK_NO_DIRECTML_ENTRY = 6, /* DirectML.dll has no DMLCreateDevice */
    ORVANE_CHECK_NO_FACTORY = 7,        /* CreateDXGIFactory2 failed */
    ORVANE_CHECK_NO_ADAPTER = 8,        /* no graphics adapter was found */
    ORVANE_CHECK_NO_DEVICE = 9,         /* the best adapter gives no Direct3D 12 device of feature level 11_0 */
    ORVANE_CHECK_WINDOWS_TOO_OLD = 12,  /* Windows is older than 10.0 build 18362 */
};

/* How strong the best adapter is, judged by its name: values of orvane_check_class.performanceClass.
 * The numbers are not in order of strength. */
enum orvane_performance_class {
    ORVANE_PERFORMANCE_UNKNOWN = 0,      /* unrecognised or too weak */
    ORVANE_PERFORMANCE_TOP = 3,          /* for example RTX 30 series and later, RX 7900 */
    ORVANE_PERFORMANCE_UPPER_MIDDLE = 4, /* for example GTX 16 and RTX 20 series, RX 6800, Intel Arc */
    ORVANE_PERFORMANCE_INTEL_IRIS = 5,
    ORVANE_PERFORMANCE_INTEL_UHD = 6,
};

/* An open instance. Opaque, and never null. It is valid until orvane_close, or until an orvane_process on it returns
 * ORVANE_ERROR_FAILED because it could not change the frame size. A closed handle is recognised and refused, unless a
 * later orvane_open returns the same value again. So call orvane_close on a handle that may be closed before the next
 * orvane_open. That does no harm. */
typedef struct orvane_instance* orvane_handle;

/*
 * Receives log messages. The message is not formatted yet: use vprintf(format, arguments) or vsnprintf.
 * It has no line end. Floating-point, %llu and %ls conversions occur.
 *
 *   userData   the pointer that was passed to orvane_init
 *   level      an orvane_log_level
 *   format     a printf format, valid during the call
 *   arguments  the values for format, valid during the call
 *
 * Called on the thread that logs, possibly on several threads at once, and also while orvane_process or orvane_close
 * holds the library's lock. It must not call orvane_open, orvane_process or orvane_close.
 */
typedef void (*orvane_log_callback)(void* userData, int32_t level, const char* format, va_list arguments);

/* What orvane_init installs. 24 bytes. Filled by the host, copied by the library. */
typedef struct orvane_init_param {
    int32_t level;                /* highest level that is passed on; -1 passes nothing */
    orvane_log_callback callback; /* may be null, which silences all logging */
    void* userData;               /* passed to the callback unchanged; may be null */
} orvane_init_param;

/* What an instance is opened with. 1060 bytes, no padding. Filled by the host; the library keeps a copy. */
typedef struct orvane_open_param {
    uint32_t inputWidth;   /* width of the input frames in pixels: stride / 4 of the frames to come */
    uint32_t inputHeight;  /* height of the input frames in pixels */
    uint32_t outputWidth;  /* logged only; the output is always twice the input width */
    uint32_t outputHeight; /* logged only; the output is always twice the input height */
    uint32_t pixelFormat;  /* the host's own tag, not interpreted, copied into every output frame's format */
    uint32_t reserved0;    /* not read */
    int32_t modelChannels; /* feature channels of the network, 1..1024 */
    int32_t modelDepth;    /* the network has modelDepth + 2 convolution layers; that sum is 1..16 */
    uint32_t reserved1;    /* not read */
    char modelPath[1024];  /* NUL-terminated path of the model file, in the process's ANSI encoding. A file with
                              the extension "en" is encrypted once, "en2" twice, any other file is plain; the
                              comparison is case-sensitive. For a path that the ANSI code page cannot express,
                              pass the short name (GetShortPathNameW) with the extension in lower case again.
                              Or give the host a manifest that makes UTF-8 its code page (activeCodePage,
                              Windows 10 version 1903 and later) and pass UTF-8. */
} orvane_open_param;

/*
 * One frame. 48 bytes. Pixels are 4 bytes each, R, G, B, A in memory, rows from top to bottom.
 *
 * The host fills width, height, stride, data and userValue of the input frame, and stride and data of the output frame.
 * The library writes userValue and format of the output frame.
 */
typedef struct orvane_frame {
    uint64_t userValue;   /* the host's own, for example a time stamp; copied from input to output */
    int32_t width;        /* pixels; logged only, the width that counts is stride / 4 */
    int32_t height;       /* rows, 1 or more; used of the input frame only */
    uint32_t format;      /* written on the output frame: the pixelFormat of the instance */
    int32_t stride;       /* bytes from one row to the next.
                             Input: the frame is stride / 4 pixels wide, rounded down, and its rows are read that
                             many pixels apart. So strides of 2560 and 2561 mean the same width of 640, and padding at
                             the end of a row is upscaled as part of the image. A new width or height re-creates the
                             instance; if that fails, it CLOSES THE INSTANCE. A stride below 4 and a height below 1
                             always fail. Negative strides are not supported and close the instance; flip bottom-up
                             images first.
                             Output: 0 or more; a negative stride fails the frame. Below 4 x the output width each
                             row is truncated. Padding of a row may be overwritten up to the next multiple of 256
                             above 4 x the output width, and no further. The copy is fastest when the stride is 8 x
                             the input width and that width is a multiple of 32. */
    uint8_t reserved[16]; /* not read or written */
    void* data;           /* first byte of the first row. Input: height x stride bytes, only read. Output: twice the
                             input height in rows of stride bytes, written. */
} orvane_frame;

/* What orvane_check_supported found. 172 bytes. The library writes it as far as the check gets. */
typedef struct orvane_check_result {
    uint32_t supported;    /* 1 if the machine can run the library, else 0 */
    uint32_t status;       /* an orvane_check_status if it cannot; unchanged on success */
    uint32_t adapterCount; /* graphics adapters that were examined, 0..4, software adapters included */
    char osVersion[32];    /* Windows version, "major.minor.build" */
    char adapterName[128]; /* name of the best adapter in the locale's encoding; empty if it cannot be converted */
} orvane_check_result;

/* How strong the machine is. 8 bytes. Written by the library. */
typedef struct orvane_check_class {
    uint32_t performanceClass; /* an orvane_performance_class; unchanged when no adapter was found */
    uint32_t libraryConstant;  /* always 4 */
} orvane_check_class;

ORVANE_STATIC_ASSERT(init_param_size, sizeof(orvane_init_param) == 24);
ORVANE_STATIC_ASSERT(init_param_level, offsetof(orvane_init_param, level) == 0);
ORVANE_STATIC_ASSERT(init_param_callback, offsetof(orvane_init_param, callback) == 8);
ORVANE_STATIC_ASSERT(init_param_userData, offsetof(orvane_init_param, userData) == 16);

ORVANE_STATIC_ASSERT(open_param_size, sizeof(orvane_open_param) == 1060);
ORVANE_STATIC_ASSERT(open_param_inputWidth, offsetof(orvane_open_param, inputWidth) == 0);
ORVANE_STATIC_ASSERT(open_param_inputHeight, offsetof(orvane_open_param, inputHeight) == 4);
ORVANE_STATIC_ASSERT(open_param_outputWidth, offsetof(orvane_open_param, outputWidth) == 8);
ORVANE_STATIC_ASSERT(open_param_outputHeight, offsetof(orvane_open_param, outputHeight) == 12);
ORVANE_STATIC_ASSERT(open_param_pixelFormat, offsetof(orvane_open_param, pixelFormat) == 16);
ORVANE_STATIC_ASSERT(open_param_reserved0, offsetof(orvane_open_param, reserved0) == 20);
ORVANE_STATIC_ASSERT(open_param_modelChannels, offsetof(orvane_open_param, modelChannels) == 24);
ORVANE_STATIC_ASSERT(open_param_modelDepth, offsetof(orvane_open_param, modelDepth) == 28);
ORVANE_STATIC_ASSERT(open_param_reserved1, offsetof(orvane_open_param, reserved1) == 32);
ORVANE_STATIC_ASSERT(open_param_modelPath, offsetof(orvane_open_param, modelPath) == 36);

ORVANE_STATIC_ASSERT(frame_size, sizeof(orvane_frame) == 48);
ORVANE_STATIC_ASSERT(frame_userValue, offsetof(orvane_frame, userValue) == 0);
ORVANE_STATIC_ASSERT(frame_width, offsetof(orvane_frame, width) == 8);
ORVANE_STATIC_ASSERT(frame_height, offsetof(orvane_frame, height) == 12);
ORVANE_STATIC_ASSERT(frame_format, offsetof(orvane_frame, format) == 16);
ORVANE_STATIC_ASSERT(frame_stride, offsetof(orvane_frame, stride) == 20);
ORVANE_STATIC_ASSERT(frame_reserved, offsetof(orvane_frame, reserved) == 24);
ORVANE_STATIC_ASSERT(frame_data, offsetof(orvane_frame, data) == 40);

ORVANE_STATIC_ASSERT(check_result_size, sizeof(orvane_check_result) == 172);
ORVANE_STATIC_ASSERT(check_result_supported, offsetof(orvane_check_result, supported) == 0);
ORVANE_STATIC_ASSERT(check_result_status, offsetof(orvane_check_result, status) == 4);
ORVANE_STATIC_ASSERT(check_result_adapterCount, offsetof(orvane_check_result, adapterCount) == 8);
ORVANE_STATIC_ASSERT(check_result_osVersion, offsetof(orvane_check_result, osVersion) == 12);
ORVANE_STATIC_ASSERT(check_result_adapterName, offsetof(orvane_check_result, adapterName) == 44);

ORVANE_STATIC_ASSERT(check_class_size, sizeof(orvane_check_class) == 8);
ORVANE_STATIC_ASSERT(check_class_performanceClass, offsetof(orvane_check_class, performanceClass) == 0);
ORVANE_STATIC_ASSERT(check_class_libraryConstant, offsetof(orvane_check_class, libraryConstant) == 4);

/* The library's version, "1.0.0". The text is constant and lives as long as the library is loaded. */
ORVANE_API const char* orvane_get_version(void);

/*
 * Tells whether this machine can run the library, and if not, why. Needs no instance, and releases everything that it
 * loads and creates. It loads the graphics libraries and creates a test device, so it takes a while.
 *
 *   result  written as far as the check gets
 *   cls     may be null; libraryConstant is written on every call
 *
 * Returns ORVANE_OK, ORVANE_ERROR_UNSUPPORTED with the reason in result->status, or ORVANE_ERROR_INVALID if result is
 * null (cls then stays unchanged).
 *
 * ORVANE_OK does not promise that an open succeeds: the check does not ask DirectML whether it computes in half
 * precision (FP16), which every open requires.
 */
ORVANE_API int orvane_check_supported(orvane_check_result* result, orvane_check_class* cls);

/*
 * Sets up logging. Nothing is logged before this call. A record is installed as it is. With null, everything up to
 * ORVANE_LOG_DEBUG is printed to standard output, one line "[Orvane LEVEL] message" each. That is the standard output
 * of the library's own C runtime (msvcrt.dll): it does not know the host's buffers, nor what the host redirected with
 * freopen. May be called again. Always returns ORVANE_OK.
 */
ORVANE_API int orvane_init(const orvane_init_param* param);

/* Does nothing. Open instances stay open and the log configuration stays. Always returns ORVANE_OK. */
ORVANE_API int orvane_uninit(void* ignored);

/*
 * Opens an instance for one frame size and one model file: creates the device on the best adapter, reads the model and
 * compiles the network. Blocks while it does so, typically for tenths of a second to seconds. May overlap with frames
 * of other instances.
 *
 *   param  read during the call only
 *
 * Returns a handle, which the host releases with orvane_close, or null on any failure. A failed open releases what it
 * made and can be retried. Two things stay until the process ends: Direct3D 12 and DirectML remain loaded, and each
 * upload of the weights leaves one event handle open.
 *
 * When host memory is exhausted, or when the weights cannot be uploaded to the GPU, the open ends with a C++ exception
 * instead. It still releases what it made. Do not rely on catching it: that takes a host that was built with the
 * library's own compiler, and Visual C++ with its usual options (/EHsc) assumes that a C function never throws. In any
 * other host the exception ends the process.
 */
ORVANE_API orvane_handle orvane_open(const orvane_open_param* param);

/*
 * Upscales one frame by 2x. Blocks until the result is in output->data. Note the order: output before input.
 *
 * When input->stride / 4 or input->height differ from the current frame size, the instance is first re-created for the
 * new size. That takes about as long as an orvane_open and uploads the weights again.
 *
 *   output  stride and data are used, userValue and format are written
 *   input   only read
 *
 * Returns
 *   ORVANE_OK             output->data holds 2 x height rows of 2 x (stride / 4) pixels with alpha 255
 *   ORVANE_ERROR_FAILED   the frame failed, and output->data must not be used. If the frame had the size of the one
 *                         before, the instance is open, and the next frame may succeed. If it had another size, the
 *                         instance may be closed; the log then ends with "Failed to re-initialize sample". After a
 *                         lost device every frame fails; see "Device" above for the way back. Calling orvane_close
 *                         before the next orvane_open is right in every case.
 *   ORVANE_ERROR_INVALID  a null argument or data pointer, an unknown or closed handle, or an instance that is not
 *                         ready
 *
 * Ends with the C++ exceptions of orvane_open: exhausted memory at any frame, a failed upload at a change of size. The
 * instance stays open then; see docs/errors.md.
 */
ORVANE_API int orvane_process(orvane_handle handle, orvane_frame* output, const orvane_frame* input);

/*
 * Closes an instance and releases everything that it holds. Waits for a frame in progress on any instance. Close every
 * instance before you unload the library: one that is still open then is not released before the process ends.
 * Uninitialises COM on the calling thread if it was the last instance; see "COM" above.
 *
 * Returns ORVANE_OK, also for an unknown or closed handle, or ORVANE_ERROR_INVALID for a null handle.
 */
ORVANE_API int orvane_close(orvane_handle handle);

/* The performance counter in microseconds (not milliseconds, in spite of the name). The value wraps when the counter
 * exceeds 2^63 / 10^6 ticks, which is after about ten days at the usual 10 MHz. */
ORVANE_API int64_t orvane_getickcount(void);

/* Types of the functions, for hosts that find them with GetProcAddress. */
typedef const char* (*orvane_get_version_fn)(void);
typedef int (*orvane_check_supported_fn)(orvane_check_result* result, orvane_check_class* cls);
typedef int (*orvane_init_fn)(const orvane_init_param* param);
typedef int (*orvane_uninit_fn)(void* ignored);
typedef orvane_handle (*orvane_open_fn)(const orvane_open_param* param);
typedef int (*orvane_process_fn)(orvane_handle handle, orvane_frame* output, const orvane_frame* input);
typedef int (*orvane_close_fn)(orvane_handle handle);
typedef int64_t (*orvane_getickcount_fn)(void);

#ifdef __cplusplus
}
#endif

#endif /* ORVANE_H */
