#include "apps/orvane/commands/model_command.h"

#include <cstdio>
#include <memory>
#include <string>
#include <system_error>

#include "apps/models/bilinear_model.h"
#include "apps/models/model_file.h"
#include "apps/models/model_lookup.h"
#include "apps/models/model_report.h"
#include "apps/orvane/commands/model_options.h"
#include "apps/utils/failure.h"
#include "apps/utils/files/atomic_file.h"
#include "apps/utils/files/long_path.h"
#include "apps/utils/files/utf8_path.h"

namespace orvane::tool {
namespace {

struct Arguments {
    std::string input;
    std::string output;
    ModelOptions model;
    NetworkSize network;
    bool isJson = false;
    bool isForced = false;
};

void Print(const std::string& text) {
    std::fputs(text.c_str(), stdout);
}

// Nothing is replaced by accident, and nothing is made that has nowhere to go.
std::filesystem::path Target(const std::string& name, bool isForced) {
    const std::filesystem::path path = PathFromUtf8(name);
    RequireWritableTarget(path);
    if (!isForced && std::filesystem::exists(LongPath(path))) {
        throw Failure("\"" + name + "\" exists already; --force replaces it.");
    }
    return path;
}

void PrintWritten(const std::filesystem::path& path) {
    Print("Wrote: " + Utf8FromPath(path) + " (" + std::to_string(std::filesystem::file_size(LongPath(path))) +
          " bytes)\n");
}

void List(const Arguments& arguments) {
    const std::filesystem::path folder = WeightsFolder();
    const std::vector<ListedModel> models = ListModels(folder);
    Print(arguments.isJson ? JsonOf(models, folder) : TextOf(models, folder));
}

void Info(const Arguments& arguments) {
    const ModelReport report = InspectModelFile(arguments.model, WeightsFolder());
    Print(arguments.isJson ? JsonOf(report) : TextOf(report));
    if (!report.IsSound()) {
        throw Failure("This file is no model that can be used.");
    }
}

// The card goes with the model, unless it is there already: mine.json is the card of mine.bin and of mine.en.
void CopyCard(const std::filesystem::path& source, const std::filesystem::path& target, bool isForced) {
    const std::filesystem::path from = LongPath(CardPath(source));
    const std::filesystem::path to = LongPath(CardPath(target));
    std::error_code ignored;
    if (std::filesystem::exists(from, ignored) && (isForced || !std::filesystem::exists(to, ignored)) &&
        !std::filesystem::equivalent(from, to, ignored)) {
        WriteFileAtomically(to, ReadWholeFile(from));
        PrintWritten(CardPath(target));
    }
}

void Rewrite(const Arguments& arguments) {
    const std::filesystem::path source = PathFromUtf8(arguments.input);
    const std::filesystem::path target = Target(arguments.output, arguments.isForced);
    WriteModelFile(target, ReadModelFile(source));
    PrintWritten(target);
    CopyCard(source, target, arguments.isForced);
}

void Seal(const Arguments& arguments) {
    if (EncryptionOf(PathFromUtf8(arguments.output)) == Encryption::kNone) {
        throw UsageError("The name \"" + arguments.output + "\" must end in .en (encrypted once) or .en2 (twice).");
    }
    Rewrite(arguments);
}

void Open(const Arguments& arguments) {
    if (EncryptionOf(PathFromUtf8(arguments.output)) != Encryption::kNone) {
        throw UsageError("The name \"" + arguments.output + "\" means an encrypted file. Choose another ending.");
    }
    if (EncryptionOf(PathFromUtf8(arguments.input)) == Encryption::kNone) {
        throw UsageError("The name \"" + arguments.input + "\" must end in .en or .en2: others are not encrypted.");
    }
    Rewrite(arguments);
}

void New(const Arguments& arguments) {
    const std::filesystem::path target = Target(arguments.output, arguments.isForced);
    const std::filesystem::path cardTarget = Target(Utf8FromPath(CardPath(target)), arguments.isForced);
    const ModelCard card{arguments.network, kBilinearReach, "interpolates; no sharper than plain scaling, for trials"};
    const std::string text = ModelCardText(card);
    WriteModelFile(target,
                   MakeBilinearModel(static_cast<uint32_t>(arguments.network.channels), arguments.network.depth));
    WriteFileAtomically(cardTarget, std::vector<uint8_t>(text.begin(), text.end()));
    PrintWritten(target);
    PrintWritten(cardTarget);
}

using Action = void (*)(const Arguments&);

// A subcommand whose description ends with an example.
CLI::App* Add(CLI::App& model, const char* name, const char* description, Action action,
              const std::shared_ptr<Arguments>& arguments) {
    CLI::App* const command = model.add_subcommand(name, description);
    command->callback([action, arguments] { action(*arguments); });
    return command;
}

void AddOutput(CLI::App& command, Arguments& arguments, const char* description) {
    command.add_option("OUT", arguments.output, description)->required();
    command.add_flag("--force", arguments.isForced, "Replace files that exist");
}

}  // namespace

void AddModelCommand(CLI::App& app) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* const model = app.add_subcommand("model", "Lists, looks into, encrypts and makes model files");
    model->require_subcommand(1);
    model->footer("Example: orvane model info default");

    CLI::App* const list = Add(*model, "list", "Lists the models that have a name", List, arguments);
    list->add_flag("--json", arguments->isJson, "One JSON object instead of text");

    CLI::App* const info = Add(*model, "info", "Tells what a model file holds", Info, arguments);
    info->footer("Example: orvane model info mine.en --channels 32 --depth 2");
    info->add_option("MODEL", arguments->model.model, "A name, or the path of a model file")->required();
    AddNetworkOptions(*info, arguments->model);
    info->add_flag("--json", arguments->isJson, "One JSON object instead of text");

    CLI::App* const seal = Add(*model, "seal", "Encrypts a model file", Seal, arguments);
    seal->footer("Example: orvane model seal mine.bin mine.en");
    seal->add_option("IN", arguments->input, "The model file")->required();
    AddOutput(*seal, *arguments, "The file to write: NAME.en encrypted once, NAME.en2 twice");

    CLI::App* const open = Add(*model, "open", "Decrypts a model file", Open, arguments);
    open->footer("Example: orvane model open mine.en mine.bin");
    open->add_option("IN", arguments->input, "The encrypted file: NAME.en or NAME.en2")->required();
    AddOutput(*open, *arguments, "The plain file to write");

    CLI::App* const make = Add(*model, "new", "Writes a model that interpolates, for trials", New, arguments);
    make->footer("Example: orvane model new trial.en --channels 32 --depth 2");
    AddOutput(*make, *arguments, "The model file to write, encrypted if it ends in .en or .en2; a .json beside it");
    make->add_option("--channels", arguments->network.channels, "Feature channels of the network")
        ->capture_default_str()
        ->check(CLI::Range(static_cast<int32_t>(kMinBilinearChannels), kMaxModelChannels));
    make->add_option("--depth", arguments->network.depth, "Layers between the first and the last one")
        ->capture_default_str()
        ->check(CLI::Range(kMinBilinearDepth, kMaxModelDepth));
}

}  // namespace orvane::tool
