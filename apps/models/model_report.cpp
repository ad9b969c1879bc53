#include "apps/models/model_report.h"

#include <array>
#include <nlohmann/json.hpp>

#include "apps/utils/files/atomic_file.h"
#include "apps/utils/files/utf8_path.h"
#include "apps/utils/text.h"

namespace orvane::tool {
namespace {

using nlohmann::ordered_json;

constexpr std::array kEncryptions{"no", "once", "twice"};

const char* EncryptionName(const std::filesystem::path& path) {
    return kEncryptions.at(static_cast<size_t>(EncryptionOf(path)));
}

std::optional<NetworkSize> NetworkToInspect(const ModelOptions& options, const ModelReport& report) {
    const std::optional<NetworkSize> told = report.card ? report.card->network : LikeliestNetwork(report.fitting);
    if (!told && !(options.channels && options.depth)) {
        return std::nullopt;
    }
    const NetworkSize network = told.value_or(NetworkSize{});
    return NetworkSize{options.channels.value_or(network.channels), options.depth.value_or(network.depth)};
}

std::string RangeText(const ValueRange& range) {
    if (range.count == 0) {
        return "missing";
    }
    const std::string text =
        Formatted("%.5g .. %.5g", static_cast<double>(range.lowest), static_cast<double>(range.highest));
    return range.notFinite == 0 ? text : text + Formatted(" (%zu not finite)", range.notFinite);
}

std::string LayersText(const std::vector<LayerInspection>& layers) {
    std::string text = "  layer  filter              its values                bias\n";
    for (size_t i = 0; i < layers.size(); ++i) {
        const LayerInspection& layer = layers[i];
        text += Formatted("  %5zu  %4u x %4u x %u x %u  %-24s  %s\n", i + 1, layer.shape.outChannels,
                          layer.shape.inChannels, layer.shape.kernelSize, layer.shape.kernelSize,
                          RangeText(layer.filter).c_str(), RangeText(layer.bias).c_str());
    }
    return text;
}

std::string VerdictText(const ModelReport& report) {
    const ModelInspection& found = report.inspection;
    std::string text;
    if (!report.network) {
        return report.fitting.empty() ? "No network has this length: the file is cut off, or not a model.\n"
                                      : "Give --channels and --depth to see the layers.\n";
    }
    if (found.missingBytes != 0) {
        text += std::to_string(found.missingBytes) + " bytes are missing: the library refuses it.\n";
    }
    if (found.extraBytes != 0) {
        text += std::to_string(found.extraBytes) + " bytes are too many: the library does not read them.\n";
    }
    if (found.notFinite != 0) {
        text += std::to_string(found.notFinite) + " values are infinite or not a number: images will be wrong.\n";
    }
    return text.empty() ? "Complete, and every value is finite.\n" : text;
}

ordered_json NetworkJson(const NetworkSize& network) {
    return {{"channels", network.channels}, {"depth", network.depth}};
}

ordered_json RangeJson(const ValueRange& range) {
    return {
        {"values", range.count}, {"lowest", range.lowest}, {"highest", range.highest}, {"notFinite", range.notFinite}};
}

ordered_json LayersJson(const std::vector<LayerInspection>& layers) {
    ordered_json list = ordered_json::array();
    for (const LayerInspection& layer : layers) {
        list.push_back({{"filterShape", FilterShape(layer.shape)},
                        {"filter", RangeJson(layer.filter)},
                        {"bias", RangeJson(layer.bias)}});
    }
    return list;
}

}  // namespace

bool ModelReport::IsSound() const {
    return network ? inspection.missingBytes == 0 && inspection.notFinite == 0 : !fitting.empty();
}

ModelReport InspectModelFile(const ModelOptions& options, const std::filesystem::path& weightsFolder) {
    ModelReport report;
    report.path = FindModelFile(options.model, weightsFolder, report.note);
    const std::vector<uint8_t> plain = ReadModelFile(report.path);
    report.fileBytes = FileSize(report.path);
    report.plainBytes = plain.size();
    report.fitting = NetworksOfLength(plain.size());
    report.card = ReadCardOf(report.path);
    report.network = NetworkToInspect(options, report);
    if (report.network) {
        report.inspection = InspectModel(plain, *report.network);
    }
    return report;
}

std::string TextOf(const ModelReport& report) {
    std::string text =
        Utf8FromPath(report.path) + "\n  encrypted: " + EncryptionName(report.path) + "; " +
        std::to_string(report.fileBytes) + " bytes, of which weights: " + std::to_string(report.plainBytes) +
        "\n  length fits: " + (report.fitting.empty() ? "no network" : OptionsText(report.fitting)) + "\n";
    if (report.card) {
        text += "  " + Utf8FromPath(CardPath(report.path).filename()) + ": " + OptionsText(report.card->network) +
                ", reach " + std::to_string(report.card->reach) + "; " + report.card->purpose + "\n";
    }
    if (report.network) {
        text += "  shown for: " + OptionsText(*report.network) + "\n" + LayersText(report.inspection.layers);
    }
    return text + VerdictText(report);
}

std::string JsonOf(const ModelReport& report) {
    ordered_json object{{"path", Utf8FromPath(report.path)},
                        {"encrypted", EncryptionName(report.path)},
                        {"fileBytes", report.fileBytes},
                        {"plainBytes", report.plainBytes},
                        {"sound", report.IsSound()}};
    object["fitting"] = ordered_json::array();
    for (const NetworkSize& size : report.fitting) {
        object["fitting"].push_back(NetworkJson(size));
    }
    if (report.card) {
        object["card"] = NetworkJson(report.card->network);
        object["card"]["reach"] = report.card->reach;
        object["card"]["purpose"] = report.card->purpose;
    }
    if (report.network) {
        object["network"] = NetworkJson(*report.network);
        object["missingBytes"] = report.inspection.missingBytes;
        object["extraBytes"] = report.inspection.extraBytes;
        object["notFinite"] = report.inspection.notFinite;
        object["layers"] = LayersJson(report.inspection.layers);
    }
    return object.dump() + "\n";
}

std::string TextOf(const std::vector<ListedModel>& models, const std::filesystem::path& weightsFolder) {
    if (models.empty()) {
        return "There are no models in " + Utf8FromPath(weightsFolder) + ".\n";
    }
    std::string text = "Models in " + Utf8FromPath(weightsFolder) + ":\n";
    for (const ListedModel& entry : models) {
        text += Formatted("  %-14s ", entry.name.c_str());
        text += entry.problem.empty()
                    ? Formatted("%4d channels, depth %2d  ", entry.model.network.channels, entry.model.network.depth) +
                          entry.model.purpose
                    : "cannot be used: " + entry.problem;
        text += "\n";
    }
    return text;
}

std::string JsonOf(const std::vector<ListedModel>& models, const std::filesystem::path& weightsFolder) {
    ordered_json list = ordered_json::array();
    for (const ListedModel& entry : models) {
        ordered_json object{{"name", entry.name}};
        if (entry.problem.empty()) {
            object.update(NetworkJson(entry.model.network));
            object["reach"] = entry.model.reach;
            object["purpose"] = entry.model.purpose;
        } else {
            object["problem"] = entry.problem;
        }
        list.push_back(object);
    }
    return ordered_json{{"folder", Utf8FromPath(weightsFolder)}, {"models", list}}.dump() + "\n";
}

}  // namespace orvane::tool
