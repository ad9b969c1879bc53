/* A host in one file of C99. It loads liborvane.dll at run time, checks the machine, opens a model, upscales a
 * generated image by 2x and writes the result as a PPM file.
 *
 * Build it in the unpacked package with MinGW or Visual C++. The program needs liborvane.dll in its own folder:
 *
 *     x86_64-w64-mingw32-gcc -std=c99 -Iinclude examples/c/upscale.c -o bin/upscale.exe
 *     cl /I include examples\c\upscale.c /Fe:bin\upscale.exe
 *     bin\upscale.exe bin\weights\default.en 32 2 upscaled.ppm */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <windows.h>

#include "orvane.h"

enum { kWidth = 64, kHeight = 36 };

static struct {
    orvane_init_fn init;
    orvane_check_supported_fn check_supported;
    orvane_open_fn open;
    orvane_process_fn process;
    orvane_close_fn close;
} orvane;

/* Finds an exported function, or ends the program. The union avoids a cast between function types, which compilers warn
 * about. */
static void* find(HMODULE library, const char* name) {
    union {
        FARPROC function;
        void* address;
    } found;
    found.function = GetProcAddress(library, name);
    if (found.address == NULL) {
        fprintf(stderr, "liborvane.dll has no %s\n", name);
        exit(1);
    }
    return found.address;
}

static void load(void) {
    /* The program's folder and the system folder only, so that this DLL never comes from the current folder. The
     * library loads Direct3D and DirectML later by the process's own search order; see SetDefaultDllDirectories. */
    const HMODULE library =
        LoadLibraryExA("liborvane.dll", NULL, LOAD_LIBRARY_SEARCH_APPLICATION_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (library == NULL) {
        fprintf(stderr, "liborvane.dll cannot be loaded, error %lu\n", (unsigned long)GetLastError());
        exit(1);
    }
    *(void**)&orvane.init = find(library, "orvane_init");
    *(void**)&orvane.check_supported = find(library, "orvane_check_supported");
    *(void**)&orvane.open = find(library, "orvane_open");
    *(void**)&orvane.process = find(library, "orvane_process");
    *(void**)&orvane.close = find(library, "orvane_close");
}

static void log_errors(void* user_data, int32_t level, const char* format, va_list arguments) {
    (void)user_data;
    (void)level;
    vfprintf(stderr, format, arguments);
    fputc('\n', stderr);
}

/* Red grows from left to right and green from top to bottom. Blue draws rings around the centre. */
static void draw(uint8_t pixels[kHeight][kWidth][4]) {
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const int dx = x - kWidth / 2;
            const int dy = y - kHeight / 2;
            pixels[y][x][0] = (uint8_t)(x * 255 / kWidth);
            pixels[y][x][1] = (uint8_t)(y * 255 / kHeight);
            pixels[y][x][2] = (uint8_t)((dx * dx + dy * dy) / 64 % 2 * 255);
            pixels[y][x][3] = 255;
        }
    }
}

static int write_ppm(const char* path, const uint8_t* pixels, int width, int height) {
    FILE* const file = fopen(path, "wb");
    if (file == NULL) {
        return 0;
    }
    fprintf(file, "P6 %d %d 255\n", width, height);
    for (int i = 0; i < width * height; ++i) {
        fwrite(&pixels[i * 4], 1, 3, file);
    }
    const int is_complete = !ferror(file);
    return fclose(file) == 0 && is_complete;
}

int main(int argc, char** argv) {
    static uint8_t input_pixels[kHeight][kWidth][4];
    static uint8_t output_pixels[2 * kHeight][2 * kWidth][4];
    const orvane_init_param log = {ORVANE_LOG_ERROR, log_errors, NULL};
    orvane_check_result support = {0};
    orvane_open_param param = {.inputWidth = kWidth, .inputHeight = kHeight};
    const orvane_frame input = {.width = kWidth, .height = kHeight, .stride = kWidth * 4, .data = input_pixels};
    orvane_frame output = {.stride = 2 * kWidth * 4, .data = output_pixels};
    if (argc != 5 || strlen(argv[1]) >= sizeof(param.modelPath)) {
        fprintf(stderr, "usage: upscale MODEL CHANNELS DEPTH RESULT.ppm\n");
        return 2;
    }
    memcpy(param.modelPath, argv[1], strlen(argv[1]) + 1);
    param.modelChannels = strtol(argv[2], NULL, 10);
    param.modelDepth = strtol(argv[3], NULL, 10);
    draw(input_pixels);

    load();
    orvane.init(&log);
    if (orvane.check_supported(&support, NULL) != ORVANE_OK) {
        fprintf(stderr, "this machine is not supported: status %u\n", (unsigned)support.status);
        return 1;
    }
    const orvane_handle handle = orvane.open(&param);
    if (handle == NULL) {
        return 1; /* the log gives the reason */
    }
    /* After a lost device: close every instance, release the program's own Direct3D 12 device, then open again. */
    const int result = orvane.process(handle, &output, &input);
    orvane.close(handle); /* also after a failed frame */
    if (result != ORVANE_OK) {
        return 1;
    }
    if (!write_ppm(argv[4], &output_pixels[0][0][0], 2 * kWidth, 2 * kHeight)) {
        fprintf(stderr, "%s cannot be written\n", argv[4]);
        return 1;
    }
    printf("%s: %d x %d, on %s\n", argv[4], 2 * kWidth, 2 * kHeight, support.adapterName);
    return 0;
}
