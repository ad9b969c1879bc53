// Rearranges the channels of the network's output tensor into an image of twice its width and height: one thread per
// pixel of the image. CRD order: source channel = colour * blockSize^2 + position in the block.

Buffer<float> InputTensor : register(t0);
// Must match the type of its view. Otherwise it is undefined what a driver stores.
RWTexture2D<unorm float4> OutputImage : register(u0);

cbuffer Constants : register(b0)
{
    uint blockSize;  // always 2
    uint inputN;     // shape of the tensor
    uint inputC;
    uint inputH;
    uint inputW;
    uint outputC;    // not read
    uint useNhwc;    // 0: the tensor is stored NCHW; anything else: NHWC
};

uint ElementIndex(uint channel, uint n, uint y, uint x)
{
    return useNhwc == 0 ? channel * inputH * inputW + n * inputC * inputH * inputW + y * inputW + x
                        : ((n * inputH + y) * inputW + x) * inputC + channel;
}

[numthreads(32, 16, 1)]
void main(uint3 id : SV_DispatchThreadID)
{
    if (id.x >= blockSize * inputW || id.y >= blockSize * inputH || id.z >= inputN)
    {
        return;
    }
    const uint x = id.x >> 1;
    const uint y = id.y >> 1;
    const uint inner = (id.y & 1) * blockSize + (id.x & 1);
    const uint block = blockSize * blockSize;

    const float blue = InputTensor[ElementIndex(inner, id.z, y, x)];
    const float green = InputTensor[ElementIndex(block + inner, id.z, y, x)];
    const float red = InputTensor[ElementIndex(2 * block + inner, id.z, y, x)];
    OutputImage[id.xy] = float4(saturate(red), saturate(green), saturate(blue), 1.0f);
}
