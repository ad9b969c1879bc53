// Collects copies from host memory to GPU resources and submits them together.
#pragma once

#include <cstdint>
#include <exception>
#include <future>
#include <memory>
#include <string>

#include "gpu/platform.h"

namespace DirectX {

// A Windows call failed.
class com_exception : public std::exception {
public:
    explicit com_exception(HRESULT hr);
    const char* what() const noexcept override { return m_text.c_str(); }
    HRESULT get_result() const noexcept { return m_result; }

private:
    HRESULT m_result;
    std::string m_text;
};

// A batch was misused, or the system could not provide an event. std::exception itself takes no text in standard C++.
class upload_error : public std::exception {
public:
    explicit upload_error(const char* text) : m_text(text) {}
    const char* what() const noexcept override { return m_text; }

private:
    const char* m_text;
};

// Call Begin, Upload any number of times, and End, then wait on the future. Begin may follow End. Used by one thread at
// a time. Throws upload_error when called out of order (before anything changes) and com_exception when Direct3D
// fails (the batch then stays in the state that it reached).
class ResourceUploadBatch {
public:
    explicit ResourceUploadBatch(ID3D12Device* device);
    virtual ~ResourceUploadBatch();
    ResourceUploadBatch(const ResourceUploadBatch&) = delete;
    ResourceUploadBatch& operator=(const ResourceUploadBatch&) = delete;

    void Begin();

    // Records the upload of `numSubresources` subresources of `resource` from `subresourceIndexStart` on. The host's
    // data is copied before this returns. The resource must be in a state that accepts copies until the GPU has
    // run the batch; no barrier is recorded.
    void Upload(ID3D12Resource* resource, uint32_t subresourceIndexStart, const D3D12_SUBRESOURCE_DATA* subresourceData,
                uint32_t numSubresources);

    // Submits the batch. The future becomes ready when the GPU has run it, and carries a failure of the wait.
    std::future<void> End(ID3D12CommandQueue* commandQueue);

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace DirectX
