#include "engine/convolution.h"

#include <array>

#include "api/log.h"

namespace orvane {
namespace {

// A tensor's description with everything that it points to. Must not be moved.
class TensorDesc {
public:
    TensorDesc(const TensorShape& shape, TensorLayout layout) : m_shape(shape), m_strides(CalcStrides(shape, layout)) {
        m_buffer.DataType = DML_TENSOR_DATA_TYPE_FLOAT16;
        m_buffer.Flags = DML_TENSOR_FLAG_NONE;
        m_buffer.DimensionCount = static_cast<UINT>(m_shape.size());
        m_buffer.Sizes = m_shape.data();
        m_buffer.Strides = m_strides.data();
        m_buffer.TotalTensorSizeInBytes = CalcTensorSize(m_shape, layout);
        m_buffer.GuaranteedBaseOffsetAlignment = 0;
    }
    TensorDesc(const TensorDesc&) = delete;
    TensorDesc& operator=(const TensorDesc&) = delete;

    const DML_TENSOR_DESC* Get() const { return &m_desc; }

private:
    TensorShape m_shape;
    TensorStrides m_strides;
    DML_BUFFER_TENSOR_DESC m_buffer{};
    DML_TENSOR_DESC m_desc{DML_TENSOR_TYPE_BUFFER, &m_buffer};
};

}  // namespace

int32_t CreateConvolution(const DirectMLContext& context, const TensorShape& inputShape, const TensorShape& filterShape,
                          const TensorShape& outputShape, ComPtr<IDMLCompiledOperator>& compiledOperator) {
    const uint32_t outChannels = filterShape[0];
    const TensorDesc input(inputShape, context.layout);
    const TensorDesc filter(filterShape, context.layout);
    // Described for every layer, even if no bias is bound.
    const TensorDesc bias({1, outChannels, 1, 1}, context.layout);
    const TensorDesc output(outputShape, context.layout);

    const DML_ACTIVATION_HARD_SIGMOID_OPERATOR_DESC hardSigmoid{nullptr, nullptr, 1.0F, 0.0F};
    const DML_OPERATOR_DESC activation{DML_OPERATOR_ACTIVATION_HARD_SIGMOID, &hardSigmoid};
    constexpr std::array<UINT, 2> kOnes{1, 1};
    constexpr std::array<UINT, 2> kZeros{0, 0};

    DML_CONVOLUTION_OPERATOR_DESC convolution{};
    convolution.InputTensor = input.Get();
    convolution.FilterTensor = filter.Get();
    convolution.BiasTensor = bias.Get();
    convolution.OutputTensor = output.Get();
    convolution.Mode = DML_CONVOLUTION_MODE_CROSS_CORRELATION;
    convolution.Direction = DML_CONVOLUTION_DIRECTION_FORWARD;
    convolution.DimensionCount = 2;
    convolution.Strides = kOnes.data();
    convolution.Dilations = kOnes.data();
    convolution.StartPadding = kOnes.data();
    convolution.EndPadding = kOnes.data();
    convolution.OutputPadding = kZeros.data();
    convolution.GroupCount = 1;
    convolution.FusedActivation = &activation;

    const DML_OPERATOR_DESC desc{DML_OPERATOR_CONVOLUTION, &convolution};
    ComPtr<IDMLOperator> uncompiled;
    if (CheckHResult(context.device->CreateOperator(&desc, IID_PPV_ARGS(uncompiled.GetAddressOf())),
                     "CreateOperator") != 0) {
        return -1;
    }
    return CheckHResult(context.device->CompileOperator(uncompiled.Get(), context.executionFlags,
                                                        IID_PPV_ARGS(compiledOperator.ReleaseAndGetAddressOf())),
                        "CompileOperator");
}

}  // namespace orvane
