#include "bench/onnx_graph.h"

#include <stdexcept>

namespace orvane::bench {
namespace {

// Enumerators of onnx.proto.
enum AttributeType : uint64_t { kInt = 2, kString = 3, kInts = 7 };
constexpr uint64_t kFloat16 = 10;  // TensorProto.DataType

// One message of the protobuf wire format. Field numbers are those of onnx.proto.
class Message {
public:
    Message& Int(uint32_t field, uint64_t value) {
        Varint(uint64_t{field} << 3);
        Varint(value);
        return *this;
    }
    Message& Bytes(uint32_t field, const std::string& value) {
        Varint(uint64_t{field} << 3 | 2);
        Varint(value.size());
        m_bytes += value;
        return *this;
    }
    Message& Sub(uint32_t field, const Message& message) { return Bytes(field, message.m_bytes); }

    const std::string& Serialised() const { return m_bytes; }

private:
    void Varint(uint64_t value) {
        for (; value >= 0x80; value >>= 7) {
            m_bytes += static_cast<char>(value | 0x80);
        }
        m_bytes += static_cast<char>(value);
    }

    std::string m_bytes;
};

Message Attribute(const std::string& name, uint64_t value) {
    return Message().Bytes(1, name).Int(3, value).Int(20, kInt);
}

Message Attribute(const std::string& name, const std::string& value) {
    return Message().Bytes(1, name).Bytes(4, value).Int(20, kString);
}

Message Attribute(const std::string& name, const std::vector<uint64_t>& values) {
    Message attribute;
    attribute.Bytes(1, name);
    for (const uint64_t value : values) {
        attribute.Int(8, value);
    }
    return attribute.Int(20, kInts);
}

Message Node(const std::string& type, const std::vector<std::string>& inputs, const std::string& output,
             const std::vector<Message>& attributes) {
    Message node;
    for (const std::string& input : inputs) {
        node.Bytes(1, input);
    }
    node.Bytes(2, output).Bytes(4, type);
    for (const Message& attribute : attributes) {
        node.Sub(5, attribute);
    }
    return node;
}

Message Tensor(const std::string& name, const std::vector<uint64_t>& shape, const std::string& halves) {
    Message tensor;
    for (const uint64_t size : shape) {
        tensor.Int(1, size);
    }
    return tensor.Int(2, kFloat16).Bytes(8, name).Bytes(9, halves);
}

Message Value(const std::string& name, const std::vector<uint64_t>& shape) {
    Message sizes;
    for (const uint64_t size : shape) {
        sizes.Sub(1, Message().Int(1, size));
    }
    return Message().Bytes(1, name).Sub(2, Message().Sub(1, Message().Int(1, kFloat16).Sub(2, sizes)));
}

}  // namespace

std::string MakeOnnxModel(const std::vector<LayerShape>& layers, const std::vector<uint8_t>& modelFile,
                          FrameSize size) {
    using namespace std::string_literals;
    size_t position = 0;
    const auto take = [&](size_t valueCount) {
        if (position + 2 * valueCount > modelFile.size()) {
            throw std::runtime_error("the model file is too short");
        }
        const auto first = modelFile.begin() + static_cast<std::ptrdiff_t>(position);
        position += 2 * valueCount;
        return std::string(first, modelFile.begin() + static_cast<std::ptrdiff_t>(position));
    };

    Message graph;
    std::string tensor = "x";
    for (const LayerShape& layer : layers) {
        const std::string name = tensor + "_";
        const uint64_t kernel = layer.kernelSize;
        graph.Sub(1, Node("Conv", {tensor, name + "filter", name + "bias"}, name + "sum",
                          {Attribute("kernel_shape", std::vector{kernel, kernel}),
                           Attribute("pads", std::vector<uint64_t>{1, 1, 1, 1})}));
        graph.Sub(1, Node("Clip", {name + "sum", "zero", "one"}, name, {}));
        graph.Sub(5, Tensor(name + "filter", {layer.outChannels, layer.inChannels, kernel, kernel},
                            take(size_t{layer.outChannels} * layer.inChannels * kernel * kernel)));
        graph.Sub(5, Tensor(name + "bias", {layer.outChannels}, take(layer.outChannels)));
        tensor = name;
    }
    graph.Sub(5, Tensor("zero", {}, "\x00\x00"s)).Sub(5, Tensor("one", {}, "\x00\x3C"s));
    graph.Sub(1, Node("DepthToSpace", {tensor}, "y", {Attribute("blocksize", kScale), Attribute("mode", "CRD"s)}));
    graph.Bytes(2, "network");
    graph.Sub(11, Value("x", {1, 3, size.height, size.width}));
    graph.Sub(12, Value("y", {1, 3, Doubled(size).height, Doubled(size).width}));
    return Message().Int(1, 8).Sub(7, graph).Sub(8, Message().Int(2, 17)).Serialised();
}

}  // namespace orvane::bench
