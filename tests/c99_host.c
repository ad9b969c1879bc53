/* A host in C: the header compiles as C99, and an instance that the host forgets to close does no harm at exit. */
#include <stdio.h>
#include <string.h>

#include "api/orvane.h"

static void print_error(void* userData, int32_t level, const char* format, va_list arguments) {
    if (level == ORVANE_LOG_ERROR) {
        vfprintf((FILE*)userData, format, arguments);
        fputc('\n', (FILE*)userData);
    }
}

int main(int argc, char** argv) {
    static uint8_t input_pixels[4 * 4 * 4];
    static uint8_t output_pixels[8 * 8 * 4];
    const orvane_init_param init = {ORVANE_LOG_INFO, print_error, stderr};
    orvane_open_param param = {.inputWidth = 4, .inputHeight = 4, .modelChannels = 27, .modelDepth = 1};
    const orvane_frame input = {.width = 4, .height = 4, .stride = 16, .data = input_pixels};
    orvane_frame output = {.stride = 32, .data = output_pixels};
    orvane_handle handle;

    if (argc != 2) {
        fputs("usage: c99_host MODEL (27 channels, 3 layers)\n", stderr);
        return 2;
    }
    orvane_init(&init);
    strncpy(param.modelPath, argv[1], sizeof(param.modelPath) - 1);
    handle = orvane_open(&param);
    memset(input_pixels, 100, sizeof(input_pixels));
    if (orvane_process(handle, &output, &input) != ORVANE_OK) {
        return 1;
    }
    /* A flat colour stays itself, to the edges, and alpha is opaque. */
    for (size_t i = 0; i < sizeof(output_pixels); ++i) {
        const int expected = i % 4 == 3 ? 255 : 100;
        if (output_pixels[i] < expected - 1 || output_pixels[i] > expected + 1) {
            fprintf(stderr, "byte %u is %d\n", (unsigned)i, output_pixels[i]);
            return 1;
        }
    }
    puts("doubled");
    return 0;
}
