// Brightens a texture into another of the same size. Three constants, because they must not be a multiple of 16 bytes.
cbuffer Constants : register(b0) {
    uint height;
    uint width;
    float factor;
};
Texture2D<float4> source : register(t0);
RWTexture2D<unorm float4> target : register(u0);

[numthreads(8, 8, 1)]
void main(uint3 id : SV_DispatchThreadID) {
    if (id.x < width && id.y < height) {
        target[id.xy] = source[id.xy] * factor;
    }
}
