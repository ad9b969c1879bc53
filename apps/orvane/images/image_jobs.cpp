#include "apps/orvane/images/image_jobs.h"

#include <fstream>
#include <iostream>
#include <map>
#include <system_error>

#include <windows.h>

#include "apps/utils/failure.h"
#include "apps/utils/files/find_files.h"
#include "apps/utils/files/long_path.h"
#include "apps/utils/files/utf8_path.h"

namespace orvane::tool {
namespace {

namespace fs = std::filesystem;

std::string InQuotes(const std::string& name) {
    return "\"" + name + "\"";
}

bool IsFolder(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

// File names differ by more than capitals.
std::wstring Key(const fs::path& path) {
    std::wstring key = path.wstring();
    CharLowerBuffW(key.data(), static_cast<DWORD>(key.size()));
    return key;
}

bool LiesIn(const fs::path& path, const fs::path& folder) {
    const std::wstring key = Key(path);
    const std::wstring start = Key(folder / "");
    return key.starts_with(start);
}

class JobFinder {
public:
    explicit JobFinder(const JobOptions& options)
        : m_options(options), m_output(PathFromUtf8(options.output)), m_longOutput(LongPath(m_output)) {}

    std::vector<ImageJob> Find() {
        if (IsSingleFile()) {
            AddSingleFile();
        } else {
            for (const std::string& input : m_options.inputs) {
                const fs::path path = PathFromUtf8(input);
                if (IsFolder(LongPath(path))) {
                    AddFolder(path);
                } else {
                    Add(path, path.filename());
                }
            }
            AddList();
        }
        if (m_jobs.empty()) {
            throw Failure("There are no images to double: files that end in .png, .jpg, .tif, .bmp or .webp.");
        }
        return std::move(m_jobs);
    }

private:
    bool IsSingleFile() const {
        return m_options.inputs.size() == 1 && m_options.list.empty() && HasImageExtension(m_output) &&
               !IsFolder(m_longOutput) && !IsFolder(LongPath(PathFromUtf8(m_options.inputs.front())));
    }

    void AddSingleFile() {
        const std::optional<ImageFormat> format = FormatOfEnding(m_output);
        if (!format) {
            throw UsageError("Files like " + InQuotes(m_options.output) +
                             " cannot be written: choose .png, .jpg, .tif or .bmp.");
        }
        if (m_options.keepsFormat || (m_options.format && *m_options.format != *format)) {
            throw UsageError("The ending of " + InQuotes(m_options.output) + " says another format than --format.");
        }
        const std::string& input = m_options.inputs.front();
        Add({LongPath(PathFromUtf8(input)), m_longOutput, input, m_options.output, *format});
    }

    void AddFolder(const fs::path& folder) {
        const fs::path root = LongPath(folder);
        const size_t rootLength = (root / "").native().size();
        // Results of an earlier run are no images of this one.
        const bool mayHoldResults = !LiesIn(root / "x", m_longOutput);
        for (const fs::path& path : FindFiles(root)) {
            if (HasImageExtension(path) && !(mayHoldResults && LiesIn(path, m_longOutput))) {
                const fs::path relative = path.native().substr(rootLength);
                Add(folder / relative, relative);
            }
        }
    }

    // Paths of the list that lead downwards keep their folders: a list of a large collection would otherwise have many
    // images of one name.
    void AddLine(std::string line) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        if (line.empty()) {
            return;
        }
        const fs::path path = PathFromUtf8(line);
        const fs::path normal = path.lexically_normal();
        const bool leadsDown = path.is_relative() && !path.has_root_path() && *normal.begin() != "..";
        Add(path, leadsDown ? normal : path.filename());
    }

    void AddList() {
        if (m_options.list.empty()) {
            return;
        }
        std::ifstream file;
        if (m_options.list != "-") {
            file.open(LongPath(PathFromUtf8(m_options.list)), std::ios::binary);
            if (!file) {
                throw Failure("The list " + InQuotes(m_options.list) + " cannot be read.");
            }
        }
        std::istream& lines = m_options.list == "-" ? std::cin : file;
        std::string line;
        for (bool isFirst = true; std::getline(lines, line); isFirst = false) {
            const bool hasMark = isFirst && line.starts_with("\xEF\xBB\xBF");
            AddLine(hasMark ? line.substr(3) : line);
        }
    }

    void Add(const fs::path& input, const fs::path& relativeOutput) {
        const ImageFormat own = FormatOfEnding(input).value_or(ImageFormat::kPng);
        const ImageFormat format = m_options.keepsFormat ? own : m_options.format.value_or(ImageFormat::kPng);
        fs::path result = relativeOutput;
        // An image's own ending stays as it is spelled.
        if (FormatOfEnding(result) != format) {
            result.replace_extension(EndingOf(format));
        }
        const fs::path output = m_output / result;
        Add({LongPath(input), LongPath(output), Utf8FromPath(input), Utf8FromPath(output), format});
    }

    void Add(ImageJob job) {
        const auto [other, isNew] = m_inputOfOutput.emplace(Key(job.output), job);
        if (!isNew && Key(other->second.input) == Key(job.input)) {
            return;  // named twice
        }
        if (!isNew) {
            throw UsageError(InQuotes(other->second.inputName) + " and " + InQuotes(job.inputName) +
                             " would both become " + InQuotes(job.outputName) +
                             ". Give them folders of their own, or try --format same.");
        }
        std::error_code error;
        if (Key(job.input) == Key(job.output) || fs::equivalent(job.input, job.output, error)) {
            throw UsageError("The result would replace the image " + InQuotes(job.inputName) + ". Choose another -o.");
        }
        m_jobs.push_back(std::move(job));
    }

    const JobOptions& m_options;
    fs::path m_output;
    fs::path m_longOutput;
    std::vector<ImageJob> m_jobs;
    std::map<std::wstring, ImageJob> m_inputOfOutput;
};

}  // namespace

std::vector<ImageJob> FindImages(const JobOptions& options) {
    return JobFinder(options).Find();
}

}  // namespace orvane::tool
