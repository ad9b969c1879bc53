#include "apps/models/model_lookup.h"

#include <algorithm>
#include <system_error>

#include "apps/models/model_file.h"
#include "apps/utils/failure.h"
#include "apps/utils/files/atomic_file.h"
#include "apps/utils/files/long_path.h"
#include "apps/utils/files/utf8_path.h"
#include "apps/utils/text.h"

namespace orvane::tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kDefault = "default";
constexpr const char* kPlaceholder = "interpolating";
constexpr const char* kExtension = ".en";

std::vector<std::string> NamesIn(const fs::path& weightsFolder) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(LongPath(weightsFolder), error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = Utf8FromPath(entry->path().stem());
        if (entry->path().extension() == kExtension && IsModelName(name)) {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

[[noreturn]] void RefuseName(const std::string& name, const fs::path& weightsFolder) {
    std::string known;
    for (const std::string& other : NamesIn(weightsFolder)) {
        known += (known.empty() ? "; there are: " : ", ") + other;
    }
    throw Failure("There is no model " + Quoted(name) + " in " + Quoted(weightsFolder) + known +
                  ". For a model file of your own, give its path with the extension.");
}

std::string LengthAdvice(uint64_t plainBytes) {
    const std::vector<NetworkSize> fitting = NetworksOfLength(plainBytes);
    return fitting.empty() ? " Its length fits no network: it is cut off, or not a model."
                           : " Its length fits " + OptionsText(fitting) + ".";
}

std::string NeedText(const NetworkSize& network) {
    return OptionsText(network) + " (" + std::to_string(PlainModelBytes(network)) + " bytes)";
}

// Without a card: the network that has the given numbers and fits the file's length.
NetworkSize NetworkFromLength(const ModelOptions& options, const fs::path& path, uint64_t plainBytes) {
    std::vector<NetworkSize> fitting = NetworksOfLength(plainBytes);
    std::erase_if(fitting, [&](const NetworkSize& size) {
        return size.channels != options.channels.value_or(size.channels) ||
               size.depth != options.depth.value_or(size.depth);
    });
    const std::optional<NetworkSize> likeliest = LikeliestNetwork(fitting);
    if (!likeliest) {
        throw Failure(Quoted(path) + " does not say its network: there is no " + Quoted(CardPath(path).filename()) +
                      " beside it. Give --channels and --depth." + LengthAdvice(plainBytes));
    }
    return *likeliest;
}

void RequireFit(const FoundModel& found, uint64_t plainBytes, bool isFromCard) {
    const uint64_t needed = PlainModelBytes(found.network);
    if (isFromCard && needed != plainBytes) {
        throw Failure(Quoted(CardPath(found.path)) + " says " + NeedText(found.network) +
                      ", but the model beside it has " + std::to_string(plainBytes) + " bytes." +
                      LengthAdvice(plainBytes));
    }
    if (needed > plainBytes) {
        throw Failure(Quoted(found.path) + " is too short for " + NeedText(found.network) + ": it has " +
                      std::to_string(plainBytes) + "." + LengthAdvice(plainBytes));
    }
}

void SetNetwork(FoundModel& found, const ModelOptions& options) {
    const bool needsCard = !options.channels || !options.depth;
    const std::optional<ModelCard> card = needsCard ? ReadCardOf(found.path) : std::nullopt;
    const uint64_t plainBytes = ReadModelFile(found.path).size();
    if (card) {
        found.network = card->network;
        found.purpose = card->purpose;
    } else if (needsCard) {
        found.network = NetworkFromLength(options, found.path, plainBytes);
    }
    found.network.channels = options.channels.value_or(found.network.channels);
    found.network.depth = options.depth.value_or(found.network.depth);
    if (!IsValidNetworkSize(found.network)) {
        throw Failure("There is no network with " + OptionsText(found.network) + ".");
    }
    const bool isFromCard = card && card->network == found.network;
    found.reach = isFromCard ? card->reach : FullReach(found.network);
    RequireFit(found, plainBytes, isFromCard);
    if (PlainModelBytes(found.network) < plainBytes) {
        found.note = Quoted(found.path) + " is longer than " + NeedText(found.network) + ": it has " +
                     std::to_string(plainBytes) + "." + LengthAdvice(plainBytes);
    }
}

}  // namespace

bool IsModelName(const std::string& text) {
    return !text.empty() && text.find_first_of("./\\:") == std::string::npos;
}

fs::path FindModelFile(const std::string& model, const fs::path& weightsFolder, std::string& note) {
    if (!IsModelName(model)) {
        return PathFromUtf8(model);
    }
    const auto pathOf = [&](const std::string& name) { return weightsFolder / PathFromUtf8(name + kExtension); };
    if (Exists(pathOf(model))) {
        return pathOf(model);
    }
    if (model != kDefault || !Exists(pathOf(kPlaceholder))) {
        RefuseName(model, weightsFolder);
    }
    note =
        "There is no trained model. The bilinear placeholder is used instead, which is no sharper than bilinear "
        "scaling.";
    return pathOf(kPlaceholder);
}

std::optional<ModelCard> ReadCardOf(const fs::path& model) {
    const fs::path path = CardPath(model);
    if (path == model || !Exists(path)) {
        return std::nullopt;
    }
    const std::vector<uint8_t> text = ReadWholeFile(path);
    try {
        return ParseModelCard(std::string(text.begin(), text.end()));
    } catch (const Failure& failure) {
        throw Failure(Quoted(path) + " " + failure.what());
    }
}

FoundModel FindModel(const ModelOptions& options, const fs::path& weightsFolder) {
    FoundModel found;
    found.path = FindModelFile(options.model, weightsFolder, found.note);
    SetNetwork(found, options);
    return found;
}

std::vector<ListedModel> ListModels(const fs::path& weightsFolder) {
    std::vector<ListedModel> models;
    for (const std::string& name : NamesIn(weightsFolder)) {
        ListedModel listed{name, {}, {}};
        try {
            ModelOptions options;
            options.model = name;
            listed.model = FindModel(options, weightsFolder);
        } catch (const Failure& failure) {
            listed.problem = failure.what();
        }
        models.push_back(listed);
    }
    return models;
}

}  // namespace orvane::tool
