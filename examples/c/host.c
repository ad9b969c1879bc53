/* The smallest host: upscales one frame by 2x. Link it with the import library of liborvane.dll. */
#include <stdio.h>
#include <string.h>

#include "orvane.h"

static uint8_t input_pixels[36][64][4];   /* R, G, B, A; top row first */
static uint8_t output_pixels[72][128][4]; /* twice the width and height */

int main(int argc, char** argv) {
    orvane_open_param param = {.inputWidth = 64, .inputHeight = 36, .modelChannels = 32, .modelDepth = 2};
    if (argc != 2 || strlen(argv[1]) >= sizeof(param.modelPath)) {
        fprintf(stderr, "usage: host MODEL\n");
        return 2;
    }
    memcpy(param.modelPath, argv[1], strlen(argv[1]) + 1); /* the model file, for example weights/default.en */
    memset(input_pixels, 200, sizeof(input_pixels));
    orvane_frame input = {.width = 64, .height = 36, .stride = 64 * 4, .data = input_pixels};
    orvane_frame output = {.stride = 128 * 4, .data = output_pixels};

    orvane_init(NULL); /* log to standard output */
    orvane_check_result support = {0};
    if (orvane_check_supported(&support, NULL) != ORVANE_OK) {
        return 1; /* support.status and the log give the reason */
    }
    orvane_handle handle = orvane_open(&param);
    if (handle == NULL) {
        return 1; /* the log gives the reason; there is nothing to close */
    }
    const int result = orvane_process(handle, &output, &input);
    if (result == ORVANE_OK) {
        const uint8_t* pixel = output_pixels[9][9];
        printf("one pixel of the result: %d %d %d\n", pixel[0], pixel[1], pixel[2]);
    }
    orvane_close(handle); /* also after a failed frame */
    return result == ORVANE_OK ? 0 : 1;
}
