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
#include "apps/orvane/frames/model_choice.h"
#include "apps/utils/failure.h"
#include "apps/utils/files/atomic_file.h"
#include "apps/utils/files/utf8_path.h"
#include "apps/utils/text.h"

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

// Nothing is replaced by accident, and no work is done whose result cannot be written.
void RequireFreeTarget(const NamedPath& target, bool isForced) {
    RequireWritableTarget(target);
    if (!isForced && Exists(target)) {
        throw Failure(Quoted(target.name) + " exists already; --force replaces it.");
    }
}

void PrintWritten(const NamedPath& file) {
    Print("Wrote: " + file.name + " (" + std::to_string(FileSize(file)) + " bytes)\n");
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
        throw Failure("This file is not a usable model.");
    }
}

// The card is copied, too, unless there is one already: mine.json is the card of mine.bin and of mine.en.
void CopyCard(const NamedPath& card, const NamedPath& target, bool isForced) {
    std::error_code ignored;
    if (Exists(card) && (isForced || !Exists(target)) &&
        !std::filesystem::equivalent(card.path, target.path, ignored)) {
        WriteFileAtomically(target, ReadWholeFile(card));
        PrintWritten(target);
    }
}

void Rewrite(const std::filesystem::path& source, const std::filesystem::path& target, bool isForced) {
    RequireFreeTarget(target, isForced);
    WriteModelFile(target, ReadModelFile(source));
    PrintWritten(target);
    CopyCard(CardPath(source), CardPath(target), isForced);
}

void Encrypt(const Arguments& arguments) {
    const std::filesystem::path target = PathFromUtf8(arguments.output);
    if (EncryptionOf(target) == Encryption::kNone) {
        throw UsageError("The extension of " + Quoted(target) + " must be .en (encrypted once) or .en2 (twice).");
    }
    Rewrite(PathFromUtf8(arguments.input), target, arguments.isForced);
}

void Decrypt(const Arguments& arguments) {
    const std::filesystem::path source = PathFromUtf8(arguments.input);
    const std::filesystem::path target = PathFromUtf8(arguments.output);
    if (EncryptionOf(target) != Encryption::kNone) {
        throw UsageError("The extension of " + Quoted(target) + " is that of an encrypted file. Choose another one.");
    }
    if (EncryptionOf(source) == Encryption::kNone) {
        throw UsageError("The extension of " + Quoted(source) + " must be .en or .en2. Other files are not encrypted.");
    }
    Rewrite(source, target, arguments.isForced);
}

void New(const Arguments& arguments) {
    const std::filesystem::path target = PathFromUtf8(arguments.output);
    const std::filesystem::path cardTarget = CardPath(target);
    RequireFreeTarget(target, arguments.isForced);
    RequireFreeTarget(cardTarget, arguments.isForced);
    const ModelCard card{arguments.network, kBilinearReach,
                         "bilinear placeholder for trials; no sharper than bilinear scaling"};
    const std::string text = ModelCardText(card);
    WriteModelFile(target,
                   MakeBilinearModel(static_cast<uint32_t>(arguments.network.channels), arguments.network.depth));
    WriteFileAtomically(cardTarget, std::vector<uint8_t>(text.begin(), text.end()));
    PrintWritten(target);
    PrintWritten(cardTarget);
}

using Action = void (*)(const Arguments&);

CLI::App* Add(CLI::App& model, const char* name, const char* description, Action action,
              const std::shared_ptr<Arguments>& arguments) {
    CLI::App* const command = model.add_subcommand(name, description);
    command->callback([action, arguments] { action(*arguments); });
    return command;
}

void AddOutput(CLI::App& command, Arguments& arguments, const char* description) {
    command.add_option("OUT", arguments.output, description)->required();
    command.add_flag("--force", arguments.isForced, "Replace existing files");
}

// The old names still work. Help does not show them.
void AddRewritingCommands(CLI::App& model, const std::shared_ptr<Arguments>& arguments, bool isOldName) {
    CLI::App* const encrypt = Add(model, isOldName ? "seal" : "encrypt", "Encrypts a model file", Encrypt, arguments);
    encrypt->footer("Example: orvane model encrypt mine.bin mine.en");
    encrypt->add_option("IN", arguments->input, "The model file")->required();
    AddOutput(*encrypt, *arguments, "The file to write: NAME.en is encrypted once, NAME.en2 twice");

    CLI::App* const decrypt = Add(model, isOldName ? "open" : "decrypt", "Decrypts a model file", Decrypt, arguments);
    decrypt->footer("Example: orvane model decrypt mine.en mine.bin");
    decrypt->add_option("IN", arguments->input, "The encrypted file: NAME.en or NAME.en2")->required();
    AddOutput(*decrypt, *arguments, "The plain file to write");

    if (isOldName) {
        encrypt->group("");
        decrypt->group("");
    }
}

}  // namespace

void AddModelCommand(CLI::App& app) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* const model = app.add_subcommand("model", "Creates, encrypts, decrypts, inspects and lists model files");
    model->require_subcommand(1);
    model->footer("Example: orvane model info default");

    CLI::App* const list = Add(*model, "list", "Lists the models that can be named", List, arguments);
    list->add_flag("--json", arguments->isJson, "Print one JSON object instead of text");

    CLI::App* const info = Add(*model, "info", "Shows what a model file holds", Info, arguments);
    info->footer("Example: orvane model info mine.en --channels 32 --depth 2");
    info->add_option("MODEL", arguments->model.model, "A name from the list, or the path of a model file")->required();
    AddNetworkOptions(*info, arguments->model);
    info->add_flag("--json", arguments->isJson, "Print one JSON object instead of text");

    for (const bool isOldName : {false, true}) {
        AddRewritingCommands(*model, arguments, isOldName);
    }

    CLI::App* const make = Add(*model, "new", "Creates a bilinear placeholder, for trials", New, arguments);
    make->footer("Example: orvane model new trial.en --channels 32 --depth 2");
    AddOutput(*make, *arguments,
              "The model file to write, encrypted if its extension is .en or .en2; a .json next to it");
    make->add_option("--channels", arguments->network.channels, "Feature channels of the network")
        ->capture_default_str()
        ->check(CLI::Range(static_cast<int32_t>(kMinBilinearChannels), kMaxModelChannels));
    make->add_option("--depth", arguments->network.depth, "Layers between the first and the last one")
        ->capture_default_str()
        ->check(CLI::Range(kMinBilinearDepth, kMaxModelDepth));
}

}  // namespace orvane::tool
