/* The smallest host: doubles one frame with an open instance. Link with liborvane.dll's import library. */
#include <stdio.h>
#include <string.h>

#include "api/orvane.h"

int main(int argc, char** argv) {
    static uint8_t input_pixels[36][64][4];   /* R, G, B, A; rows from top to bottom */
    static uint8_t output_pixels[72][128][4]; /* twice the width and height */
    orvane_open_param param = {.inputWidth = 64, .inputHeight = 36, .modelChannels = 32, .modelDepth = 2};
    orvane_frame input = {.width = 64, .height = 36, .stride = 64 * 4, .data = input_pixels};
    orvane_frame output = {.stride = 128 * 4, .data = output_pixels};
    memset(input_pixels, 200, sizeof(input_pixels));

    orvane_init(NULL); /* log to standard output */
    if (argc != 2) {
        return 2;
    }
    strncpy(param.modelPath, argv[1], sizeof(param.modelPath) - 1);
    orvane_handle handle = orvane_open(&param);
    if (handle == NULL || orvane_process(handle, &output, &input) != ORVANE_OK) {
        return 1; /* the log says why */
    }
    const uint8_t* pixel = output_pixels[9][9];
    printf("one pixel of the result: %d %d %d\n", pixel[0], pixel[1], pixel[2]);
    return orvane_close(handle);
}
