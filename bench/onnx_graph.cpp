#include "bench/onnx_graph.h"

#include <array>
#include <cstring>

#include "bench/worker.h"

namespace orvane::bench {
namespace {

// Enumerators of onnx.proto.
constexpr uint64_t kFloatAttribute = 1;
constexpr uint64_t kIntAttribute = 2;
constexpr uint64_t kStringAttribute = 3;
constexpr uint64_t kFloat16 = 10;

// One message of the protobuf wire format. Field numbers are those of onnx.proto.
class Message {
public:
    Message& Add(uint32_t field, uint64_t value) {
        Varint(uint64_t{field} << 3);
        Varint(value);
        return *this;
    }
    Message& AddFloat(uint32_t field, float value) {
        Varint(uint64_t{field} << 3 | 5);
        std::array<char, sizeof value> bytes{};  // little-endian, as the processor has them
        std::memcpy(bytes.data(), &value, sizeof value);
        m_bytes.append(bytes.data(), bytes.size());
        return *this;
    }
    Message& Add(uint32_t field, const std::string& bytes) {
        Varint(uint64_t{field} << 3 | 2);
        Varint(bytes.size());
        m_bytes += bytes;
        return *this;
    }
    Message& Add(uint32_t field, const Message& message) { return Add(field, message.m_bytes); }

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

Message FloatAttribute(const std::string& name, float value) {
    return Message().Add(1, name).AddFloat(2, value).Add(20, kFloatAttribute);
}

Message Attribute(const std::string& name, uint64_t value) {
    return Message().Add(1, name).Add(3, value).Add(20, kIntAttribute);
}

Message Attribute(const std::string& name, const std::string& value) {
    return Message().Add(1, name).Add(4, value).Add(20, kStringAttribute);
}

Message Node(const std::string& type, const std::vector<std::string>& inputs, const std::string& output) {
    Message node;
    for (const std::string& input : inputs) {
        node.Add(1, input);
    }
    return node.Add(2, output).Add(4, type);
}

Message BoundNode(Bound bound, const std::string& input, const std::string& output) {
    if (bound == Bound::kClip) {
        return Node("Clip", {input, "zero", "one"}, output);
    }
    return Node("HardSigmoid", {input}, output)
        .Add(5, FloatAttribute("alpha", 1.0F))
        .Add(5, FloatAttribute("beta", 0.0F));
}

Message Tensor(const std::string& name, const std::vector<uint64_t>& shape, const std::string& halves) {
    Message tensor;
    for (const uint64_t size : shape) {
        tensor.Add(1, size);
    }
    return tensor.Add(2, kFloat16).Add(8, name).Add(9, halves);
}

Message Picture(const std::string& name, FrameSize size) {
    Message shape;
    for (const uint64_t length : {uint64_t{1}, uint64_t{3}, uint64_t{size.height}, uint64_t{size.width}}) {
        shape.Add(1, Message().Add(1, length));
    }
    return Message().Add(1, name).Add(2, Message().Add(1, Message().Add(1, kFloat16).Add(2, shape)));
}

}  // namespace

std::string MakeOnnxModel(const std::vector<LayerShape>& layers, const std::vector<uint8_t>& modelFile, FrameSize size,
                          Bound bound) {
    using namespace std::string_literals;
    std::string rest(modelFile.begin(), modelFile.end());
    const auto take = [&rest](size_t halves) {
        Require(rest.size() >= 2 * halves, "the model file is too short");
        const std::string taken = rest.substr(0, 2 * halves);
        rest.erase(0, 2 * halves);
        return taken;
    };

    Message graph;
    std::string tensor = "x";
    for (const LayerShape& layer : layers) {
        const std::string name = tensor + "_";
        const uint64_t kernel = layer.kernelSize;
        graph.Add(1, Node("Conv", {tensor, name + "filter", name + "bias"}, name + "sum")
                         .Add(5, Attribute("auto_pad", "SAME_UPPER"s)));
        graph.Add(1, BoundNode(bound, name + "sum", name));
        graph.Add(5, Tensor(name + "filter", {layer.outChannels, layer.inChannels, kernel, kernel},
                            take(size_t{layer.outChannels} * layer.inChannels * kernel * kernel)));
        graph.Add(5, Tensor(name + "bias", {layer.outChannels}, take(layer.outChannels)));
        tensor = name;
    }
    graph.Add(5, Tensor("zero", {}, "\x00\x00"s)).Add(5, Tensor("one", {}, "\x00\x3C"s));
    graph.Add(
        1,
        Node("DepthToSpace", {tensor}, "y").Add(5, Attribute("blocksize", kScale)).Add(5, Attribute("mode", "CRD"s)));
    graph.Add(2, "network"s).Add(11, Picture("x", size)).Add(12, Picture("y", Upscaled(size)));
    return Message().Add(1, 8).Add(7, graph).Add(8, Message().Add(2, 17)).Serialised();
}

}  // namespace orvane::bench
