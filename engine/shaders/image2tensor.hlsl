// Turns the input image into the network's input tensor: one thread per pixel.

Texture2D<float4> InputTexture : register(t0);
RWBuffer<float> OutputTensor : register(u0);

cbuffer ImageLayoutCB : register(b0)
{
    uint Height;   // of the image, in pixels
    uint Width;
    uint useNhwc;  // 1: the tensor is stored NHWC; anything else: NCHW
};

[numthreads(32, 16, 1)]
void main(uint3 id : SV_DispatchThreadID)
{
    if (id.x >= Width || id.y >= Height)
    {
        return;
    }
    const float4 texel = InputTexture.Load(int3(id.xy, 0));
    const uint pixel = id.y * Width + id.x;

    // The network is trained on images whose channel 0 is blue.
    if (useNhwc == 1)
    {
        OutputTensor[pixel * 3] = texel.b;
        OutputTensor[pixel * 3 + 1] = texel.g;
        OutputTensor[pixel * 3 + 2] = texel.r;
    }
    else
    {
        const uint plane = Height * Width;
        OutputTensor[pixel] = texel.b;
        OutputTensor[plane + pixel] = texel.g;
        OutputTensor[plane * 2 + pixel] = texel.r;
    }
}
