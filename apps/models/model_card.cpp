#include "apps/models/model_card.h"

#include <limits>
#include <nlohmann/json.hpp>

#include "apps/utils/failure.h"

namespace orvane::tool {
namespace {

using nlohmann::json;

int32_t NumberOf(const json& card, const char* name, int32_t low, int32_t high) {
    const auto found = card.find(name);
    const bool isNumber = found != card.end() && found->is_number_integer();
    const double value = isNumber ? found->get<double>() : std::numeric_limits<double>::quiet_NaN();
    if (!(value >= low && value <= high)) {
        throw Failure(std::string("needs a whole number \"") + name + "\" from " + std::to_string(low) + " to " +
                      std::to_string(high) + (found == card.end() ? "." : ", not " + found->dump() + "."));
    }
    return static_cast<int32_t>(value);
}

std::string TextOf(const json& card, const char* name) {
    const auto found = card.find(name);
    if (found == card.end()) {
        return {};
    }
    if (!found->is_string()) {
        throw Failure(std::string("needs a text as \"") + name + "\".");
    }
    return found->get<std::string>();
}

json Parsed(std::string_view text) {
    try {
        return json::parse(text);
    } catch (const json::parse_error& error) {
        throw Failure("is not valid JSON: there is a mistake at byte " + std::to_string(error.byte) + ".");
    } catch (const json::exception&) {
        throw Failure("holds a number that is too large.");
    }
}

}  // namespace

int32_t FullReach(const NetworkSize& network) {
    return network.depth + 2;
}

std::filesystem::path CardPath(const std::filesystem::path& model) {
    std::filesystem::path card = model;
    return card.replace_extension(".json");
}

ModelCard ParseModelCard(std::string_view text) {
    const json parsed = Parsed(text);
    if (!parsed.is_object()) {
        throw Failure(R"(is not a JSON object with "channels" and "depth".)");
    }
    ModelCard card;
    card.network.channels = NumberOf(parsed, "channels", 1, kMaxModelChannels);
    card.network.depth = NumberOf(parsed, "depth", kMinModelDepth, kMaxModelDepth);
    card.reach = FullReach(card.network);
    if (parsed.contains("reach")) {
        card.reach = NumberOf(parsed, "reach", 0, card.reach);
    }
    card.purpose = TextOf(parsed, "purpose");
    return card;
}

std::string ModelCardText(const ModelCard& card) {
    nlohmann::ordered_json text;
    text["channels"] = card.network.channels;
    text["depth"] = card.network.depth;
    text["reach"] = card.reach;
    text["purpose"] = card.purpose;
    return text.dump(4) + "\n";
}

}  // namespace orvane::tool
